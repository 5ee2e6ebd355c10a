#pragma once

#include "forms/quillon.h"

namespace quillon {

// What both downloads do with a controller that was programmed.
//
// It executes the new firmware now, which answers as its image says: in the image's protocol, and at the
// image's speed where that is fixed. So the main window takes both over before the next question. Then the
// controller reports what its flash contains, and its row is compared with the file.

/// `Protocol` becomes the image's: one less than the protocol byte.
void ApplyImageProtocol(Quillon& form);

/// A fixed rate of the image becomes the first speed tried. Raises RunError 383 for one that the list lacks.
void ApplyImageSpeed(Quillon& form);

/// Reads version and checksum of `i` into its row. A controller on protocol 3 is moved to 4 before: only
/// there it understands the question. True: the row is filled.
bool CheckProgrammed(Quillon& form, int& i);

/// Compares the row of `y` with the file's checksum: shows that the programming succeeded, or marks the row.
void CompareWithFile(Quillon& form, int y);

}  // namespace quillon
