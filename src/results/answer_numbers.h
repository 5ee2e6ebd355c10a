#pragma once

#include <optional>

#include "platform/computer.h"

namespace quillon {

/// Decides whether an answer came from another controller than the one that was asked. Byte 1 of an answer
/// should be the number of its sender, but some controllers may always send a fixed value there. So another
/// number is evidence only if the byte is known to vary: all or most other answers of the run contain the
/// number that was asked, or two answers contain different other numbers.
class AnswerNumbers {
 public:
  /// Adds an intact answer to a frame to controller `asked`. Returns the number of another controller, 0 to
  /// 31, when the answer contains one.
  std::optional<int> Add(int asked, const Bytes& answer);

  /// Whether another number is evidence in this run.
  bool OtherNumbersAreEvidence() const {
    const bool ownPrevail = own_ > 0 && (others_ == 1 || others_ < own_);
    return none_ == 0 && (ownPrevail || differentOthers_);
  }

 private:
  int own_ = 0;
  int others_ = 0;
  int none_ = 0;  // no number of a controller
  std::optional<int> lastOther_;
  bool differentOthers_ = false;
};

}  // namespace quillon
