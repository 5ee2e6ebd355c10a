// The message $74 has a controller erase its flash and wait for batches. Most wait for them at the download
// speed, to which the tool then goes too; those of some products can be told to stay at the line's speed.
#include "commands/frames.h"
#include "shell/quillon.h"

namespace quillon {

bool Quillon::FlashErase(int& y) {
  const auto speed = useBB.Ticked() ? SpeedWhileProgramming::kKept : SpeedWhileProgramming::kDownload;
  FrameBuffer = FlashEraseFrame(ProtocolByteOrBox(), y, speed);
  LogFrame("Message : $74", FrameBuffer);
  return RequestAcknowledge(y, FrameBuffer,
                            {.acknowledgedLog = "Answer : 61",
                             .acknowledgedStatus = " : Erasing OK",
                             .refusedLog = "Answer : Failure 3*E1"});
}

}  // namespace quillon
