// The kernel's own terminal settings know every speed, the C library's only the usual ones; the two can't be
// included together.
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
#include <sstream>
#include <string_view>

#include "platform/run_error.h"
#include "platform/system_line.h"
#include "platform/system_ports.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

constexpr double kSpeedTolerance = 0.03;  // a controller still understands a line that is so far off
constexpr std::size_t kChunk = 4096;      // bytes
constexpr std::size_t kMostAtOnce = 16 * kChunk;

bool WouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

/// The group to join for the right to a device: the one that it belongs to, when that group may read and
/// write it and is not the administrator's own. Else empty.
std::string GroupWithRight(const std::string& device) {
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
                                              text + " to a device beside the program.");
}

RunError NoRight(int number, const std::string& device) {
  const std::string group = GroupWithRight(device);
  return RunError(RunError::kPermissionDenied,
                  "Permission denied: you have no right to COM " + std::to_string(number) + " (" + device +
                      "). " +
                      (group.empty() ? "Ask the administrator for it."
                                     : "Join the group " + group + " with \"sudo usermod -a -G " + group +
                                           " $USER\" and log in again."));
}

/// `owner` is what shows that the device is in use.
RunError InUse(int number, const std::string& owner) {
  return RunError(RunError::kPortAlreadyOpen, "Port already open: another program uses COM " +
                                                  std::to_string(number) + " (" + owner +
                                                  "). Close that program and start the run again.");
}

RunError OpenFailure(int number, const std::string& device, int reason) {
  switch (reason) {
    case EACCES:
    case EPERM:
      return NoRight(number, device);
    case EBUSY:
      return InUse(number, device);
    case ENOENT:
      return NoSuchPort(number, fs::is_symlink(device) ? " (" + device + " leads to nothing)"
                                                       : " (there is no " + device + ")");
    default:
      return NoSuchPort(number, " (" + device + " is no working serial device)");
  }
}

/// Opens a terminal device for this program alone, without touching its settings. Returns its file
/// descriptor, or the negated error number of the system; -EBUSY when another program has claimed it.
int OpenAlone(const char* device) {
  const int descriptor = open(device, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return -errno;
  termios2 settings{};
  int failure = ioctl(descriptor, TCGETS2, &settings) == 0 ? 0 : errno;
  if (failure == 0 && flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) failure = EBUSY;
  if (failure == 0) return descriptor;
  close(descriptor);
  return -failure;
}

/// The lock file by which programs of this system tell each other that a device is in use, such as
/// "/var/lock/LCK..ttyUSB0". `device` is the device's own path, no link.
std::string LockFileOf(const std::string& device) {
  constexpr std::string_view kDevices = "/dev/";
  std::string name = device.starts_with(kDevices) ? device.substr(kDevices.size()) : device;
  std::replace(name.begin(), name.end(), '/', '_');
  return "/var/lock/LCK.." + name;
}

/// When a process started, in seconds since 1970, by the clock ticks since the computer's start that the
/// system counts for it.
double StartTime(double ticks) {
  const auto now = [](clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  return now(CLOCK_REALTIME) - now(CLOCK_BOOTTIME) + ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// Whether a process lives that can have written a file at that time (seconds since 1970). One that started
/// later got the number of a process that ended.
bool LivesSince(pid_t process, double written) {
  constexpr double kSlack = 2;               // seconds, for what the clock was set meanwhile
  constexpr int kBetweenStateAndStart = 18;  // fields
  if (kill(process, 0) != 0 && errno != EPERM) return false;
  std::string text;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), text);
  const std::size_t name = text.rfind(')');  // the field before; it can contain blanks
  if (name == text.npos) return true;        // the system does not show other users' processes
  std::istringstream fields(text.substr(name + 1));
  char state = 0;
  fields >> state;
  std::string other;
  for (int i = 0; i < kBetweenStateAndStart; ++i) fields >> other;
  double start = 0;
  fields >> start;
  const bool ended = state == 'Z' || state == 'X';  // a zombie, or about to be none
  return !ended && StartTime(start) <= written + kSlack;
}

/// Whether a lock file is there and contains, in its first line, the number of another process that lives.
/// Everybody may write to its folder: a pipe or a link of its name is no lock file.
bool HeldByAnother(const std::string& lockFile) {
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
  return LivesSince(static_cast<pid_t>(process), written);
}

/// Writes a lock file with this process's number, in place of one of a process that ended. Where that is not
/// allowed there is none: the device itself is claimed anyway. Whether it was written.
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
  std::string lockFile;  // ours; none: empty
};

