#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quillon {

// Run events report to observers what a run does: frames, answers, results. They are not a second state: the
// rows of `Info`, the line and the log do not depend on them.
//
// A parallel download of two batches to controllers 3 and 5, without some row events and all status events:
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

inline constexpr int kEveryController = -1;  ///< a broadcast, in place of a number

enum class RunKind { kParallel, kSerial, kFlashInfo, kBootInfo, kAuto, kToProtocol4, kToProtocol3 };

inline bool IsDownload(RunKind kind) { return kind == RunKind::kParallel || kind == RunKind::kSerial; }

/// A run begins; nothing was sent yet. The texts are those of the controls.
struct RunStarted {
  RunKind kind;
  std::string file;          ///< path of the HEX file; empty when none is chosen
  std::string fileChecksum;  ///< the four digits that a controller with this image reports
  std::string fileFault;     ///< the first fault of a damaged file, else empty
  std::string port;          ///< "COM 7"
  std::string speed;
  std::string timeOut;
  std::string delay;
  std::string protocol;
  bool prot3;                    ///< the controllers are on protocol 3
  bool keepSpeed;                ///< the line's speed is kept while programming
  std::vector<int> controllers;  ///< the ticked ones
};

/// A part of a run that concerns one controller.
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

/// The speed of the line was changed to this, in bits per second.
struct SpeedChanged {
  std::string speed;
};

/// A frame was sent. `send` counts the sends of one exchange from 1.
struct FrameSent {
  std::vector<std::uint8_t> frame;
  int send;
};

/// How the exchange judged received bytes.
enum class Judgement {
  kGood,     ///< a correct CRC, or the short answer where it is allowed
  kDamaged,  ///< neither
  kEcho,     ///< the sent frame itself
};

/// Bytes were received after a frame. There is no event for silence.
struct AnswerReceived {
  int controller;  ///< the address of the frame
  Judgement judgement;
  std::vector<std::uint8_t> bytes;
  double delay;  ///< seconds from the end of the write to the first byte

  /// Byte 1 of the answer, normally the number of its sender. Nothing for a shorter answer.
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
  kAccepted,   ///< the code 61, or any valid answer to a message that asks for data
  kRefused,    ///< another code
  kNoAnswer,   ///< silence on the third send
  kDamaged,    ///< a damaged answer on the third send
  kCancelled,  ///< the operator cancelled the exchange
};

/// One exchange ended. A refused command is sent again: of up to three events, the last one is the result.
struct CommandAnswered {
  Command command;
  int controller;
  Reply reply;
};

/// A batch is being sent, to one controller or to all.
struct BatchBegun {
  int controller;  ///< or kEveryController
  int number;      ///< from 1
  int of;
};

/// The kind of contents of a row of `Info`.
enum class RowContent { kNothing, kFlash, kBoot, kFailure };

struct RowFilled {
  int controller;
  RowContent content;
  std::string version;
  std::string checksum;
};

/// `Message` shows this status line.
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

/// Receives the events of all runs, on the thread of the windows. Must return quickly and not throw.
class RunObserver {
 public:
  virtual ~RunObserver() = default;
  virtual void OnRunEvent(const RunEvent& event) = 0;
};

}  // namespace quillon
