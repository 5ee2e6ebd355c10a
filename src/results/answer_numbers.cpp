// Finds answers from another controller by byte 1, which should be the number of the sender. Some controllers
// may send a fixed value there, so the numbers in all answers of a run are counted first.
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
