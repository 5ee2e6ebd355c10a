// quillon-bus: simulated controllers on a pseudo-terminal.
#include <fcntl.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "bus/options.h"
#include "bus/server.h"

namespace {

/// Opens the standard descriptors that are closed. Otherwise the pseudo-terminal or the log would get the
/// number of the standard output.
void OpenStandardDescriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor)
    if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);  // gets the lowest free number, this one
}

}  // namespace

int main(int count, char** words) {
  constexpr int kCantServe = 1;
  constexpr int kBadOptions = 2;
  OpenStandardDescriptors();
  try {
    const std::vector<std::string> arguments(words + 1, words + count);
    const bus::Options options = bus::ParseOptions(arguments);
    if (!options.answer.empty()) {
      std::cout << options.answer;
      return 0;
    }
    bus::Server(options).Run();
    return 0;
  } catch (const bus::OptionError& error) {
    std::cerr << std::string("quillon-bus: ") + error.what() + '\n';
    return kBadOptions;
  } catch (const std::exception& error) {
    std::cerr << std::string("quillon-bus: ") + error.what() + '\n';
    return kCantServe;
  }
}
