#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/port_description.h"

namespace quillon {

using Bytes = std::vector<std::uint8_t>;

class Form;

/// The interfaces through which the program uses the computer. They are virtual so that tests can run the
/// same program with a simulated clock, a bus in memory and a scripted operator.

/// Seconds since an unspecified moment. The time never decreases.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual double Now() = 0;
  /// Sleeps until `time`. Never returns earlier, and handles no window events.
  virtual void SleepUntil(double time) = 0;
};

/// The pending events of the windows.
class Events {
 public:
  virtual ~Events() = default;
  /// Handles the pending events. Their handlers are called inside this call.
  virtual void Yield() = 0;
  /// The same, but first sleeps until an event arrives, the open serial device receives a byte, or the clock
  /// reaches `time`. May return earlier; returns at most two milliseconds later.
  virtual void YieldUntil(double time) = 0;
  /// Ends the program: no handler runs after the current one.
  virtual void End() = 0;
};

/// The kind of a box. kRunError shows a warning sign.
enum class BoxKind { kInformation, kRunError };

/// The boxes and dialogs, and the requests for the operator's attention.
class Dialogs {
 public:
  virtual ~Dialogs() = default;
  /// A modal box with one OK button; returns when it is answered. While a run-error box is open, the progress
  /// window still accepts clicks, so that the operator can always press Cancel.
  virtual void ShowBox(const std::string& text, const std::string& title, BoxKind kind) = 0;
  /// A modal question with the buttons Yes and No, which is the default. Returns whether Yes was pressed.
  virtual bool Ask(const std::string& question, const std::string& title) = 0;
  /// Answers the open run-error box, if any, on behalf of the operator.
  virtual void AnswerBox() = 0;
  virtual void Beep() = 0;
  /// Requests the operator's attention while another program is active.
  virtual void RequestAttention() = 0;
  /// Shows a dialog for opening an existing file. Returns its path, or "" when it was cancelled. `filter` has
  /// the form "Description (*.ext)|*.ext".
  virtual std::string ChooseFile(const std::string& title, const std::string& filter) = 0;
};

/// Draws the forms.
class Screen {
 public:
  virtual ~Screen() = default;
  /// Called when a form without a view is shown. Attaches views to the form and its controls. Tests attach
  /// none: the controls work without views.
  virtual void Draw(Form& form) = 0;
};

/// How the line is set: always 8 data bits, no parity, 2 stop bits.
struct LineSettings {
  int baud = 9600;
};

/// A serial port. All operations except Open and Describe require an open port. When the device was removed
/// or fails, the next operation except Close raises RunError 8020.
class SerialDevice {
 public:
  virtual ~SerialDevice() = default;
  /// Opens port `number` (1 to 99). Raises RunError 8002 (no such port), 8005 (in use), 70 (no permission),
  /// 380 (the device refuses the speed), 8020 (it was removed meanwhile). After a failure the port is closed.
  virtual void Open(int number, const LineSettings& settings) = 0;
  /// Waits until the written bytes are sent, then closes the port.
  virtual void Close() = 0;
  /// Waits until the written bytes are sent, then changes the speed. Raises RunError 380 if it is refused.
  virtual void Configure(const LineSettings& settings) = 0;
  /// Sends the bytes. Returns when at most 512 bytes, the size of the output buffer, are not yet sent. So a
  /// following change of speed is never delayed for long.
  virtual void Write(std::span<const std::uint8_t> bytes) = 0;
  /// The number of received bytes that were not yet read.
  virtual std::size_t Waiting() = 0;
  /// Returns and removes the received bytes.
  virtual Bytes Read() = 0;
  /// Describes the device of port `number`, without opening it.
  virtual PortDescription Describe(int number) const = 0;
};

/// All interfaces, passed to the program when it is created.
struct Computer {
  Clock& clock;
  Events& events;
  Dialogs& dialogs;
  Screen& screen;
  SerialDevice& serialDevice;
  std::string programFolder;  ///< ends with a separator
};

}  // namespace quillon
