#pragma once

#include <string>
#include <vector>

namespace quillon::test {

/// A small firmware file: version 12-05-31, fixed rate 19200, protocol byte $41, product "WORBY". Its
/// checksum is DF07B6; it makes two batches, four bytes at 0000 and twenty at 2010.
inline const std::vector<std::string> kImage = {
    ":020000040000FA",     ":0400000001020304F2", ":102010000000000000313200303500333100000094",
    ":042020002000410556", ":00000001FF",
};

}  // namespace quillon::test
