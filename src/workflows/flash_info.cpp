// Flash Info: version and checksum of each ticked controller's flash.
#include "shell/quillon.h"

namespace quillon {

void Quillon::ComInfo_Click() {
  Try([this] {
    OpenRun(Table::kFlashInfo);
    ForEachController([this](int& i) {
      SearchSpeed(i, [&] { return FlashCheck(i); });
      return Next::kController;
    });
    EndRun();
  });
}

}  // namespace quillon
