// "Quillon.cfg" and "Boot.ini" of any bytes: whatever they hold, the program starts, and what it then saves
// is read back the same. A NUL parts the two files.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "forms/quillon.h"
#include "shell/start_stop.h"
#include "support/fake_computer.h"

using namespace quillon;

namespace {

constexpr std::ptrdiff_t kLines = 39;

std::string SavedAfterStart(test::FakeComputer& computer) {
  {
    Quillon tool(computer.AsComputer());
    Start(tool);
    tool.ComClose.Press();
  }
  return computer.ReadFile("Quillon.cfg");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string both(reinterpret_cast<const char*>(data), size);
  const std::size_t middle = both.find('\0');
  test::FakeComputer computer;
  computer.WriteFile("Quillon.cfg", both.substr(0, middle));
  if (middle != std::string::npos) computer.WriteFile("Boot.ini", both.substr(middle + 1));
  const std::string saved = SavedAfterStart(computer);
  if (std::count(saved.begin(), saved.end(), '\n') != kLines) std::abort();
  if (SavedAfterStart(computer) != saved) std::abort();
  if (!computer.boxes.empty()) std::abort();
  return 0;
}
