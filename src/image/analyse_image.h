#pragma once

#include <cstdint>
#include <string>

#include "forms/image_facts.h"
#include "platform/text_file.h"

namespace quillon {

/// Reads a firmware file (Intel HEX) to its end. Stores the metadata of the records at the load addresses
/// 2010, 2020, 007B and 008B in `facts`; a later record replaces an earlier one. Returns the image's
/// checksum: the sum of all 57342 bytes of the flash, in which each byte that the file does not set is 255.
/// Load addresses are not checked, and a file with more data than the flash gives a negative result. Raises
/// what reading the lines raises.
std::int64_t AnalyseImage(LineReader lines, ImageFacts& facts);

/// A checksum as upper-case hex digits without leading zeros; of a negative one, the low 32 bits.
std::string ChecksumText(std::int64_t checksum);

}  // namespace quillon
