#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "shell/quillon.h"
#include "support/world.h"

namespace quillon::test {

/// The program's folder as a test prepares it, and the program once it is started there.
class FreshStart {
 public:
  World world;

  void Write(const std::string& name, const std::string& contents) {
    std::ofstream(world.folder + name, std::ios::binary) << contents;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(world.folder + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void MakeFolder(const std::string& name) { std::filesystem::create_directory(world.folder + name); }

  /// Starts the program; one that was started before is gone.
  Quillon& Start() {
    tool_ = std::make_unique<Quillon>(world.AsComputer());
    tool_->Start();
    return *tool_;
  }

 private:
  std::unique_ptr<Quillon> tool_;
};

/// The 32 boxes of the controllers, as their values: "1101...".
inline std::string Boxes(const Quillon& tool) {
  std::string values;
  for (int i = 0; i < kControllers; ++i) values += std::to_string(tool.C(i).Value());
  return values;
}

}  // namespace quillon::test
