// The buttons "3 -> 4" (`Cmd3to4`) and "4 -> 3" (`Cmd4to3`) change the protocol of each ticked controller.
// They differ in the command and in the title of the run-error box. A controller does not answer at a wrong
// speed, so SearchSpeed repeats a failed command at the other speeds.
#include "workflows/protocol_buttons.h"

#include "commands/protocol_switch.h"
#include "forms/run_error_box.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

using ProtocolCommand = bool (*)(Quillon& form, int& controller);

bool SwitchTicked(Quillon& form, ProtocolCommand command, const char* errorTitle) {
  const auto run = [&] {
    OpenRun(form, Table::kNone);
    ForEachController(form, [&](int& controller) {
      const auto switchProtocol = [&] { return command(form, controller); };
      SearchSpeed(form, controller, switchProtocol, {.phase = Phase::kSwitch});
      return Next::kContinue;  // also when the controller refused or did not answer
    });
    EndRun(form);
  };
  return Try(form, run, {.title = errorTitle});
}

}  // namespace

// The title ends with a blank: spelled so on purpose.
bool Cmd3to4_Click(Quillon& form) { return SwitchTicked(form, &SendP4, "Cmd3to4_Click "); }

bool Cmd4to3_Click(Quillon& form) { return SwitchTicked(form, &Send55, "Cmd4to3_Click "); }

}  // namespace quillon
