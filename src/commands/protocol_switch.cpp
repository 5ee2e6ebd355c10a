#include "link/frame.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {
namespace {

constexpr std::uint8_t kBackToProtocol3 = 0x55;
constexpr int kTextFrameAddressOffset = 30;

/// The one frame outside the usual layout: no length, no CRC, no end byte.
Bytes ToProtocol4Frame(int y) {
  return {kFixedProtocol,
          static_cast<std::uint8_t>(y + kTextFrameAddressOffset),
          'p',
          '4',
          '0',
          '0',
          ':',
          '4',
          '/'};
}

}  // namespace

bool Quillon::SendP4(int& y) {
  bool moved = false;
  Try(
      [&] {
        FrameBuffer = ToProtocol4Frame(y);
        LogMessage("Message : p4 => RUD3");
        moved = SendFrame(FrameBuffer, AnswerText, true) == kAnswered;
      },
      {.title = "SendP4"});
  if (moved) desk_.ShowBox("send p4 OK!!!", "Quillon");
  return moved;
}

bool Quillon::Send55(int& y) {
  FrameBuffer = CloseFrame({kFixedProtocol, static_cast<std::uint8_t>(y), 1, kBackToProtocol3});
  LogMessage("Message : Cmd 55 to return to RUD3");
  return RequestAcknowledge(y, {.acknowledgedLog = "Answer : Ok",
                                .acknowledgedStatus = " : Sending p4 OK",
                                .refusedLog = "Answer : Failure Sending p4 ",
                                .errorTitle = "Send55"});
}

}  // namespace quillon
