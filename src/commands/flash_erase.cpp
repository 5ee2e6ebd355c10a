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
