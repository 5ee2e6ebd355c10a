// File operations on Windows. Names are converted from UTF-8, and the errors of the system to `errno` values,
// so that text_file.cpp handles errors alike on all systems. Replace writes NAME.new and renames it to NAME.
#include <windows.h>
// The following headers use the types of windows.h.
#include <fcntl.h>
#include <io.h>

#include <cerrno>

#include "platform/system_files.h"

namespace quillon::system_files {
namespace {

constexpr DWORD kQuotaExceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED is missing in the headers of MinGW

std::wstring Wide(const std::string& name) {
  const int size = static_cast<int>(name.size());
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, name.data(), size, nullptr, 0)),
                    0);
  MultiByteToWideChar(CP_UTF8, 0, name.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string Narrow(const std::wstring& name) {
  const int size = static_cast<int>(name.size());
  const int length = WideCharToMultiByte(CP_UTF8, 0, name.data(), size, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<std::size_t>(length), 0);
  WideCharToMultiByte(CP_UTF8, 0, name.data(), size, narrow.data(), length, nullptr, nullptr);
  return narrow;
}

bool IsFolder(const std::wstring& name) {
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Whether a folder in the path is in fact a file.
bool LeadsThroughAFile(const std::wstring& name) {
  std::error_code unknown;
  for (auto folder = std::filesystem::path(name).parent_path(); folder.has_relative_path();
       folder = folder.parent_path()) {
    if (std::filesystem::exists(folder, unknown)) return !IsFolder(folder.wstring());
  }
  return false;
}

bool HasTooLongPart(const std::wstring& name) {
  constexpr std::size_t kLongest = 255;
  for (const auto& part : std::filesystem::path(name)) {
    if (part.native().size() > kLongest) return true;
  }
  return false;
}

/// The `errno` value for the last error of the system, which an operation on `name` caused.
int ErrnoOf(const std::wstring& name) {
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS) return EEXIST;
  if (IsFolder(name)) return EISDIR;
  if (HasTooLongPart(name)) return ENAMETOOLONG;
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return ENOENT;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DIRECTORY:
      return LeadsThroughAFile(name) ? ENOTDIR : ENOENT;
    case ERROR_ACCESS_DENIED:
      return EACCES;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return EWOULDBLOCK;
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return EINVAL;
    case ERROR_FILENAME_EXCED_RANGE:
      return ENAMETOOLONG;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kQuotaExceeded:
      return ENOSPC;
    case ERROR_WRITE_PROTECT:
      return EROFS;
    default:
      return EIO;
  }
}

/// `creation` is OPEN_EXISTING to read, CREATE_NEW or CREATE_ALWAYS to write.
std::FILE* Open(const std::string& name, DWORD creation, DWORD shared) {
  const bool writes = creation != OPEN_EXISTING;
  const std::wstring wide = Wide(name);
  const HANDLE handle = CreateFileW(wide.c_str(), writes ? GENERIC_WRITE : GENERIC_READ, shared, nullptr,
                                    creation, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    errno = ErrnoOf(wide);
    return nullptr;
  }
  if (GetFileType(handle) != FILE_TYPE_DISK) {  // NUL, CON or a pipe: may block for ever
    CloseHandle(handle);
    errno = ENXIO;
    return nullptr;
  }
  const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), writes ? 0 : _O_RDONLY);
  if (descriptor < 0) {
    CloseHandle(handle);
    return nullptr;
  }
  std::FILE* file = _fdopen(descriptor, writes ? "wb" : "rb");
  if (file == nullptr) _close(descriptor);
  return file;
}

/// Writes a file to the disk and closes it. Returns whether both succeeded.
bool FlushAndClose(std::FILE* file) {
  const bool onDisk = std::fflush(file) == 0 && Flush(_fileno(file));
  const DWORD reason = _doserrno;
  const bool closed = std::fclose(file) == 0;
  if (!onDisk) _doserrno = reason;
  return onDisk && closed;
}

