// The command line of quillon-bus: words of any letters, parted by line ends.
#include <sstream>

#include "bus/options.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
  std::vector<std::string> words;
  for (std::string word; std::getline(text, word);) words.push_back(word);
  try {
    bus::ParseOptions(words);
  } catch (const bus::OptionError&) {
    // It names the word and the way out; anything else that is thrown ends the fuzzer.
  }
  return 0;
}
