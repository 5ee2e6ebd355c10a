#include "platform/system_ports.h"

#include <filesystem>
#include <fstream>

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr int kPortsOfKind = 32;
constexpr const char* kKinds[] = {"/dev/ttyS", "/dev/ttyUSB", "/dev/ttyACM"};

std::string SystemDevice(int number) {
  const int index = number - 1;
  if (index < 0 || index >= kPortsOfKind * static_cast<int>(std::size(kKinds))) return "";
  return kKinds[index / kPortsOfKind] + std::to_string(index % kPortsOfKind);
}

/// The first line of a file of one fact; empty when it has none.
std::string Fact(const fs::path& file) {
  std::string line;
  std::getline(std::ifstream(file), line);
  return line;
}

/// Maker, product and serial number of the USB adapter that terminal device `facts` belongs to, as far as it
/// tells them. Empty when there is none.
std::string AdapterFacts(const fs::path& facts) {
  std::error_code none;
  fs::path device = fs::canonical(facts / "device", none);
  while (device.has_relative_path() && !fs::exists(device / "idVendor", none)) device = device.parent_path();
  if (!device.has_relative_path()) return "";
  std::string text;
  for (const auto& [name, words] :
       {std::pair{"manufacturer", ""}, {"product", ""}, {"serial", "serial number "}}) {
    const std::string fact = Fact(device / name);
    if (!fact.empty()) text += (text.empty() ? "" : ", ") + (words + fact);
  }
  return text;
}

}  // namespace

std::string PortDevice(const std::string& programFolder, int number) {
  const std::string link = programFolder + "COM" + std::to_string(number);
  std::error_code noLink;
  return fs::is_symlink(link, noLink) ? link : SystemDevice(number);
}

PortDescription DescribePort(const std::string& programFolder, int number, const std::string& systemFacts) {
  const std::string name = PortDevice(programFolder, number);
  if (name.empty()) {
    return {"No device. Link COM" + std::to_string(number) + " to one beside the program.", false};
  }
  std::error_code unknown;
  if (!fs::exists(name, unknown)) return {name + " (not there)", false};
  const fs::path target = fs::canonical(name, unknown);
  const std::string device = unknown ? name : target.string();
  const fs::path facts = fs::path(systemFacts) / "class/tty" / target.filename();
  // The system keeps names ready for built-in ports that a computer may have; those it has not are of no
  // type.
  if (Fact(facts / "type") == "0") return {device + " (not there)", false};
  const std::string adapter = AdapterFacts(facts);
  return {adapter.empty() ? device : device + "\n" + adapter, true};
}

}  // namespace quillon
