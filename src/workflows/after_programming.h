#pragma once

#include "forms/quillon.h"

namespace quillon {

// The end of both downloads: reads the flash of each programmed controller and compares it with the file.
//
// A programmed controller executes the new firmware. It therefore uses the protocol of the image, and also
// its speed if the image fixes one. The tool adopts both before it sends the next message.

/// Sets `Protocol` to the image's protocol byte less one.
void ApplyImageProtocol(Quillon& form);

/// If the image fixes a speed, selects it in `Vitesse`. Raises RunError 383 if the list does not contain it.
void ApplyImageSpeed(Quillon& form);

/// Writes version and checksum of a controller into its row, and returns whether it could. If `RUD3` is
/// ticked, changes the controller to protocol 4 first, where it can be read.
bool CheckProgrammed(Quillon& form, int& controller);

/// Compares the checksum in the controller's row with that of the file. Shows success in the status line, or
/// writes "Programmation" and "ERROR" into the row.
void CompareWithFile(Quillon& form, int controller);

}  // namespace quillon
