#pragma once

#include <string>

namespace quillon {

/// The device that is port "COM `number`", 1 to 99; empty when the number stands for none.
///
/// First comes the symbolic link `COMn` in the program's folder, whatever it leads to: so any device, a
/// simulated bus too, can be given any number. Without one, on Linux COM 1 to 32 are /dev/ttyS0 to 31, COM 33
/// to 64 /dev/ttyUSB0 to 31 and COM 65 to 96 /dev/ttyACM0 to 31; on Windows it is the port of that name.
/// Whether the device is there shows when it is opened.
std::string PortDevice(const std::string& programFolder, int number);

}  // namespace quillon
