// "3 -> 4" and "4 -> 3": has each ticked controller moved. One that can't be moved does not stop the run.
#include "shell/quillon.h"

namespace quillon {

void Quillon::Cmd3to4_Click() { MoveTicked(&Quillon::SendP4, "Cmd3to4_Click "); }

void Quillon::Cmd4to3_Click() { MoveTicked(&Quillon::Send55, "Cmd4to3_Click "); }

void Quillon::MoveTicked(bool (Quillon::*command)(int& y), const char* errorTitle) {
  Try(
      [&] {
        OpenRun(Table::kNone);
        ForEachController([&](int& i) {
          SearchSpeed(i, [&] { return (this->*command)(i); });
          return Next::kController;
        });
        EndRun();
      },
      {.title = errorTitle});
}

}  // namespace quillon
