#include "shell/quillon.h"

namespace quillon {

void Quillon::Cmd3to4_Click() { MoveTicked(&Quillon::SendP4, "Cmd3to4_Click "); }

void Quillon::Cmd4to3_Click() { MoveTicked(&Quillon::Send55, "Cmd4to3_Click "); }

/// Has each ticked controller moved by `command`. One that can't be moved does not stop the run.
void Quillon::MoveTicked(bool (Quillon::*command)(int& y), const char* errorTitle) {
  Try(
      [&] {
        MarkAllControllers();
        AbortRequested = false;
        RequireProtocol();
        SelectPort();
        MSComm1.SetPortOpen(true);
        for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
          TakeTurn(CurrentController, [&] { return (this->*command)(CurrentController); });
        }
        EndRun();
      },
      {.title = errorTitle});
}

}  // namespace quillon
