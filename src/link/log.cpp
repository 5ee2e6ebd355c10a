// The log, "Log.txt": what was sent and received, in lines of text. It is emptied at each start and complete
// when the program has ended; in between, lines may wait in a buffer.
#include "link/text_arithmetic.h"
#include "shell/quillon.h"

namespace quillon {

void Quillon::OpenLog() {
  Try([this] { log_.Open(PathInFolder(AppFolder, "Log.txt")); });
}

void Quillon::CloseLog() {
  Try([this] { log_.Close(); });
}

void Quillon::Log(const std::string& line) {
  Try([&] { log_.WriteLine(line); });
}

void Quillon::LogFrame(const std::string& line, const Bytes& frame) {
  Log(line);
  Log(ByteArrayToHex(frame));
}

}  // namespace quillon
