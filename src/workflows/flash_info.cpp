// Flash Info, the click handler `ComInfo_Click`: reads version and checksum of each ticked controller's
// flash. FlashCheck sends the message $73 and fills the controller's row in the table window. Until it is
// answered, SearchSpeed repeats it at the other speeds. A silent controller does not end the run.
#include "workflows/flash_info.h"

#include "commands/flash_check.h"
#include "forms/run_error_box.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {

bool ComInfo_Click(Quillon& form) {
  return Try(form, [&] {
    OpenRun(form, Table::kFlashInfo);
    ForEachController(form, [&](int& controller) {
      const auto check = [&] { return FlashCheck(form, controller); };
      SearchSpeed(form, controller, check, {.phase = Phase::kCheck});
      return Next::kContinue;
    });
    EndRun(form);
  });
}

}  // namespace quillon
