// quillon-bus: simulates controllers on a pseudo-terminal, which the tool opens as it opens a serial port.
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
    // open() returns the lowest free number, which is `descriptor`.
    if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kFailed = 1;
  constexpr int kBadOptions = 2;
  OpenStandardDescriptors();
  try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const bus::Options options = bus::ParseOptions(arguments);
    if (!options.textToPrint.empty()) {
      std::cout << options.textToPrint << std::flush;
      return std::cout ? 0 : kFailed;
    }
    bus::Server(options).Run();
    return 0;
  } catch (const bus::OptionError& error) {
    std::cerr << std::string("quillon-bus: ") + error.what() + '\n';
    return kBadOptions;
  } catch (const std::exception& error) {
    std::cerr << std::string("quillon-bus: ") + error.what() + '\n';
    return kFailed;
  }
}
