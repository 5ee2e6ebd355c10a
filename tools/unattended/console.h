#pragma once

#include <cstdio>

namespace quillon {

/// The console that the program was started from: one source file for each system.
namespace console {

/// From here on an interrupt (Ctrl-C) or a request to end is recorded until Interrupted() is called, and a
/// reader of the output that ends does not end the program: neither may leave a controller with half an
/// image. The console shows UTF-8.
void Prepare();
bool Interrupted();

bool IsTerminal(std::FILE* stream);

}  // namespace console
}  // namespace quillon
