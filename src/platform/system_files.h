#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace quillon {

/// What files need of the operating system beyond the standard library: one source file for each system.
///
/// A file's name is a text of bytes: on Linux the system's own bytes, whatever letters they are meant to be;
/// on Windows UTF-8. What fails says why in `errno`, with the numbers of C on every system.
namespace system_files {

/// Opens the standard streams that the program was started without on the null device. Call it first: the
/// next files that are opened would get their descriptors, and what is printed would go into the log.
void OpenMissingStreams();

/// The folder of the program's file, with a separator at its end. Raises std::runtime_error where the system
/// does not say it.
std::string ProgramFolder();

/// The same name for the standard library, and back.
std::filesystem::path PathOf(const std::string& name);
std::string NameOf(const std::filesystem::path& path);

/// Whether a file could have this name. On Linux always true: opening the file reports a bad name.
bool CanBeName(const std::string& name);

/// Opens a regular file for reading; nullptr on failure. Others may write, replace and remove it meanwhile.
///
/// `errno` is ENXIO for a pipe, a device or a socket: it is not opened, since that could wait for ever.
std::FILE* OpenForReading(const std::string& name);

/// Opens a regular file for writing, empty, for one writer at a time: while it is open nobody else gets it
/// this way. A link to a regular file is followed.
///
/// Returns nullptr on failure and leaves the file as it was; `errno` is EWOULDBLOCK when another writer has
/// it, ENXIO for what is not a regular file and for a link to nothing.
std::FILE* OpenForOneWriter(const std::string& name);

/// Gives a regular file new contents, or creates it; whether they are on the disk itself, where a power cut
/// leaves them. On failure the file is as it was.
///
/// The contents are written into a new file beside the old one, which is then renamed over it. Links are
/// followed to the file behind them. On Linux the file keeps its mode, and a file that this program may write
/// but not replace (it belongs to another user, or its folder is write-protected) is written in place: then a
/// failure in the middle damages it.
bool Replace(const std::string& name, std::string_view contents);

/// Whether what was written to an open file is now on the disk itself, where a power cut leaves it.
bool Flush(int descriptor);

/// The number of C for the failure of the last reading, writing or closing of a file.
int TransferError();

/// Whether an `errno` says that there is no room for more.
bool NoRoom(int error);

}  // namespace system_files
}  // namespace quillon
