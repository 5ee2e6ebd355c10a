#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace quillon {

/// File operations beyond the standard library, implemented for each operating system. File names are bytes,
/// in UTF-8 on Windows. A function that fails sets `errno`, on Windows too.
namespace system_files {

/// Call it first. Opens closed standard streams on the null device: otherwise the log could get the
/// descriptor of such a stream, and would then receive printed text. A limit of the size of files makes a
/// write fail; it does not end the program, which would leave a controller with a part of the image.
void PrepareProcess();

/// The folder of the program, with a separator at its end. Raises std::runtime_error when it is unknown.
std::string ProgramFolder();

/// Converts a file name for the standard library, and back.
std::filesystem::path PathOf(const std::string& name);
std::string NameOf(const std::filesystem::path& path);

/// Whether a file can have this name. Always true on Linux, where opening the file reports a bad name.
bool CanBeName(const std::string& name);

/// Opens a regular file for reading. Returns nullptr on failure; `errno` is ENXIO for a pipe, a device or a
/// socket, which is not opened, since that could block for ever.
std::FILE* OpenForReading(const std::string& name);

/// Opens a regular file for writing and empties it. Only one writer at a time can open a file in this way. A
/// link to a regular file is followed. Returns nullptr on failure; the file is then unchanged. `errno` is
/// EWOULDBLOCK when another writer has opened it, ENXIO for other than regular files and for a broken link.
std::FILE* OpenForOneWriter(const std::string& name);

/// Replaces the contents of a regular file, or creates it. Returns whether the contents are on the disk, safe
/// from a power cut. On failure the file is unchanged. The contents are written to a new file in the same
/// folder, which is then renamed to `name`. Links are followed, except a broken one on Windows, which is
/// replaced. On Linux the file keeps its mode. Exception on Linux: a file that belongs to another user, or in
/// a write-protected folder, is written in place, and a failure can damage it.
bool Replace(const std::string& name, std::string_view contents);

/// Writes the buffers of the system to the disk. Returns whether that succeeded.
bool Flush(int descriptor);

/// The `errno` value for the last failure of reading, writing or closing a file.
int TransferError();

/// Whether an `errno` value means that the disk is full.
bool NoRoom(int error);

}  // namespace system_files
}  // namespace quillon
