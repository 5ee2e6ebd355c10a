#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/port_description.h"

namespace quillon {

using Bytes = std::vector<std::uint8_t>;

class Form;

/// What the program asks of the computer it runs on. Each face is virtual for one reason: the tests put a
/// clock that jumps, a bus in memory and a scripted operator in the place of the real ones, and run the very
/// same program.

/// Seconds since a moment of its own, never going back.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual double Now() = 0;
  /// Returns at `time` or just after it, never before. Serves no event of any window until then.
  virtual void SleepUntil(double time) = 0;
};

/// The pending events of the windows.
class Events {
 public:
  virtual ~Events() = default;
  /// Handles the waiting events: the handler of a waiting click runs inside this call.
  virtual void Yield() = 0;
  /// The same, but first sleeps until an event arrives, the open serial device receives a byte, or the clock
  /// reaches `time`. May return earlier; returns at most two milliseconds later.
  virtual void YieldUntil(double time) = 0;
  /// Ends the program: no handler runs after the current one.
  virtual void End() = 0;
};

/// The kind of a box: information, or a failure at run time, which has the warning sign.
enum class BoxKind { kInformation, kRunError };

/// The boxes and dialogs, and the requests for the operator's attention.
class Dialogs {
 public:
  virtual ~Dialogs() = default;
  /// A modal box with one OK button; returns when it is answered. While a run-error box is open, the progress
  /// window still accepts clicks, so that the operator can always press Cancel.
  virtual void ShowBox(const std::string& text, const std::string& title, BoxKind kind) = 0;
  /// A modal question with Yes and No, the latter by default; returns when it is answered. True: Yes.
  virtual bool Ask(const std::string& question, const std::string& title) = 0;
  /// Answers the open run-error box, if any, on behalf of the operator.
  virtual void AnswerBox() = 0;
  virtual void Beep() = 0;
  /// Requests the operator's attention while another program is active.
  virtual void RequestAttention() = 0;
  /// The dialog for opening an existing file. Returns its path, or nothing when it was cancelled.
  /// `filter` is a text of the form "Description (*.ext)|*.ext".
  virtual std::string ChooseFile(const std::string& title, const std::string& filter) = 0;
};

/// Draws the forms.
class Screen {
 public:
  virtual ~Screen() = default;
  /// Called when a form is shown that has no view yet. The realisation attaches views to the form and its
  /// controls; with none attached (as in tests) the form lives on its state alone.
  virtual void Draw(Form& form) = 0;
};

/// How the line is set: always 8 data bits, no parity, 2 stop bits.
struct LineSettings {
  int baud = 9600;
};

/// The device of a serial port. All operations but Open need an open device.
///
/// A device that went away or fails raises RunError 8020 at the next operation on it, but for Close.
class SerialDevice {
 public:
  virtual ~SerialDevice() = default;
  /// Opens port `number` (1 to 99). Raises RunError 8002 (no such port), 8005 (in use), 70 (no right to it),
  /// 380 (the device refuses the speed), 8020 (it went away while being opened). After a failure nothing is
  /// open.
  virtual void Open(int number, const LineSettings& settings) = 0;
  /// Lets out what is still leaving, then closes.
  virtual void Close() = 0;
  /// Lets out what is still leaving, then changes the speed. Raises RunError 380 for one that is refused.
  virtual void Configure(const LineSettings& settings) = 0;
  /// Queues all bytes in order and starts them on their way. Returns when at most 512 bytes, the size of the
  /// output buffer, are still to leave, so that what is queued never delays a change of speed for long.
  virtual void Write(std::span<const std::uint8_t> bytes) = 0;
  /// Number of received bytes that wait.
  virtual std::size_t Waiting() = 0;
  /// Returns and removes all that wait.
  virtual Bytes Read() = 0;
  /// Which device port `number` is. Asks the system; opens nothing.
  virtual PortDescription Describe(int number) const = 0;
};

/// All of it, handed to the program once.
struct Computer {
  Clock& clock;
  Events& events;
  Dialogs& dialogs;
  Screen& screen;
  SerialDevice& serialDevice;
  std::string programFolder;  ///< ends with a separator
};

}  // namespace quillon
