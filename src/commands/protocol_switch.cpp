// Changes the protocol of a controller. On protocol 3 ("RUD3" in the log) a controller reads text, on
// protocol 4 frames. So each change is sent in the form that the controller can still read:
//
//     3 to 4   40 23 "p400:4/"         to controller 5; the address byte is the number + 30 (decimal): 35
//              68 2F                   its answer
//     4 to 3   40 05 01 55 .. .. 04    the message $55 in a frame, acknowledged by the code 61
//
// Operators and scripts depend on the texts, which must not change: "p4 => RUD3" in the log means the command
// p4, sent to a controller on protocol 3. The texts of the other change also contain "Sending p4".
#include "commands/protocol_switch.h"

#include "commands/acknowledge.h"
#include "commands/frames.h"
#include "link/log.h"

namespace quillon {

// Every command receives the loop variable of its run by reference. This one does not change it.
bool SendP4(Quillon& form, int& controller) {
  const auto send = [&] {
    form.FrameBuffer = ToProtocol4Frame(controller);
    LogFrame(form, "Message : p4 => RUD3", form.FrameBuffer);
    const ExchangeResult result = SendFrame(form, form.FrameBuffer, form.AnswerText, ShortAnswer::kIsGood);
    form.Report(CommandAnswered{Command::kToProtocol4, controller, ReplyOf(form, result)});
    return result == ExchangeResult::kAnswered;
  };
  bool answered = false;
  Try(form, [&] { answered = send(); }, {.title = "SendP4"});
  if (answered) form.dialogs.ShowBox("send p4 OK!!!", "Quillon", BoxKind::kInformation);
  return answered;
}

// Every command receives the loop variable of its run by reference. This one does not change it.
bool Send55(Quillon& form, int& controller) {
  form.FrameBuffer = ToProtocol3Frame(controller);
  LogFrame(form, "Message : Cmd 55 to return to RUD3", form.FrameBuffer);
  return RequestAcknowledge(form, controller, form.FrameBuffer,
                            {.command = Command::kToProtocol3,
                             .acknowledgedLog = "Answer : Ok",
                             .acknowledgedStatus = " : Sending p4 OK",
                             .refusedLog = "Answer : Failure Sending p4 ",
                             .errorTitle = "Send55"});
}

}  // namespace quillon
