// The program is killed while it saves: the settings are then the old ones or the new ones, never a part.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/text_file.h"
#include "support/test_program.h"

namespace quillon::test {
namespace {

TEST(KilledSaving, LeavesTheOldFileOrTheNewOne) {
  const std::string old(20'000, 'o');
  const std::string fresh(30'000, 'f');
  TestProgram program;
  const std::string path = program.Write("some.cfg", old);
  for (unsigned i = 0; i < 60; ++i) {
    const pid_t saver = fork();
    ASSERT_GE(saver, 0);
    if (saver == 0) {
      for (;;) {
        ReplaceFile(path, fresh);
        ReplaceFile(path, old);
      }
    }
    usleep(300 + 61 * i);
    kill(saver, SIGKILL);
    waitpid(saver, nullptr, 0);
    const std::string held = program.Read("some.cfg");
    EXPECT_TRUE(held == old || held == fresh) << held.size() << " bytes";
  }
}

}  // namespace
}  // namespace quillon::test
