#include "shell/quillon.h"

namespace quillon {

void Quillon::ComInfo_Click() {
  Try([this] {
    OpenRun();
    for (CurrentController = 0; CurrentController < kControllers; ++CurrentController) {
      TakeTurn(CurrentController, [this] { return FlashCheck(CurrentController); });
    }
    EndRun();
  });
}

}  // namespace quillon
