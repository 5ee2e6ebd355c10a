#pragma once

namespace quillon {

/// The log is lines of text in the order of events, with no time and no mark where a run begins:
///
///     Message : $74                                a message begins: which one it is
///     40 02 04 74 55 AA F0 FF BA 04                its frame, as sent
///     Recu en String : 40 02 01 61 4F 4A 04        what came, read at the end of the answer's pause
///     Communication OK  - CRC checked              how the exchange ended (ExchangeResultText)
///     Answer : 61                                  how the command read the answer
///
/// A send that nobody answered and an echo leave no line. A second or third exchange of one message writes
/// the lines from "Recu" on once more. The batches of a parallel download are frames alone, after one line
/// "Programming 5F without answer". An exchange without an end was cancelled, or the line failed.
///
/// Below are the lines that the log's reader has to know by their text.

inline constexpr const char* kReceivedLog = "Recu en String : ";

/// A message of the auto detection. It is the only one without its frame.
inline constexpr const char* kDetectionLog = "Message : AutoDetection $73";

}  // namespace quillon
