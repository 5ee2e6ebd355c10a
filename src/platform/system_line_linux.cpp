// Implements the serial device on Linux: a terminal in raw mode, in which reads and writes never block. Three
// locks keep other programs away, since each alone has gaps:
//
//     /var/lock/LCK..ttyUSB0   a file with the number of the process; some programs ignore it
//     flock                    some programs ignore it
//     TIOCEXCL                 does not stop root

// <termios.h> supports only some speeds. The header of the kernel supports all, but excludes <termios.h>.
#include <asm/termbits.h>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <string_view>

#include "platform/run_error.h"
#include "platform/system_line.h"
#include "platform/system_ports.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr double kSpeedTolerance = 0.03;  // a receiver tolerates this difference
constexpr std::size_t kChunk = 4096;      // bytes
constexpr std::size_t kMaxPerCall = 16 * kChunk;

bool WouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

/// The group that a user must join to open a device: the group of the device, if it may read and write and is
/// not that of the administrator. Otherwise empty.
std::string GroupWithPermission(const std::string& device) {
  struct stat node {};
  if (stat(device.c_str(), &node) != 0) return "";
  constexpr mode_t kReadAndWrite = S_IRGRP | S_IWGRP;
  constexpr gid_t kAdministrators = 0;
  if ((node.st_mode & kReadAndWrite) != kReadAndWrite || node.st_gid == kAdministrators) return "";
  const group* owner = getgrgid(node.st_gid);
  return owner != nullptr ? owner->gr_name : std::to_string(node.st_gid);
}

RunError NoSuchPort(int number, const std::string& reason) {
  const std::string text = std::to_string(number);
  return RunError(RunError::kInvalidPort, "COM " + text + ": no such port" + reason +
                                              ". Plug its adapter in, select another port, or link COM" +
                                              text + " in the folder of the program to a device.");
}

RunError NoPermission(int number, const std::string& device) {
  const std::string group = GroupWithPermission(device);
  return RunError(RunError::kPermissionDenied,
                  "Permission denied: you have no right to COM " + std::to_string(number) + " (" + device +
                      "). " +
                      (group.empty() ? "Ask the administrator for it."
                                     : "Join the group " + group + " with \"sudo usermod -a -G " + group +
                                           " $USER\" and log in again."));
}

/// `detail` is the path of the device, or also how its use was noticed.
RunError InUse(int number, const std::string& detail) {
  return RunError(RunError::kPortAlreadyOpen, "Port already open: another program uses COM " +
                                                  std::to_string(number) + " (" + detail +
                                                  "). Close that program and start the run again.");
}

RunError OpenFailure(int number, const std::string& device, int reason) {
  switch (reason) {
    case EACCES:
    case EPERM:
      return NoPermission(number, device);
    case EBUSY:
      return InUse(number, device);
    case ENOENT:
      return NoSuchPort(number, fs::is_symlink(device) ? " (" + device + " leads to nothing)"
                                                       : " (there is no " + device + ")");
    default:
      return NoSuchPort(number, " (" + device + " is no working serial device)");
  }
}

/// Opens and locks a terminal device without changing its settings. Returns the file descriptor, or a
/// negative `errno` value; -EBUSY when another program has locked it.
int OpenExclusively(const char* device) {
  const int descriptor = open(device, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return -errno;
  termios2 settings{};
  int failure = ioctl(descriptor, TCGETS2, &settings) == 0 ? 0 : errno;
  if (failure == 0 && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) failure = EBUSY;
  if (failure == 0) return descriptor;
  close(descriptor);
  return -failure;
}

/// The lock file of a device: "/var/lock/LCK..ttyUSB0" for "/dev/ttyUSB0". `device` must not be a link.
std::string LockFileOf(const std::string& device) {
  constexpr std::string_view kDevices = "/dev/";
  std::string name = device.starts_with(kDevices) ? device.substr(kDevices.size()) : device;
  std::replace(name.begin(), name.end(), '/', '_');
  return "/var/lock/LCK.." + name;
}

/// When the system started, in seconds since 1970 by the clock as it is set now.
double BootTime() {
  const auto now = [](clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  return now(CLOCK_REALTIME) - now(CLOCK_BOOTTIME);
}

struct ProcessState {
  char state;      // a letter, such as Z for a zombie
  double started;  // seconds from the start of the system to that of the process
};

/// Reads /proc/NUMBER/stat. Nothing if the process belongs to another user and is hidden.
std::optional<ProcessState> ReadProcessState(pid_t process) {
  constexpr int kBetweenStateAndStart = 18;  // fields
  std::string text;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), text);
  const std::size_t name = text.rfind(')');  // ends the program's name, which may contain blanks
  if (name == text.npos) return std::nullopt;
  std::istringstream fields(text.substr(name + 1));
  ProcessState result{};
  fields >> result.state;
  std::string other;
  for (int i = 0; i < kBetweenStateAndStart; ++i) fields >> other;
  double ticks = 0;
  fields >> ticks;
  result.started = ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
  return result;
}

/// Whether a process is running that may have written a file at the time `written` (seconds since 1970). A
/// process that started later has reused the number of the writer. When `written` is before the start of the
/// system, the clock was set forward since, and the times cannot be compared.
bool IsRunningSince(pid_t process, double written) {
  constexpr double kSlack = 2;  // seconds, for adjustments of the clock
  if (kill(process, 0) != 0 && errno != EPERM) return false;
  const std::optional<ProcessState> found = ReadProcessState(process);
  if (!found) return true;
  if (found->state == 'Z' || found->state == 'X') return false;  // zombie or dead
  const double boot = BootTime();
  return written < boot || boot + found->started <= written + kSlack;
}

