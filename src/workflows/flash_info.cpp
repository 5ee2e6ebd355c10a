// Flash Info: reads version and checksum of each ticked controller's flash. FlashCheck sends the message $73
// and fills the row. SearchSpeed repeats it at the other speeds until it is answered.
#include "workflows/flash_info.h"

#include "commands/flash_check.h"
#include "forms/run_error_box.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {

bool ComInfo_Click(Quillon& form) {
  return Try(form, [&] {
    OpenRun(form, Table::kFlashInfo);
    ForEachController(form, [&](int& i) {
      SearchSpeed(form, i, [&] { return FlashCheck(form, i); }, {.phase = Phase::kCheck});
      return Next::kContinue;
    });
    EndRun(form);
  });
}

}  // namespace quillon
