// Writes "Log.txt": for each message its purpose and its frame, then the received bytes and the result.
//
//     Message : $74
//     40 02 04 74 55 AA F0 FF BA 04
//     Recu en String : 40 02 01 61 4F 4A 04
//
// A run does not depend on its log. A failure shows the run-error box (Try), and the run continues.
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
