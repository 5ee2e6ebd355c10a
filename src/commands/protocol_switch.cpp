// Changes the protocol of a controller. A controller on protocol 3 ("RUD3" in the log) reads text. So the
// change to protocol 4 is the text "p400:4/", and the change back is the message $55.
#include "commands/protocol_switch.h"

#include "commands/acknowledge.h"
#include "commands/frames.h"
#include "link/log.h"

namespace quillon {

bool SendP4(Quillon& form, int& y) {
  const auto send = [&] {
    form.FrameBuffer = ToProtocol4Frame(y);
    LogFrame(form, "Message : p4 => RUD3", form.FrameBuffer);
    const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsGood);
    form.Report(CommandAnswered{Command::kToProtocol4, y, ReplyOf(form, result)});
    return result == ExchangeResult::kAnswered;
  };
  bool answered = false;
  Try(form, [&] { answered = send(); }, {.title = "SendP4"});
  if (answered) form.dialogs.ShowBox("send p4 OK!!!", "Quillon", BoxKind::kInformation);
  return answered;
}

bool Send55(Quillon& form, int& y) {
  form.FrameBuffer = ToProtocol3Frame(y);
  LogFrame(form, "Message : Cmd 55 to return to RUD3", form.FrameBuffer);
  return RequestAcknowledge(form, y, form.FrameBuffer,
                            {.command = Command::kToProtocol3,
                             .acknowledgedLog = "Answer : Ok",
                             .acknowledgedStatus = " : Sending p4 OK",
                             .refusedLog = "Answer : Failure Sending p4 ",
                             .errorTitle = "Send55"});
}

}  // namespace quillon
