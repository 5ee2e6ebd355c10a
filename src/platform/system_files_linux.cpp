#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/system_files.h"

namespace quillon::system_files {

std::string ProgramFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/";
}

std::FILE* OpenForOneWriter(const std::string& path) {
  constexpr mode_t kReadableByAll = 0666;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kReadableByAll);
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

}  // namespace quillon::system_files
