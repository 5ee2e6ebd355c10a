// File operations on Linux. Only regular files are opened: opening a pipe can block, and opening a serial
// port changes its control lines. Replace keeps the old contents until the new ones are safe on the disk:
//
//     write NAME.new  ->  fsync  ->  rename NAME.new to NAME  ->  fsync the folder
//
// A file that can't be replaced by another one, for example in a write-protected folder, is written in place.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "platform/system_files.h"

namespace quillon::system_files {
namespace {

constexpr mode_t kModeOfNewFile = 0666;  // reduced by the umask
constexpr mode_t kModeBits = 07777;
constexpr mode_t kWritable = S_IWUSR | S_IWGRP | S_IWOTH;

/// An open file. The destructor closes it and keeps `errno`.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    const int error = errno;
    if (IsOpen()) close(number_);
    errno = error;
  }

  bool IsOpen() const { return number_ >= 0; }
  int Number() const { return number_; }
  int Release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

bool IsRegular(const struct stat& state) {
  errno = S_ISDIR(state.st_mode) ? EISDIR : ENXIO;
  return S_ISREG(state.st_mode);
}

/// Opens a regular file. Checks the type before and after opening, since the file may be replaced in between.
Descriptor OpenRegular(const std::string& name, int access) {
  struct stat state {};
  if (stat(name.c_str(), &state) != 0 || !IsRegular(state)) return Descriptor(-1);
  Descriptor file(open(name.c_str(), access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen() || (fstat(file.Number(), &state) == 0 && IsRegular(state))) return file;
  return Descriptor(-1);
}

/// Creates a file whose name does not exist yet, not even as a link.
Descriptor Create(const std::string& name, mode_t mode) {
  return Descriptor(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & kModeBits));
}

/// Opens a regular file for writing, or creates it.
Descriptor OpenOrCreate(const std::string& name) {
  Descriptor old = OpenRegular(name, O_WRONLY);
  if (old.IsOpen() || errno != ENOENT) return old;
  Descriptor created = Create(name, kModeOfNewFile);
  if (!created.IsOpen() && errno == EEXIST) errno = ENXIO;  // a broken link
  return created;
}

std::FILE* StreamOf(Descriptor file, const char* access) {
  std::FILE* stream = file.IsOpen() ? fdopen(file.Number(), access) : nullptr;
  if (stream != nullptr) file.Release();
  return stream;
}

/// Locks a file. Returns false when another writer has locked it. Some network file systems have no locks:
/// there the file is used without one.
bool LockForOneWriter(int file) {
  return flock(file, LOCK_EX | LOCK_NB) == 0 || errno == ENOLCK || errno == ENOSYS || errno == EOPNOTSUPP;
}

/// The target of a link, which need not exist; any other name unchanged.
std::string TargetOf(const std::string& name) {
  namespace fs = std::filesystem;
  constexpr int kMaxLinks = 40;  // the limit of the system
  fs::path path = name;
  std::error_code unreadable;
  for (int links = 0; links < kMaxLinks && fs::is_symlink(path, unreadable); ++links)
    path = path.parent_path() / fs::read_symlink(path, unreadable);
  return path.string();
}

bool WriteAll(int file, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = write(file, contents.data(), contents.size());
    if (written < 0 && errno != EINTR) return false;
    contents.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

bool WriteInPlace(int file, std::string_view contents) {
  return WriteAll(file, contents) && ftruncate(file, static_cast<off_t>(contents.size())) == 0 && Flush(file);
}

/// Gives a new file the group and the mode of the old one. Some file systems have neither: there both files
/// have the same ones from the start, and nothing is changed.
bool CopyGroupAndMode(int file, const struct stat& old) {
  struct stat fresh {};
  if (fstat(file, &fresh) != 0) return false;
  const bool sameGroup = fresh.st_gid == old.st_gid;
  if (sameGroup && fresh.st_mode == old.st_mode) return true;
  return (sameGroup || fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0) &&
         fchmod(file, old.st_mode & kModeBits) == 0;
}

/// Puts the new name of a file on the disk. By then the file is replaced, so a failure is not reported.
void FlushFolderOf(const std::string& name) {
  const std::string folder = std::filesystem::path(name).parent_path().string();
  const Descriptor opened(open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.IsOpen()) Flush(opened.Number());
}

/// Creates the file NAME.new, or NAME.new1 and so on when a killed program has left that behind. Sets `fresh`
/// to its name.
Descriptor CreateBeside(const std::string& name, mode_t mode, std::string& fresh) {
  constexpr int kMaxLeft = 1000;
  for (int left = 0;; ++left) {
    fresh = name + ".new" + (left == 0 ? "" : std::to_string(left));
    Descriptor file = Create(fresh, mode);
    if (file.IsOpen() || errno != EEXIST || left == kMaxLeft) return file;
  }
}

/// Writes a new file and renames it to `name`. `old` is the state of the file that it replaces, or nullptr.
bool ReplaceByRename(const std::string& name, const struct stat* old, std::string_view contents) {
  std::string fresh;
  const Descriptor file = CreateBeside(name, old != nullptr ? old->st_mode : kModeOfNewFile, fresh);
  if (!file.IsOpen()) return false;
  if ((old == nullptr || CopyGroupAndMode(file.Number(), *old)) && WriteAll(file.Number(), contents) &&
      Flush(file.Number()) && rename(fresh.c_str(), name.c_str()) == 0) {
    FlushFolderOf(name);
    return true;
  }
  const int error = errno;
  unlink(fresh.c_str());
  errno = error;
  return false;
}

/// Whether `errno` means that the folder or its file system does not allow a replacement. Then the file is
/// written in place.
bool FolderForbidsReplacement() {
  constexpr int kReasons[] = {EACCES, EPERM, EROFS, EBUSY, ENOSYS, EOPNOTSUPP};
  return std::find(std::begin(kReasons), std::end(kReasons), errno) != std::end(kReasons);
}

}  // namespace

void PrepareProcess() {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that reaches its limit makes the write fail, not end the program
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);  // gets the lowest free number
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  if (descriptor >= 0) close(descriptor);
}

