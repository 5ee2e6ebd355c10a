// The console on Windows. An interrupt is only recorded: ending the program at once could leave a controller
// with half an image. The console shows UTF-8 while the program runs.
#include <windows.h>
// The system's header comes first; the others use its types.
#include <io.h>

#include <atomic>
#include <cstdlib>

#include "unattended/console.h"

namespace quillon::console {
namespace {

std::atomic<bool> interrupted = false;  // set by the system in another thread
UINT formerCodePage = 0;

BOOL WINAPI Keep(DWORD event) {
  constexpr DWORD kLongest = 10'000;  // milliseconds; the system waits for less
  interrupted = true;
  // When this returns from the closing of the console or the end of the session, the program is ended at
  // once. So it does not return: the run comes to its end first, and the program with it.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kLongest);
  return TRUE;
}

}  // namespace

void Prepare() {
  SetConsoleCtrlHandler(Keep, TRUE);
  formerCodePage = GetConsoleOutputCP();
  if (formerCodePage == 0) return;  // there is no console
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(formerCodePage); });
}

bool Interrupted() { return interrupted; }

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

}  // namespace quillon::console
