#pragma once

#include <cstdio>
#include <string>

namespace quillon {

/// What files need of the operating system beyond the standard library: one source file for each system.
namespace system_files {

/// The folder of the program's file, with a separator at its end: the system's own bytes, whatever letters
/// they are meant to be.
std::string ProgramFolder();

/// Opens a file for writing, empty, for one writer at a time: while it is open nobody else gets it this way.
///
/// Returns nullptr on failure and leaves the file as it was; `errno` says why, EWOULDBLOCK when another
/// writer has it.
std::FILE* OpenForOneWriter(const std::string& path);

}  // namespace system_files
}  // namespace quillon
