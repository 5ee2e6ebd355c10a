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
#include <fstream>
#include <string_view>

#include "desktop/serial_line.h"

namespace quillon::serial_line {
namespace {

constexpr double kSpeedTolerance = 0.03;  // a controller still understands a line that is so far off
constexpr std::size_t kChunk = 4096;      // bytes

bool WouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

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

std::string GroupWithRight(const char* device) {
  struct stat node {};
  if (stat(device, &node) != 0) return "";
  constexpr mode_t kReadAndWrite = S_IRGRP | S_IWGRP;
  constexpr gid_t kAdministrators = 0;
  if ((node.st_mode & kReadAndWrite) != kReadAndWrite || node.st_gid == kAdministrators) return "";
  const group* owner = getgrgid(node.st_gid);
  return owner != nullptr ? owner->gr_name : std::to_string(node.st_gid);
}

std::string LockFileOf(const std::string& device) {
  constexpr std::string_view kDevices = "/dev/";
  std::string name = device.starts_with(kDevices) ? device.substr(kDevices.size()) : device;
  std::replace(name.begin(), name.end(), '/', '_');
  return "/var/lock/LCK.." + name;
}

bool HeldByAnother(const std::string& lockFile) {
  std::ifstream file(lockFile);
  pid_t process = 0;
  if (!(file >> process) || process <= 0 || process == getpid()) return false;
  return kill(process, 0) == 0 || errno == EPERM;
}

bool RunsAt(int device, int baud) {
  termios2 settings{};
  if (ioctl(device, TCGETS2, &settings) != 0) return false;
  const tcflag_t form = settings.c_cflag & (CSIZE | PARENB | CSTOPB);
  return form == (CS8 | CSTOPB) &&
         std::abs(static_cast<double>(settings.c_ospeed) - baud) <= baud * kSpeedTolerance;
}

std::ptrdiff_t Send(int device, std::span<const std::uint8_t> bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t taken = write(device, bytes.data() + sent, bytes.size() - sent);
    if (taken < 0 && !WouldBlock()) return -1;
    if (taken <= 0) break;
    sent += static_cast<std::size_t>(taken);
  }
  return static_cast<std::ptrdiff_t>(sent);
}

bool Receive(int device, std::vector<std::uint8_t>& bytes) {
  std::uint8_t chunk[kChunk];
  for (;;) {
    const ssize_t count = read(device, chunk, sizeof chunk);
    if (count < 0) return WouldBlock();
    if (count == 0) return true;
    bytes.insert(bytes.end(), chunk, chunk + count);
  }
}

void DropReceived(int device) { ioctl(device, TCFLSH, TCIFLUSH); }

std::size_t Leaving(int device) {
  int count = 0;
  return ioctl(device, TIOCOUTQ, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void AwaitLastBytes(int device) { ioctl(device, TCSBRK, 1); }

bool Gone(int device) {
  pollfd state{device, POLLIN, 0};
  return poll(&state, 1, 0) < 0 ? errno != EINTR : (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

}  // namespace quillon::serial_line
