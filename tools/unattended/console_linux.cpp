// The console on Linux. An interrupt is only recorded: ending the program at once could leave a controller
// with half an image.
#include <unistd.h>

#include <csignal>

#include "unattended/console.h"

namespace quillon::console {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void Keep(int) { interrupted = 1; }

}  // namespace

void Prepare() {
  std::signal(SIGINT, Keep);
  std::signal(SIGTERM, Keep);
  if (std::signal(SIGHUP, Keep) == SIG_IGN) std::signal(SIGHUP, SIG_IGN);  // started by nohup
  std::signal(SIGPIPE, SIG_IGN);
}

bool Interrupted() { return interrupted != 0; }

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

}  // namespace quillon::console
