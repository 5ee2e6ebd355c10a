// The bus has two protocols. A controller on protocol 3 reads text; on protocol 4 it reads frames. SendP4
// moves one to protocol 4 by the text "p400:4/", Send55 moves it back by a frame.
#include "commands/frames.h"
#include "link/outcome.h"
#include "shell/quillon.h"

namespace quillon {

bool Quillon::SendP4(int& y) {
  bool moved = false;
  Try(
      [&] {
        FrameBuffer = ToProtocol4Frame(y);
        LogFrame("Message : p4 => RUD3", FrameBuffer);
        moved = SendFrame(FrameBuffer, AnswerText, ShortAnswer::kIsGood) == ExchangeResult::kAnswered;
      },
      {.title = "SendP4"});
  if (moved) desk_.ShowBox("send p4 OK!!!", "Quillon", BoxKind::kInformation);
  return moved;
}

bool Quillon::Send55(int& y) {
  FrameBuffer = ToProtocol3Frame(y);
  LogFrame("Message : Cmd 55 to return to RUD3", FrameBuffer);
  return RequestAcknowledge(y, FrameBuffer,
                            {.acknowledgedLog = "Answer : Ok",
                             .acknowledgedStatus = " : Sending p4 OK",
                             .refusedLog = "Answer : Failure Sending p4 ",
                             .errorTitle = "Send55"});
}

}  // namespace quillon
