#include "desktop/port_names.h"

#include <filesystem>
#include <system_error>

namespace quillon {
namespace {

#ifdef _WIN32
std::string SystemDevice(int number) { return "COM" + std::to_string(number); }
#else
constexpr int kPortsOfKind = 32;
constexpr const char* kKinds[] = {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM"};

std::string SystemDevice(int number) {
  const int index = number - 1;
  if (index < 0 || index >= kPortsOfKind * static_cast<int>(std::size(kKinds))) return "";
  return kKinds[index / kPortsOfKind] + std::to_string(index % kPortsOfKind);
}
#endif

}  // namespace

std::string PortDevice(const std::string& programFolder, int number) {
  const std::string link = programFolder + "COM" + std::to_string(number);
  std::error_code noLink;
  return std::filesystem::is_symlink(link, noLink) ? link : SystemDevice(number);
}

}  // namespace quillon
