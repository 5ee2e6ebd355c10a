#include <io.h>

#include <atomic>
#include <csignal>

#include "unattended/console.h"

namespace quillon::console {
namespace {

std::atomic<bool> interrupted = false;  // the system tells it in a thread of its own

// The system puts its own handler back before each call.
void Keep(int signal) {
  std::signal(signal, Keep);
  interrupted = true;
}

}  // namespace

void KeepInterrupts() {
  std::signal(SIGINT, Keep);
  std::signal(SIGBREAK, Keep);
}

bool Interrupted() { return interrupted; }

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

}  // namespace quillon::console
