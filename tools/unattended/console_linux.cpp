// The console on Linux. A signal that asks the program to end is only recorded, and the run is cancelled at
// its next step. Ending the program at once could leave a controller with half an image.
#include <unistd.h>

#include <csignal>

#include "unattended/console.h"

namespace quillon::console {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void RecordSignal(int) { interrupted = 1; }

}  // namespace

void Prepare() {
  std::signal(SIGINT, RecordSignal);
  std::signal(SIGTERM, RecordSignal);
  if (std::signal(SIGHUP, RecordSignal) == SIG_IGN) std::signal(SIGHUP, SIG_IGN);  // nohup ignores it
  std::signal(SIGPIPE, SIG_IGN);  // a reader that ends makes writing fail, but does not end the program
}

bool Interrupted() { return interrupted != 0; }

bool IsTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

}  // namespace quillon::console
