#pragma once

#include "support/image.h"
#include "support/test_program.h"

namespace quillon::test {

/// A program with a file chosen and the port open, so that a single command can be tried.
class CommandProgram : public TestProgram {
 public:
  CommandProgram() {
    ChooseHex(kImage);
    tool.MSComm1.SetPortOpen(true);
  }

  /// The answers to the sendings in turn, in hex; "" is silence, as is all after them.
  void Answer(const std::vector<std::string>& answers) {
    for (const std::string& answer : answers) {
      computer.script.push_back({});
      if (!answer.empty()) computer.script.back().push_back({10ms, FromHex(answer)});
    }
  }
};

/// An answer of controller 5 with this payload, closed.
inline std::string Reply5(const std::string& payload) {
  Bytes frame{0x40, 5, static_cast<std::uint8_t>(payload.size() / 2)};
  for (const std::uint8_t byte : FromHex(payload)) frame.push_back(byte);
  return ToHex(bus::CloseFrame(frame));
}

inline const std::string kAccepts = Reply5("61");
inline const std::string kRefuses = Reply5("E1");
inline const std::string kBadCrc = "40050161000004";
inline const std::string kSilence;

}  // namespace quillon::test