SystemLine::SystemLine(const std::string& programFolder, int number) : device_(std::make_unique<Device>()) {
  const std::string name = PortDevice(programFolder, number);
  if (name.empty()) throw NoSuchPort(number, "");
  // By the device's own name, which its lock file bears too; a link's would be locked beside it.
  std::error_code unresolved;  // then the opening tells
  const std::string lock = LockFileOf(fs::canonical(name, unresolved).string());
  // Before the device is opened: an opening disturbs the program that uses it.
  if (!unresolved && HeldByAnother(lock)) throw InUse(number, name + ", by its lock file " + lock);
  const int opened = OpenAlone(name.c_str());
  if (opened < 0) throw OpenFailure(number, name, -opened);
  device_->descriptor = opened;
  if (!unresolved && WriteLockFile(lock)) device_->lockFile = lock;
  ioctl(opened, TIOCEXCL);
  ioctl(opened, TCFLSH, TCIFLUSH);
}

SystemLine::~SystemLine() {
  ioctl(device_->descriptor, TIOCNXCL);
  if (!device_->lockFile.empty()) unlink(device_->lockFile.c_str());
  if (Leaving() > 0) DropLeaving();  // closing would wait for it
  close(device_->descriptor);
}

bool SystemLine::SetSpeed(int baud) {
  constexpr tcflag_t kForm = CSIZE | PARENB | CSTOPB | CRTSCTS;
  constexpr tcflag_t kWanted = CS8 | CSTOPB;
  termios2 former{};
  if (ioctl(device_->descriptor, TCGETS2, &former) != 0) return false;
  termios2 settings = former;
  settings.c_iflag = 0;  // bytes pass as they are
  settings.c_oflag = 0;
  settings.c_lflag = 0;
  settings.c_cflag =
      (settings.c_cflag & ~(kForm | CBAUD | CBAUD << IBSHIFT)) | kWanted | CREAD | CLOCAL | BOTHER;
  settings.c_ispeed = settings.c_ospeed = static_cast<speed_t>(baud);
  settings.c_cc[VMIN] = 0;
  settings.c_cc[VTIME] = 0;
  if (ioctl(device_->descriptor, TCSETS2, &settings) == 0 &&
      ioctl(device_->descriptor, TCGETS2, &settings) == 0 && (settings.c_cflag & kForm) == kWanted &&
      std::abs(static_cast<double>(settings.c_ospeed) - baud) <= baud * kSpeedTolerance) {
    return true;
  }
  ioctl(device_->descriptor, TCSETS2, &former);
  return false;
}

std::ptrdiff_t SystemLine::Send(std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    // An adapter tells of a write when all of it has left.
    const std::size_t count = std::min(bytes.size() - sent, kMostPerStep);
    const ssize_t taken = write(device_->descriptor, bytes.data() + sent, count);
    if (taken < 0 && !WouldBlock()) return -1;
    if (taken <= 0) break;
    sent += static_cast<std::size_t>(taken);
  }
  return static_cast<std::ptrdiff_t>(sent);
}

bool SystemLine::Receive(std::vector<std::uint8_t>& bytes) {
  std::uint8_t chunk[kChunk];
  for (std::size_t taken = 0; taken < kMostAtOnce;) {
    const ssize_t count = read(device_->descriptor, chunk, sizeof chunk);
    if (count < 0) return WouldBlock();
    if (count == 0) break;
    bytes.insert(bytes.end(), chunk, chunk + count);
    taken += static_cast<std::size_t>(count);
  }
  return true;
}

std::size_t SystemLine::Leaving() const {
  int count = 0;
  return ioctl(device_->descriptor, TIOCOUTQ, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void SystemLine::DropLeaving() { ioctl(device_->descriptor, TCFLSH, TCOFLUSH); }

void SystemLine::AwaitLastBytes() { ioctl(device_->descriptor, TCSBRK, 1); }

bool SystemLine::Gone() const {
  pollfd state{device_->descriptor, POLLIN, 0};
  return poll(&state, 1, 0) < 0 ? errno != EINTR : (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

std::intptr_t SystemLine::Watched() const { return device_->descriptor; }

}  // namespace quillon
