// The buttons "3 -> 4" (`Cmd3to4`) and "4 -> 3" (`Cmd4to3`) change the protocol of each ticked controller.
// They differ in the command and in the title of the run-error box.
#include "workflows/protocol_buttons.h"

#include "commands/protocol_switch.h"
#include "forms/run_error_box.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

bool SwitchTicked(Quillon& form, bool (*command)(Quillon& form, int& y), const char* errorTitle) {
  return Try(form,
             [&] {
               OpenRun(form, Table::kNone);
               ForEachController(form, [&](int& i) {
                 SearchSpeed(form, i, [&] { return command(form, i); }, {.phase = Phase::kSwitch});
                 return Next::kContinue;
               });
               EndRun(form);
             },
             {.title = errorTitle});
}

}  // namespace

bool Cmd3to4_Click(Quillon& form) { return SwitchTicked(form, &SendP4, "Cmd3to4_Click "); }

bool Cmd4to3_Click(Quillon& form) { return SwitchTicked(form, &Send55, "Cmd4to3_Click "); }

}  // namespace quillon
