// The program itself, started from a folder of its own.
#include <gtest/gtest.h>

#include "support/started_program.h"

namespace quillon {
namespace {

/// What a shell prints that stands in a folder of bytes that are no UTF-8 and holds the program.
std::string Shell(const std::string& script) {
  const std::string whole =
      "top=$(mktemp -d); export XDG_RUNTIME_DIR=$top; unset DISPLAY WAYLAND_DISPLAY; "
      "mkdir $top/b\xE9 && cd $top/b\xE9 && cp " QUILLON_PROGRAM " . && (" +
      script + "); rm -r $top";
  return test::StartedProgram({"/bin/sh", "-c", whole}).ReadAll();
}

TEST(Program, LivesInAFolderOfAnyLettersTakesNoArgumentsAndEndsAtASignal) {
  for (const std::string signal : {"TERM", "HUP"}) {
    EXPECT_EQ(Shell("QT_QPA_PLATFORM=offscreen ./quillon -platform nonsense -style nonsense 2>&1 >&- <&- &"
                    "tool=$!; for i in $(seq 500); do [ -e Log.txt ] && break; sleep 0.01; done;"
                    "readlink /proc/$tool/fd/0 /proc/$tool/fd/1; kill -s " +
                    signal + " $tool; wait $tool; echo $?; ls -1"),
              "/dev/null\n/dev/null\n0\nLog.txt\nQuillon.cfg\nquillon\n");
  }
}

TEST(Program, SaysInOneLineThatThereIsNoDisplay) {
  EXPECT_EQ(
      Shell("QT_QPA_PLATFORM=xcb ./quillon 2>&1; echo $?"),
      "quillon: the display can't be reached. Start it from a desktop session; on Debian, with the package "
      "qt6-qpa-plugins installed.\n1\n");
}

}  // namespace
}  // namespace quillon
