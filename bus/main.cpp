// quillon-bus: simulated controllers on a pseudo-terminal.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "bus/options.h"
#include "bus/server.h"

int main(int count, char** words) {
  constexpr int kCantServe = 1;
  constexpr int kBadOptions = 2;
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
