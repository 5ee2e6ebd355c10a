#pragma once

#include "support/bench.h"

namespace quillon::test {

/// A bench with the port open, so that a single command can be tried: 64 in byte 0, 9600, time-out 500 ms.
class CommandBench : public Bench {
 public:
  CommandBench() { tool.MSComm1.SetPortOpen(true); }

  /// The answers to the sendings in turn, in hex; "" is silence.
  void Answer(const std::vector<std::string>& answers) {
    for (const std::string& answer : answers) {
      world.script.push_back(answer.empty() ? std::vector<Reply>{}
                                            : std::vector<Reply>{{10ms, FromHex(answer)}});
    }
    world.script.resize(kEnough);
  }

  /// From here on every exchange gives up behind its first send.
  void Cancel() { tool.AbortRequested = true; }

 private:
  static constexpr std::size_t kEnough = 100;  // sendings: silence behind the answers
};

/// An answer of controller 5 with this payload, closed.
inline std::string Reply5(const std::string& payload) {
  Bytes frame{0x40, 5, static_cast<std::uint8_t>(payload.size() / 2)};
  for (const std::uint8_t byte : FromHex(payload)) frame.push_back(byte);
  return ToHex(Closed(frame));
}

inline const std::string kAccepts = Reply5("61");
inline const std::string kRefuses = Reply5("E1");
inline const std::string kBadCrc = "40050161000004";
inline const std::string kSilence;

}  // namespace quillon::test