/// Renames a closed file to `old`, which is replaced. On failure `old` is unchanged.
bool RenameOver(const std::string& fresh, const std::string& old) {
  constexpr int kTries = 10;    // a virus scanner can have the new file open for a short time
  constexpr DWORD kPause = 20;  // milliseconds
  const std::wstring target = Wide(old);
  for (int tries = 1;; ++tries) {
    if (MoveFileExW(Wide(fresh).c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    errno = ErrnoOf(target);
    if (errno == EWOULDBLOCK) errno = EACCES;
    if (errno != EACCES || tries == kTries) return false;
    Sleep(kPause);
  }
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// The file that a link leads to; any other name, and a link to nothing, verbatim.
std::string TargetOf(const std::string& name) {
  const std::wstring wide = Wide(name);
  const DWORD attributes = GetFileAttributesW(wide.c_str());
  const bool link = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  const HANDLE file =
      link ? CreateFileW(wide.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)
           : INVALID_HANDLE_VALUE;
  if (file == INVALID_HANDLE_VALUE) return name;
  constexpr DWORD kLongestPath = 1 << 15;
  std::wstring target(kLongestPath, 0);
  const DWORD length = GetFinalPathNameByHandleW(file, target.data(), kLongestPath, FILE_NAME_NORMALIZED);
  CloseHandle(file);
  return length == 0 || length >= kLongestPath ? name : Narrow(target.substr(0, length));
}

/// Creates the file NAME.new, or NAME.new1 and so on when a killed program has left that behind. Sets `fresh`
/// to its name.
std::FILE* CreateBeside(const std::string& name, std::string& fresh) {
  constexpr int kMaxLeft = 1000;
  for (int left = 0;; ++left) {
    fresh = name + ".new" + (left == 0 ? "" : std::to_string(left));
    std::FILE* file = Open(fresh, CREATE_NEW, 0);
    if (file != nullptr || errno != EEXIST || left == kMaxLeft) return file;
  }
}

}  // namespace

void PrepareProcess() {}  // not necessary: files never get the descriptors of streams, nor a limit

std::string ProgramFolder() {
  std::wstring file(MAX_PATH, 0);
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
    if (length < file.size()) {
      file.resize(length);
      return Narrow(file.substr(0, file.rfind(L'\\') + 1));
    }
    file.resize(2 * file.size());
  }
}

std::filesystem::path PathOf(const std::string& name) { return Wide(name); }

std::string NameOf(const std::filesystem::path& path) { return Narrow(path.wstring()); }

bool CanBeName(const std::string& name) {
  wchar_t full[MAX_PATH];
  const DWORD length = GetFullPathNameW(Wide(name).c_str(), MAX_PATH, full, nullptr);
  const bool device = length != 0 && length < MAX_PATH && std::wstring(full).starts_with(L"\\\\.\\");
  return !device && !HasTooLongPart(Wide(name)) && name.find_first_of("<>\"|?*") == std::string::npos;
}

std::FILE* OpenForReading(const std::string& name) {
  std::FILE* file = Open(name, OPEN_EXISTING, kShareAll);
  if (file == nullptr && errno == EWOULDBLOCK) errno = EACCES;  // its writer does not share it
  return file;
}

std::FILE* OpenForOneWriter(const std::string& name) {
  return Open(name, CREATE_ALWAYS, FILE_SHARE_READ | FILE_SHARE_DELETE);
}

bool Replace(const std::string& name, std::string_view contents) {
  const std::string target = TargetOf(name);
  std::string fresh;
  std::FILE* file = CreateBeside(target, fresh);
  if (file == nullptr) {
    if (errno == EWOULDBLOCK) errno = EACCES;
    return false;
  }
  bool written = std::fwrite(contents.data(), 1, contents.size(), file) == contents.size();
  written = FlushAndClose(file) && written;
  if (written && RenameOver(fresh, target)) return true;
  const int error = written ? errno : TransferError();
  DeleteFileW(Wide(fresh).c_str());
  errno = error;
  return false;
}

bool Flush(int descriptor) { return _commit(descriptor) == 0; }

/// Reads _doserrno, because `errno` has no value for most errors of the system.
int TransferError() {
  switch (_doserrno) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kQuotaExceeded:
      return ENOSPC;
    default:
      return EIO;
  }
}

bool NoRoom(int error) { return error == ENOSPC || error == EFBIG; }

}  // namespace quillon::system_files
