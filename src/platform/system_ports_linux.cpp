// Finds and describes the serial ports on Linux. The operator selects a port by a number:
//
//     COM 1 to 32     /dev/ttyS0 to 31      built-in ports
//     COM 33 to 64    /dev/ttyUSB0 to 31    USB adapters
//     COM 65 to 96    /dev/ttyACM0 to 31    USB devices with their own serial interface
//
// A link COMn in the program's folder replaces the device of that number. The files below /sys describe
// adapters.
#include "platform/system_ports.h"

#include <filesystem>
#include <fstream>

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr int kPortsPerKind = 32;
constexpr const char* kKinds[] = {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM"};

std::string SystemDevice(int number) {
  const int index = number - 1;
  if (index < 0 || index >= kPortsPerKind * static_cast<int>(std::size(kKinds))) return "";
  return kKinds[index / kPortsPerKind] + std::to_string(index % kPortsPerKind);
}

/// The first line of a file; empty if there is none.
std::string FirstLine(const fs::path& file) {
  std::string line;
  std::getline(std::ifstream(file), line);
  return line;
}

/// Maker, product and serial number of a USB adapter, as far as it reports them. `terminal` is the folder of
/// its terminal device in sysfs. Empty for other devices.
std::string DescribeAdapter(const fs::path& terminal) {
  std::error_code none;
  // The USB device is the folder above that of the terminal with a file idVendor.
  fs::path device = fs::canonical(terminal / "device", none);
  while (device.has_relative_path() && !fs::exists(device / "idVendor", none)) device = device.parent_path();
  if (!device.has_relative_path()) return "";
  std::string text;
  for (const auto& [name, label] :
       {std::pair{"manufacturer", ""}, {"product", ""}, {"serial", "serial number "}}) {
    const std::string value = FirstLine(device / name);
    if (!value.empty()) text += (text.empty() ? "" : ", ") + (label + value);
  }
  return text;
}

}  // namespace

std::string PortDevice(const std::string& programFolder, int number) {
  const std::string link = programFolder + "COM" + std::to_string(number);
  std::error_code noLink;
  return fs::is_symlink(link, noLink) ? link : SystemDevice(number);
}

PortDescription DescribePort(const std::string& programFolder, int number, const std::string& sysfs) {
  const std::string name = PortDevice(programFolder, number);
  if (name.empty()) {
    return {"No device. Link COM" + std::to_string(number) + " in the folder of the program to one.", false};
  }
  std::error_code unknown;
  if (!fs::exists(name, unknown)) return {name + " (not there)", false};
  const fs::path target = fs::canonical(name, unknown);
  const std::string device = unknown ? name : target.string();
  const fs::path terminal = fs::path(sysfs) / "class/tty" / target.filename();
  // Linux creates devices also for built-in ports that the computer does not have. Their type is 0.
  if (FirstLine(terminal / "type") == "0") return {device + " (not there)", false};
  const std::string adapter = DescribeAdapter(terminal);
  return {adapter.empty() ? device : device + "\n" + adapter, true};
}

}  // namespace quillon
