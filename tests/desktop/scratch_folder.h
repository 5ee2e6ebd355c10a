#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace quillon {

/// A folder of its own for each test, with a separator behind it; gone at the end.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quillon-XXXXXX").string();
    path_ = std::string(mkdtemp(name.data())) + "/";
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(path_); }

  const std::string& Path() const { return path_; }

  void Link(const std::string& name, const std::string& target) {
    std::filesystem::remove(path_ + name);
    std::filesystem::create_symlink(target, path_ + name);
  }

 private:
  std::string path_;
};

}  // namespace quillon
