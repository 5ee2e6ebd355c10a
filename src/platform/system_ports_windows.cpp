// Finds and describes the serial ports on Windows, where COM 7 is the device \\.\COM7. The longer name is
// needed for numbers above 9.
#include "platform/system_ports.h"

#include <windows.h>

namespace quillon {
namespace {

std::string PortName(int number) { return "COM" + std::to_string(number); }

}  // namespace

std::string PortDevice(const std::string&, int number) { return "\\\\.\\" + PortName(number); }

PortDescription DescribePort(const std::string&, int number, const std::string&) {
  char target[MAX_PATH];
  const std::string name = PortName(number);
  if (QueryDosDeviceA(name.c_str(), target, sizeof target) == 0) return {name + " (not there)", false};
  return {name + " (" + target + ")", true};
}

}  // namespace quillon
