#pragma once

#include <optional>

#include "platform/computer.h"

namespace quillon {

/// Counts whose numbers the answers of one run contain.
///
/// Byte 1 of an answer is the number of the controller that sent it, on the virtual bus. Nothing guarantees
/// that of real controllers. So the number of another controller counts only when the other answers of the
/// run contain the number of the controller that was asked (all of them, or the majority when several came
/// from another controller), or when answers contain different other numbers: what controllers write in place
/// of a number is the same in all.
class AnswerNumbers {
 public:
  /// Counts an intact answer to a frame to controller `asked`. Returns the number of another controller, 0 to
  /// 31, when the answer contains one.
  std::optional<int> Count(int asked, const Bytes& answer);

  bool OthersCount() const {
    const bool ownPrevail = own_ > 0 && (others_ == 1 || others_ < own_);
    return none_ == 0 && (ownPrevail || differentOthers_);
  }

 private:
  int own_ = 0;
  int others_ = 0;
  int none_ = 0;  // not a controller's number
  std::optional<int> lastOther_;
  bool differentOthers_ = false;
};

}  // namespace quillon
