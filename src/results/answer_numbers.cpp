// Finds answers that come from another controller than the one that was asked. Byte 1 of an answer should be
// the number of its sender:
//
//     40 05 07 61 ...     an answer of controller 5
//
// Some controllers may send a fixed value there. So the numbers in all answers of a run are counted, and
// another number is evidence only if the byte varies as it should (OtherNumbersAreEvidence).
#include "results/answer_numbers.h"

#include "forms/quillon.h"

namespace quillon {

std::optional<int> AnswerNumbers::Add(int asked, const Bytes& answer) {
  constexpr std::size_t kShortAnswerBytes = 2;  // the short answer contains no number
  if (answer.size() <= kShortAnswerBytes) return std::nullopt;
  const int number = answer[1];
  if (number == asked) {
    ++own_;
    return std::nullopt;
  }
  if (number >= kControllers) {
    ++none_;
    return std::nullopt;
  }
  ++others_;
  differentOthers_ = differentOthers_ || (lastOther_ && lastOther_ != number);
  lastOther_ = number;
  return number;
}

}  // namespace quillon