std::string ProgramFolder() {
  std::error_code unreadable;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unreadable);
  if (!unreadable) return program.parent_path().string() + "/";
  throw std::runtime_error("the program's folder is unknown, since /proc/self/exe can't be read (" +
                           unreadable.message() + "). Mount /proc, then start the program again.");
}

std::filesystem::path PathOf(const std::string& name) { return name; }

std::string NameOf(const std::filesystem::path& path) { return path.string(); }

bool CanBeName(const std::string&) { return true; }

std::FILE* OpenForReading(const std::string& name) { return StreamOf(OpenRegular(name, O_RDONLY), "rb"); }

std::FILE* OpenForOneWriter(const std::string& name) {
  Descriptor file = OpenOrCreate(name);
  // Emptied after it is locked, so that the lines of another writer are not lost.
  if (!file.IsOpen() || !LockForOneWriter(file.Number()) || ftruncate(file.Number(), 0) != 0) return nullptr;
  return StreamOf(std::move(file), "wb");
}

bool Replace(const std::string& name, std::string_view contents) {
  const std::string target = TargetOf(name);
  const Descriptor old = OpenRegular(target, O_WRONLY);
  if (!old.IsOpen()) return errno == ENOENT && ReplaceByRename(target, nullptr, contents);
  struct stat state {};
  if (fstat(old.Number(), &state) != 0) return false;
  if ((state.st_mode & kWritable) == 0) {  // root could write it nevertheless
    errno = EACCES;
    return false;
  }
  // A new file would have another owner, or would no longer be the file of the other hard links.
  const bool own = state.st_uid == geteuid() && state.st_nlink == 1;
  if (own && ReplaceByRename(target, &state, contents)) return true;
  return (!own || FolderForbidsReplacement()) && WriteInPlace(old.Number(), contents);
}

bool Flush(int descriptor) {
  return fsync(descriptor) == 0 || errno == EINVAL;  // EINVAL: not supported by the file system
}

int TransferError() { return errno; }

bool NoRoom(int error) { return error == ENOSPC || error == EDQUOT || error == EFBIG; }

}  // namespace quillon::system_files
