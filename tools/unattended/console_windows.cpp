// The console on Windows. An event that asks the program to end is only recorded, and the run is cancelled at
// its next step. Ending the program at once could leave a controller with half an image. The console shows
// UTF-8 while the program runs.
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

BOOL WINAPI RecordEvent(DWORD event) {
  constexpr DWORD kLongest = 10'000;  // milliseconds; the system waits for less
  interrupted = true;
  // When the console is closed or the user logs out, Windows ends the program as soon as this function
  // returns. So it sleeps instead, and the run has time to end the program by itself.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kLongest);
  return TRUE;
}

}  // namespace

void Prepare() {
  SetConsoleCtrlHandler(RecordEvent, TRUE);
  formerCodePage = GetConsoleOutputCP();
  if (formerCodePage == 0) return;  // there is no console
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] { SetConsoleOutputCP(formerCodePage); });
}

bool Interrupted() { return interrupted; }

bool IsTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

}  // namespace quillon::console
