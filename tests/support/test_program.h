#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "forms/quillon.h"
#include "support/fake_computer.h"

namespace quillon::test {

/// A device that can be opened like a file.
#ifdef _WIN32
constexpr const char* kDevice = "NUL";
#else
constexpr const char* kDevice = "/dev/zero";  // reading it would never end
#endif

/// The program with usual settings on a fake computer of its own.
///
/// At start: time-out 500 ms, delay 10 ms, COM 1, 9600, protocol 63
/// (byte 0x40), no controller ticked.
class TestProgram {
 public:
  TestProgram();

  FakeComputer computer;
  Quillon tool;

  void Tick(std::initializer_list<int> controllers);

  std::string Write(const std::string& name, const std::string& text) {
    return computer.WriteFile(name, text);
  }
  std::string Read(const std::string& name) const { return computer.ReadFile(name); }

  /// Writes a HEX file of these lines and chooses it through "&Browse ...".
  void ChooseHex(const std::vector<std::string>& lines, const std::string& name = "image.hex");

  void CancelAt(Nanoseconds time);
  /// Presses Cancel as soon as the status line contains the text.
  void CancelWhen(const std::string& statusPart);

  /// The row of a controller: "version checksum", with its look: "" black; " red" failed, bold; " marked"
  /// bold white on red.
  std::string Row(int y);

  /// The numbers of all run-error boxes so far; 0 for any other box.
  std::vector<int> BoxNumbers() const;

  /// All settings in the order of the file, the values of the check boxes run together.
  static std::string Settings(const Quillon& tool);

  /// Ends the program and returns the lines of its log.
  std::vector<std::string> EndAndReadLog();

  /// All that was sent, each as upper-case hex digits with the speed in front: "9600 40050173F8A904".
  std::vector<std::string> Sent() const;
};

/// The number of the run-time failure that a step raises; 0 when it raises none.
template <class Step>
int FailureNumber(Step step) {
  try {
    step();
  } catch (const RunError& error) {
    return error.number;
  }
  return 0;
}

/// "40050173F8A904" as bytes.
Bytes FromHex(const std::string& digits);
std::string ToHex(const Bytes& bytes);

/// A HEX record with its check byte.
std::string HexRecord(unsigned address, const Bytes& data, unsigned type = 0);

}  // namespace quillon::test
