#pragma once

#include <cstdio>

namespace quillon {

/// The console that the program was started from: one source file for each system.
namespace console {

/// From here on an interrupt (Ctrl-C) or a request to end is kept until the program looks at it, and a reader
/// of the output who went away ends nothing: a controller must not be left with half an image by either. The
/// console shows UTF-8.
void Prepare();
bool Interrupted();

bool IsTerminal(std::FILE* stream);

}  // namespace console
}  // namespace quillon
