// The message $74 erases the flash of one controller, which then waits for the batches of an image.
//
//     message   40 02 04 74 55 AA F0 FF BA 04    to controller 2; byte 5 is the speed of the batches
//     answer    40 02 01 61 4F 4A 04             erased; any other code than 61: refused
//
// The batches follow at the download speed (AA). Some products can keep the current speed of the line instead
// (BB), if the check box `useBB` is ticked.
#include "commands/flash_erase.h"

#include "commands/acknowledge.h"
#include "commands/frames.h"
#include "link/log.h"

namespace quillon {

// Every command receives the loop variable of its run by reference. This one does not change it.
bool FlashErase(Quillon& form, int& controller) {
  const auto speed = form.useBB.Ticked() ? SpeedWhileProgramming::kKept : SpeedWhileProgramming::kDownload;
  form.FrameBuffer = FlashEraseFrame(ProtocolByte(form), controller, speed);
  LogFrame(form, "Message : $74", form.FrameBuffer);
  return RequestAcknowledge(form, controller, form.FrameBuffer,
                            {.command = Command::kFlashErase,
                             .acknowledgedLog = "Answer : 61",
                             .acknowledgedStatus = " : Erasing OK",
                             .refusedLog = "Answer : Failure 3*E1"});
}

}  // namespace quillon
