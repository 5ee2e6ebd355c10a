// Writes Log.txt. A failure shows its box but never ends a run.
#include "link/log.h"

#include "forms/run_error_box.h"
#include "link/text_arithmetic.h"

namespace quillon {

void OpenLog(Quillon& form) {
  Try(form, [&] { form.log.Open(PathInFolder(form.AppFolder, "Log.txt")); });
}

void CloseLog(Quillon& form) {
  Try(form, [&] { form.log.Close(); });
}

void Log(Quillon& form, const std::string& line) {
  Try(form, [&] { form.log.WriteLine(line); });
}

void LogFrame(Quillon& form, const std::string& line, const Bytes& frame) {
  Log(form, line);
  Log(form, ByteArrayToHex(frame));
}

}  // namespace quillon
