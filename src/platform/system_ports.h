#pragma once

#include <string>

#include "platform/port_description.h"

namespace quillon {

/// The device that is port "COM `number`", 1 to 99; empty when the number stands for none.
///
/// On Linux first comes the symbolic link `COMn` in the program's folder, whatever it leads to: so any
/// device, a simulated bus too, can be given any number. Without one, COM 1 to 32 are /dev/ttyS0 to 31, COM
/// 33 to 64 /dev/ttyUSB0 to 31 and COM 65 to 96 /dev/ttyACM0 to 31. On Windows it is the port of that name.
/// Whether the device is there shows when it is opened.
std::string PortDevice(const std::string& programFolder, int number);

/// The same in words for the operator, on Linux with what a USB adapter says about itself: maker, product and
/// serial number. Asks the system; opens nothing. `systemFacts` is where Linux tells of its devices.
PortDescription DescribePort(const std::string& programFolder, int number,
                             const std::string& systemFacts = "/sys");

}  // namespace quillon