/// Whether a lock file contains the number of another running process in its first line. Everybody may write
/// to the folder, so a pipe or a link is not accepted as a lock file.
bool IsLockedByAnother(const std::string& lockFile) {
  constexpr int kNoWait = O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC;
  const int descriptor = open(lockFile.c_str(), O_RDONLY | kNoWait);
  if (descriptor < 0) return false;
  struct stat file {};
  char line[32] = "";
  const bool read =
      fstat(descriptor, &file) == 0 && S_ISREG(file.st_mode) && ::read(descriptor, line, sizeof line - 1) > 0;
  close(descriptor);
  const long process = read ? std::strtol(line, nullptr, 10) : 0;
  if (process <= 0 || process > std::numeric_limits<pid_t>::max() || process == getpid()) return false;
  const double written =
      static_cast<double>(file.st_mtim.tv_sec) + static_cast<double>(file.st_mtim.tv_nsec) / 1e9;
  return IsRunningSince(static_cast<pid_t>(process), written);
}

/// Writes a lock file with the number of this process, in place of an outdated one. Returns false when the
/// folder is not writable: then only the device itself is locked.
bool WriteLockFile(const std::string& lockFile) {
  constexpr mode_t kReadableByAll = 0644;
  unlink(lockFile.c_str());
  const int descriptor = open(lockFile.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadableByAll);
  if (descriptor < 0) return false;
  dprintf(descriptor, "%10d\n", getpid());
  close(descriptor);
  return true;
}

}  // namespace

struct SystemLine::Device {
  int descriptor = -1;
  std::string lockFile;  // written by this object; empty: none
};

SystemLine::SystemLine(const std::string& programFolder, int number) : device_(std::make_unique<Device>()) {
  const std::string name = PortDevice(programFolder, number);
  if (name.empty()) throw NoSuchPort(number, "");
  // The lock file is named after the device, not after a link to it.
  std::error_code unresolved;  // opening the device reports the reason
  const std::string lock = LockFileOf(fs::canonical(name, unresolved).string());
  // Checked before the device is opened, which would disturb the program that uses it.
  if (!unresolved && IsLockedByAnother(lock)) throw InUse(number, name + ", by its lock file " + lock);
  const int opened = OpenExclusively(name.c_str());
  if (opened < 0) throw OpenFailure(number, name, -opened);
  device_->descriptor = opened;
  if (!unresolved && WriteLockFile(lock)) device_->lockFile = lock;
  ioctl(opened, TIOCEXCL);
  ioctl(opened, TCFLSH, TCIFLUSH);
}

SystemLine::~SystemLine() {
  ioctl(device_->descriptor, TIOCNXCL);
  if (!device_->lockFile.empty()) unlink(device_->lockFile.c_str());
  if (Unsent() > 0) DropUnsent();  // close would wait for these bytes
  close(device_->descriptor);
}

bool SystemLine::SetSpeed(int baud) {
  constexpr tcflag_t kFormat = CSIZE | PARENB | CSTOPB | CRTSCTS;
  constexpr tcflag_t kWanted = CS8 | CSTOPB;
  termios2 former{};
  if (ioctl(device_->descriptor, TCGETS2, &former) != 0) return false;
  termios2 settings = former;
  settings.c_iflag = 0;  // bytes are not translated
  settings.c_oflag = 0;
  settings.c_lflag = 0;
  settings.c_cflag =
      (settings.c_cflag & ~(kFormat | CBAUD | CBAUD << IBSHIFT)) | kWanted | CREAD | CLOCAL | BOTHER;
  settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(baud);
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 0;
  // The device may accept other settings than requested, so they are read back.
  if (ioctl(device_->descriptor, TCSETS2, &settings) == 0 &&
      ioctl(device_->descriptor, TCGETS2, &settings) == 0 && (settings.c_cflag & kFormat) == kWanted &&
      std::abs(static_cast<double>(settings.c_ospeed) - baud) <= baud * kSpeedTolerance) {
    return true;
  }
  ioctl(device_->descriptor, TCSETS2, &former);
  return false;
}

std::ptrdiff_t SystemLine::Send(std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    // Adapters report a write as sent only when all its bytes are sent.
    const std::size_t count = std::min(bytes.size() - sent, kMostPerStep);
    const ssize_t accepted = write(device_->descriptor, bytes.data() + sent, count);
    if (accepted < 0 && !WouldBlock()) return -1;
    if (accepted <= 0) break;
    sent += static_cast<std::size_t>(accepted);
  }
  return static_cast<std::ptrdiff_t>(sent);
}

bool SystemLine::Receive(std::vector<std::uint8_t>& bytes) {
  std::uint8_t chunk[kChunk];
  for (std::size_t total = 0; total < kMaxPerCall;) {
    const ssize_t count = read(device_->descriptor, chunk, sizeof chunk);
    if (count < 0) return WouldBlock();
    if (count == 0) break;
    bytes.insert(bytes.end(), chunk, chunk + count);
    total += static_cast<std::size_t>(count);
  }
  return true;
}

std::size_t SystemLine::Unsent() const {
  int count = 0;
  return ioctl(device_->descriptor, TIOCOUTQ, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void SystemLine::DropUnsent() { ioctl(device_->descriptor, TCFLSH, TCOFLUSH); }

/// TCSBRK with an argument other than 0 waits until all bytes are sent. It sends no break.
void SystemLine::AwaitLastBytes() { ioctl(device_->descriptor, TCSBRK, 1); }

bool SystemLine::Gone() const {
  pollfd state{device_->descriptor, POLLIN, 0};
  return poll(&state, 1, 0) < 0 ? errno != EINTR : (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

std::intptr_t SystemLine::Watched() const { return device_->descriptor; }

}  // namespace quillon
