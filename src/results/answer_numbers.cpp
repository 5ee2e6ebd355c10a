// Counts own, other and impossible numbers in byte 1 of answers.
#include "results/answer_numbers.h"

#include "forms/quillon.h"

namespace quillon {

std::optional<int> AnswerNumbers::Count(int asked, const Bytes& answer) {
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
