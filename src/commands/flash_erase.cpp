#include "link/frame.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::uint8_t kFlashErase = 0x74;
constexpr std::uint8_t kKeepSpeed = 0xBB;
constexpr std::uint8_t kGoToDownloadSpeed = 0xAA;

}  // namespace

bool Quillon::FlashErase(int& y) {
  const std::uint8_t speed = useBB.Ticked() ? kKeepSpeed : kGoToDownloadSpeed;
  FrameBuffer =
      CloseFrame({ProtocolByteOrBox(), static_cast<std::uint8_t>(y), 4, kFlashErase, 0x55, speed, 0xF0});
  LogMessage("Message : $74");
  return RequestAcknowledge(y, {.acknowledgedLog = "Answer : 61",
                                .acknowledgedStatus = " : Erasing OK",
                                .refusedLog = "Answer : Failure 3*E1"});
}

}  // namespace quillon
