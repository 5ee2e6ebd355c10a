#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillon {

// Run events: what a run does and learns, as typed facts for an observer. They are a report, not a second
// state: `Info` remains the only place where the program keeps a row, and nothing in the windows, on the line
// or in the log depends on them.
//
// A parallel download of two batches to controllers 3 and 5 reports, in this order (row and status events are
// left out):
//
//     RunStarted        kParallel, image.hex, "COM 7", 9600, {3, 5}
//     SpeedChanged      9600
//     ControllerBegun   3 kErase
//     FrameSent         03 03 04 74 55 AA F0 .. .. 04   send 1
//     AnswerReceived    3 kGood 03 03 01 61 .. .. 04    0.007 s after the frame
//     CommandAnswered   kFlashErase 3 kAccepted
//     ControllerEnded   3 kErase
//     ...               the same for 5
//     SpeedChanged      19200
//     BatchBegun        kEveryController 1 of 2
//     FrameSent         40 5F ...
//     BatchBegun        kEveryController 2 of 2
//     FrameSent         40 5F ...
//     ControllerBegun   3 kConfirm
//     FrameSent, AnswerReceived
//     CommandAnswered   kFullChecksum 3 kAccepted
//     ControllerEnded   3 kConfirm
//     ...               the same for 5, then the check of each:
//     SpeedChanged      9600
//     ControllerBegun   3 kCheck
//     FrameSent, AnswerReceived
//     CommandAnswered   kFlashCheck 3 kAccepted
//     RowFilled         3 kFlash "02/10/31" "58C3"
//     ControllerEnded   3 kCheck
//     RunEnded          kFinished
//
// SpeedChanged comes only when the speed changes. In a serial download each controller has a kProgram between
// kErase and kCheck; its kConfirm lies inside that.

inline constexpr int kEveryController = -1;  ///< in place of a controller's number: a broadcast

enum class RunKind { kParallel, kSerial, kFlashInfo, kBootInfo, kAuto, kToProtocol4, kToProtocol3 };

inline bool IsDownload(RunKind kind) { return kind == RunKind::kParallel || kind == RunKind::kSerial; }

/// A run begins: its button was pressed, and nothing was sent yet. Texts are those of the controls.
struct RunStarted {
  RunKind kind;
  std::string file;          ///< path of the HEX file; empty when none is chosen
  std::string fileChecksum;  ///< the four digits that a controller reports for that file
  std::string fileFault;     ///< the first fault of a file that contradicts itself, else empty
  std::string port;          ///< "COM 7"
  std::string speed;
  std::string timeOut;
  std::string delay;
  std::string protocol;
  bool prot3;                    ///< the controllers are on protocol 3
  bool keepSpeed;                ///< the line's speed is kept while programming
  std::vector<int> controllers;  ///< the ticked ones
};

/// What is done with one controller at a time.
enum class Phase { kErase, kProgram, kConfirm, kCheck, kBootCheck, kDetect, kSwitch };

struct ControllerBegun {
  int controller;
  Phase phase;
};
struct ControllerEnded {
  int controller;
  Phase phase;
};

/// Auto received an answer of this controller and ticked it.
struct ControllerFound {
  int controller;
  std::string speed;
};

/// The line has another speed, in bits per second.
struct SpeedChanged {
  std::string speed;
};

/// A frame was handed to the line. `send` counts the sends of one exchange from 1.
struct FrameSent {
  std::vector<std::uint8_t> frame;
  int send;
};

/// What the exchange makes of received bytes.
enum class Judgement {
  kGood,     ///< the CRC matches, or it is the short answer where that is allowed
  kDamaged,  ///< neither
  kEcho,     ///< the frame itself
};

/// Bytes were received after a frame. Silence has no event: the next send or CommandAnswered follows.
struct AnswerReceived {
  int controller;  ///< to which the frame was addressed
  Judgement judgement;
  std::vector<std::uint8_t> bytes;
  double delay;  ///< seconds from the end of the write to the first byte

  /// The controller that the answer names: its byte 1. Nothing for a shorter one.
  std::optional<int> Address() const {
    return bytes.size() > 1 ? std::optional<int>(bytes[1]) : std::nullopt;
  }
};

enum class Command {
  kFlashCheck,
  kFlashErase,
  kBatch,
  kFullChecksum,
  kBootCheck,
  kToProtocol4,
  kToProtocol3
};

enum class Reply {
  kAccepted,   ///< the code 61, or any checked answer to a question that has no code
  kRefused,    ///< another code
  kNoAnswer,   ///< silence on the third send
  kDamaged,    ///< a damaged answer on the third send
  kCancelled,  ///< the operator cancelled the exchange
};

/// One exchange ended. A refused command is repeated, so up to three of these belong to one message; the last
/// one counts.
struct CommandAnswered {
  Command command;
  int controller;
  Reply reply;
};

/// A batch is sent next, to one controller or to all.
struct BatchBegun {
  int controller;  ///< or kEveryController
  int number;      ///< from 1
  int of;
};

/// What the row of a controller in `Info` shows.
enum class RowContent { kNothing, kFlash, kBoot, kFailure };

struct RowFilled {
  int controller;
  RowContent content;
  std::string version;
  std::string checksum;
};

/// A status line of `Message`, verbatim.
struct StatusShown {
  std::string text;
  bool failure;
};

/// A run-error box was shown. The only event that also comes outside of runs.
struct RunFailure {
  int number;
  std::string text;
};

struct RunEnded {
  enum class How {
    kFinished,
    kCancelled,
    kFailed,   ///< a run-time failure ended it
    kAborted,  ///< the main window was closed
  } how;
};

struct RunEvent {
  double time;  ///< seconds of the program's clock
  std::variant<RunStarted, ControllerBegun, ControllerEnded, ControllerFound, SpeedChanged, FrameSent,
               AnswerReceived, CommandAnswered, BatchBegun, RowFilled, StatusShown, RunFailure, RunEnded>
      what;
};

/// Receives the events of all runs, on the thread of the windows. It must return at once and must not raise.
class RunObserver {
 public:
  virtual ~RunObserver() = default;
  virtual void OnRunEvent(const RunEvent& event) = 0;
};

}  // namespace quillon
