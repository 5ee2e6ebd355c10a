#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace quillon {

/// What files need of the operating system beyond the standard library: one source file for each system.
///
/// A file's name is a text of bytes: on Linux the system's own bytes, whatever letters they are meant to be;
/// on Windows UTF-8. What fails says why in `errno`, with the numbers of C on every system.
namespace system_files {

/// The folder of the program's file, with a separator at its end.
std::string ProgramFolder();

/// The same name for the standard library, and back.
std::filesystem::path PathOf(const std::string& name);
std::string NameOf(const std::filesystem::path& path);

/// Whether a file could have this name. On Linux always true: opening the file reports a bad name.
bool CanBeName(const std::string& name);

/// Opens a file for reading; nullptr on failure. Others may write, replace and remove it meanwhile.
std::FILE* OpenForReading(const std::string& name);

/// Opens a file for writing, empty; nullptr on failure.
std::FILE* OpenForWriting(const std::string& name);

/// Opens a file for writing, empty, for one writer at a time: while it is open nobody else gets it this way.
///
/// Returns nullptr on failure and leaves the file as it was; `errno` is EWOULDBLOCK when another writer has
/// it.
std::FILE* OpenForOneWriter(const std::string& name);

/// Closes a written file once its bytes are on the disk itself, where a power cut leaves them; whether all of
/// them are.
bool CloseOnDisk(std::FILE* file);

/// Puts a closed file in the place of another, which is gone then or stays whole; whether it went well.
bool PutInPlace(const std::string& fresh, const std::string& old);

/// Removes a file. One that is not there is no failure.
void Remove(const std::string& name);

/// The number of C for the failure of the last reading, writing or closing of a file.
int TransferError();

/// Whether an `errno` says that there is no room for more.
bool NoRoom(int error);

}  // namespace system_files
}  // namespace quillon
