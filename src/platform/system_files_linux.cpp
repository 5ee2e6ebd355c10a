#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "platform/system_files.h"

namespace quillon::system_files {

std::string ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/";
}

std::filesystem::path PathOf(const std::string& name) { return name; }

std::string NameOf(const std::filesystem::path& path) { return path.string(); }

bool CanBeName(const std::string&) { return true; }

std::FILE* OpenForReading(const std::string& name) { return std::fopen(name.c_str(), "rb"); }

std::FILE* OpenForWriting(const std::string& name) { return std::fopen(name.c_str(), "wb"); }

std::FILE* OpenForOneWriter(const std::string& name) {
  constexpr mode_t kReadableByAll = 0666;
  const int descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kReadableByAll);
  if (descriptor < 0) return nullptr;
  // Emptied only when it is ours: another writer's lines must not go. A device can't be emptied, nor need it.
  const bool ours =
      flock(descriptor, LOCK_EX | LOCK_NB) == 0 && (ftruncate(descriptor, 0) == 0 || errno == EINVAL);
  std::FILE* file = ours ? fdopen(descriptor, "wb") : nullptr;
  if (file == nullptr) {
    const int error = errno;
    close(descriptor);
    errno = error;
  }
  return file;
}

bool CloseOnDisk(std::FILE* file) {
  // EINVAL: a file system that knows nothing of it.
  const bool onDisk = std::fflush(file) == 0 && (fsync(fileno(file)) == 0 || errno == EINVAL);
  const int error = errno;
  const bool closed = std::fclose(file) == 0;
  if (!onDisk) errno = error;
  return onDisk && closed;
}

bool PutInPlace(const std::string& fresh, const std::string& old) {
  return std::rename(fresh.c_str(), old.c_str()) == 0;
}

void Remove(const std::string& name) { std::remove(name.c_str()); }

int TransferError() { return errno; }

bool NoRoom(int error) { return error == ENOSPC || error == EDQUOT || error == EFBIG; }

}  // namespace quillon::system_files
