#pragma once

#include <cstdint>
#include <string>

#include "forms/image_facts.h"
#include "platform/text_file.h"

namespace quillon {

/// Reads a whole firmware file (Intel HEX, by columns) line by line. Stores in `facts` what the records
/// at the line addresses 2010, 2020, 007B and 008B say about it, later ones over earlier ones.
///
/// Returns the image's checksum: the sum of all bytes of a flash of 57342 bytes in which each byte that the
/// file does not fill holds 255. Lengths and data count as written, wherever they lie; for a file that holds
/// too much the result is below zero. Raises what reading the lines raises.
std::int64_t AnalyseImage(LineReader lines, ImageFacts& facts);

/// A checksum as upper-case hex digits without leading zeros; below zero, its low 32 bits.
std::string ChecksumText(std::int64_t checksum);

}  // namespace quillon
