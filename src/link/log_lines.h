#pragma once

namespace quillon {

/// The format of the log: lines of text in the order of events, without times.
///
///     Message : $74                                the message that is sent
///     40 02 04 74 55 AA F0 FF BA 04                its frame
///     Recu en String : 40 02 01 61 4F 4A 04        the received bytes
///     Communication OK  - CRC checked              the result of the exchange (ExchangeResultText)
///     Answer : 61                                  the meaning of the answer for the command
///
/// Silence and echoes are not logged. When a message is repeated after a refusal, only the lines from "Recu"
/// on are written again. The batches of a parallel download are logged as frames alone, after one line
/// "Programming 5F without answer". After Cancel or a failure of the port the result is missing.

/// French, "received as text"; spelled so on purpose.
inline constexpr const char* kReceivedLog = "Recu en String : ";

/// The message of Auto. It is the only one that is logged without its frame.
inline constexpr const char* kDetectionLog = "Message : AutoDetection $73";

}  // namespace quillon
