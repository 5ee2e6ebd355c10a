// Reads and writes the files of the program: whole or line by line. It guarantees that:
//
// - Every failure becomes a RunError with number, file name and advice.
// - Replacing a file loses nothing: a killed program, a full disk or a power cut leaves the old contents.
// - Nothing blocks for ever: only regular files are opened, since a pipe or a device may never deliver.
#include "platform/text_file.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "platform/run_error.h"
#include "platform/system_files.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using system_files::PathOf;

constexpr std::size_t kPiece = 1 << 15;           // bytes read at a time; fits into the level 1 cache
constexpr std::size_t kLongestLine = 1 << 24;     // bytes
constexpr std::uintmax_t kLargestFile = 1 << 30;  // bytes

RunError FileError(const std::string& path, int error) {
  const std::string name = "\"" + path + "\"";
  const std::string why = name + ": " + std::generic_category().message(error);
  if (system_files::NoRoom(error))
    return {RunError::kDiskFull, "Disk full: " + why + ". Free some space and try again."};
  switch (error) {
    case ENOENT:
      return {RunError::kFileNotFound, "File not found: " + name + ". Check the name and the folder."};
    case ENOTDIR:
      return {RunError::kPathNotFound, "Path not found: " + why + ". Check the folder."};
    case EACCES:
    case EPERM:
      return {RunError::kPermissionDenied, "Permission denied: " + name + ". Ask for the right to it."};
    case ENAMETOOLONG:
    case EINVAL:
    case EILSEQ:
      return {RunError::kBadFileName, "Bad file name: " + why + ". Rename the file."};
    case ENXIO:
      return {RunError::kFileAccess,
              "Path/File access error: " + name + " is a pipe or a device. Choose a file."};
    case EISDIR:
    case ELOOP:
    case EROFS:
    case ETXTBSY:
      return {RunError::kFileAccess, "Path/File access error: " + why + ". Choose another file or folder."};
    default:
      return {RunError::kDeviceInputOutput, "Device I/O error: " + why + ". Check the drive."};
  }
}

/// Whether two file names differ at most in the case of their letters A to Z.
bool SameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char one, char other) { return lower(one) == lower(other); });
}

RunError OutOfMemory(const std::string& path, const char* what) {
  return {RunError::kOutOfMemory, "Out of memory: \"" + path + "\" " + what + ". Choose a smaller file."};
}

/// Opens a file for reading without a buffer: the callers read large pieces.
FileHandle OpenForReading(const std::string& path) {
  FileHandle file(system_files::OpenForReading(path));
  if (!file) throw FileError(path, errno);
  std::error_code error;
  if (fs::file_size(PathOf(path), error) > kLargestFile && !error)
    throw OutOfMemory(path, "has more than 1 GiB");
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  errno = 0;
  return file;
}

std::string Contents(std::FILE* file, const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(PathOf(path), error);
  // One byte more than the size: the read that finds the end then needs no larger buffer.
  std::string contents(error ? kPiece : static_cast<std::size_t>(size) + 1, '\0');
  std::size_t filled = 0;
  while (const std::size_t count = std::fread(contents.data() + filled, 1, contents.size() - filled, file)) {
    filled += count;
    if (filled == contents.size()) contents.resize(2 * contents.size());
  }
  if (std::ferror(file)) throw FileError(path, system_files::TransferError());
  contents.resize(filled);
  return contents;
}

}  // namespace

bool FileExists(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(PathOf(path), error);
  // True for an impossible name: opening the file then reports what is wrong with it.
  if (status.type() == fs::file_type::not_found) return !system_files::CanBeName(path);
  // True if the file can't be examined, for example in a folder without permission.
  return status.type() != fs::file_type::directory;
}

std::string PathInFolder(const std::string& folder, const std::string& name) {
  const std::string path = folder + name;
  std::error_code error;
  if (fs::exists(PathOf(path), error)) return path;
  for (fs::directory_iterator entry(PathOf(folder), error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string other = system_files::NameOf(entry->path().filename());
    if (SameName(other, name)) return folder + other;
  }
  return path;
}

std::string ReadFile(const std::string& path) {
  const FileHandle file = OpenForReading(path);
  try {
    return Contents(file.get(), path);
  } catch (const std::bad_alloc&) {
    throw OutOfMemory(path, "is larger than the memory");
  }
}

void ReplaceFile(const std::string& path, std::string_view contents) {
  if (!system_files::Replace(path, contents)) throw FileError(path, errno);
}

LineReader LineReader::OfFile(const std::string& path) {
  LineReader reader{std::string_view()};
  reader.file_ = OpenForReading(path);
  reader.path_ = path;
  reader.piece_.resize(kPiece);
  reader.ReadNextPiece();
  return reader;
}

void LineReader::RaisePastEnd() const {
  if (failure_) throw *failure_;
  throw RunError(RunError::kInputPastEnd, "Input past end of file: the file ends too early. Check it.");
}

/// Drops the returned lines and reads the next piece of the file. Closes the file at its end. A read error is
/// raised after the complete lines before it; the incomplete line is dropped.
void LineReader::ReadNextPiece() {
  const std::size_t kept = text_.size() - position_;
  if (kept > kLongestLine) throw OutOfMemory(path_, "contains a line of more than 16 MB");
  std::copy(text_.begin() + static_cast<std::ptrdiff_t>(position_), text_.end(), piece_.begin());
  if (kept > piece_.size() / 2) piece_.resize(2 * piece_.size());
  const std::size_t space = piece_.size() - kept;
  const std::size_t count = std::fread(piece_.data() + kept, 1, space, file_.get());
  text_ = {piece_.data(), kept + count};
  position_ = 0;
  if (std::ferror(file_.get())) {
    failure_ = FileError(path_, system_files::TransferError());
    text_ = text_.substr(0, text_.find_last_of("\r\n") + 1);
  }
  if (count < space) file_.reset();
}

void TextWriter::Open(const std::string& path) {
  file_.reset(system_files::OpenForOneWriter(path));
  if (!file_ && errno == EWOULDBLOCK) {
    throw RunError(RunError::kPermissionDenied,
                   "Permission denied: Quillon already runs from this folder and writes \"" + path +
                       "\". End this copy, or continue without a log.");
  }
  if (!file_ && errno == ENXIO) {
    throw RunError(RunError::kPermissionDenied,
                   "Permission denied: \"" + path +
                       "\" is not a regular file, nor a link to one. Remove it, or continue without a log.");
  }
  if (!file_) throw FileError(path, errno);
  path_ = path;
}

void TextWriter::WriteLine(std::string_view line) {
  if (!file_) return;
  std::fwrite(line.data(), 1, line.size(), file_.get());
  std::fwrite("\r\n", 1, 2, file_.get());
  if (!std::ferror(file_.get())) return;
  const int error = system_files::TransferError();
  file_.reset();
  throw FileError(path_, error);
}

void TextWriter::Close() {
  if (!file_) return;
  if (std::fclose(file_.release()) != 0) throw FileError(path_, system_files::TransferError());
}

}  // namespace quillon
