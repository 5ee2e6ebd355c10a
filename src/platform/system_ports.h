#pragma once

#include <string>

#include "platform/port_description.h"

namespace quillon {

/// The path of the device of port COM `number`, 1 to 99, which need not exist; empty if there is none. On
/// Windows it is the port of that name. On Linux:
///
///     COM 1 to 32      /dev/ttyS0 to 31       built-in ports
///     COM 33 to 64     /dev/ttyUSB0 to 31     USB adapters
///     COM 65 to 96     /dev/ttyACM0 to 31     USB devices with their own serial interface
///
/// A symbolic link `COMn` in the program's folder replaces the device of that number. So any device, also a
/// simulated bus, can have any number.
std::string PortDevice(const std::string& programFolder, int number);

/// Describes the device for the operator, on Linux with maker, product and serial number of a USB adapter.
/// Does not open the device. `sysfs` is the folder in which Linux lists its devices.
PortDescription DescribePort(const std::string& programFolder, int number, const std::string& sysfs = "/sys");

}  // namespace quillon
