#include "workflows/protocol_buttons.h"

#include "commands/protocol_switch.h"
#include "forms/run_error_box.h"
#include "workflows/run_frame.h"
#include "workflows/speed_search.h"

namespace quillon {
namespace {

void MoveTicked(Quillon& form, bool (*command)(Quillon& form, int& y), const char* errorTitle) {
  Try(form,
      [&] {
        OpenRun(form, Table::kNone);
        ForEachController(form, [&](int& i) {
          SearchSpeed(form, i, [&] { return command(form, i); });
          return Next::kController;
        });
        EndRun(form);
      },
      {.title = errorTitle});
}

}  // namespace

void Cmd3to4_Click(Quillon& form) { MoveTicked(form, &SendP4, "Cmd3to4_Click "); }

void Cmd4to3_Click(Quillon& form) { MoveTicked(form, &Send55, "Cmd4to3_Click "); }

}  // namespace quillon
