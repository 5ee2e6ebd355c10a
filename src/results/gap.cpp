// Finds out which batches of the file a controller may lack. Its checksum is a sum over the flash. If it
// differs from that of the file, the difference shows which batches would explain it
// (image/missing_batches.h).
#include "results/gap.h"

#include <charconv>

namespace quillon {

MissingBatches GapOf(const Evidence& evidence, const BatchSums& sums) {
  constexpr int kHexadecimal = 16;
  const std::string& text = evidence.checksum;
  const bool compared = evidence.kind != RunKind::kBootInfo && !evidence.fileChecksum.empty();
  if (!compared || text.empty() || text == evidence.fileChecksum) return {};
  std::uint16_t reported = 0;
  std::from_chars(text.data(), text.data() + text.size(), reported, kHexadecimal);
  return sums.Explain(reported);
}

}  // namespace quillon
