// The firmware file goes away, is cut or becomes another in the middle of a download: in no case does a row
// look good for an image that the controller does not hold.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "faults/witness.h"
#include "workflows/run_program.h"

namespace quillon::test {
namespace {

void Rewrite(const std::string& path, const char* contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

using Change = void (*)(const std::string& path);
constexpr Change kChanges[] = {
    [](const std::string& path) { std::filesystem::remove(path); },
    [](const std::string& path) { std::filesystem::resize_file(path, 40); },
    [](const std::string& path) { Rewrite(path, ""); },
    [](const std::string& path) { Rewrite(path, ":0400000005060708E2\r\n:00000001FF\r\n"); },
    [](const std::string& path) {
      std::filesystem::remove(path);
      std::filesystem::create_directory(path);
    },
};

TEST(ChangingFile, NeverMakesARowLookGoodForWhatIsNotThere) {
  for (const Button button : {kParallel, kSerial}) {
    for (std::size_t change = 0; change < std::size(kChanges); ++change) {
      for (std::size_t sent = 0; sent <= 5; ++sent) {
        RunProgram program(std::vector<bus::ControllerSetup>{{.number = 3}});
        SCOPED_TRACE((program.tool.*button).Name() + ", change " + std::to_string(change) + " after frame " +
                     std::to_string(sent));
        program.ChooseHex(kImage);
        program.Tick({3});
        const std::string path = program.tool.FileName.Text();
        bool changed = false;
        program.computer.When([&] { return program.computer.sent.size() >= sent; },
                              [&] {
                                kChanges[change](path);
                                changed = true;
                              });
        program.Press(button);
        const std::string row = program.Row(3);
        const bool looksGood = row.find('/') != row.npos && !row.ends_with("red") && !row.ends_with("marked");
        const bool holdsImage = program.bus.At(3).Flash() == ImageFlash();
        EXPECT_TRUE(changed && (holdsImage || !looksGood)) << row;
        EXPECT_TRUE(looksGood || sent < 5) << "all of the file had been read: " << row;
        EXPECT_TRUE(program.Over());
      }
    }
  }
}

}  // namespace
}  // namespace quillon::test
