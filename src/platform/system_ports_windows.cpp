// The names and the descriptions of serial ports on Windows.
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
