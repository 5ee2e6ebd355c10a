// The message $74 erases the flash of one controller. The controller then expects batches at the download
// speed, or at the current one if the check box `useBB` is ticked, which only some products support.
#include "commands/flash_erase.h"

#include "commands/acknowledge.h"
#include "commands/frames.h"
#include "link/log.h"

namespace quillon {

bool FlashErase(Quillon& form, int& y) {
  const auto speed = form.useBB.Ticked() ? SpeedWhileProgramming::kKept : SpeedWhileProgramming::kDownload;
  form.FrameBuffer = FlashEraseFrame(ProtocolByteOrBox(form), y, speed);
  LogFrame(form, "Message : $74", form.FrameBuffer);
  return RequestAcknowledge(form, y, form.FrameBuffer,
                            {.command = Command::kFlashErase,
                             .acknowledgedLog = "Answer : 61",
                             .acknowledgedStatus = " : Erasing OK",
                             .refusedLog = "Answer : Failure 3*E1"});
}

}  // namespace quillon
