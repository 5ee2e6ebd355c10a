#include "bus/pseudo_terminal.h"

#include <asm/termbits.h>  // termios2, for unusual speeds; conflicts with <termios.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace bus {
namespace {

int Check(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

void MakeRaw(int terminal) {
  termios2 settings{};
  Check(ioctl(terminal, TCGETS2, &settings), "reading the settings of the pseudo-terminal");
  settings.c_iflag = 0;
  settings.c_oflag = 0;
  settings.c_lflag = 0;
  settings.c_cflag = CS8 | CSTOPB | CREAD | CLOCAL | B9600;
  settings.c_ispeed = settings.c_ospeed = 9600;
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  Check(ioctl(terminal, TCSETS2, &settings), "making the pseudo-terminal raw");
}

int DataBits(tcflag_t flags) {
  switch (flags & CSIZE) {
    case CS5:
      return 5;
    case CS6:
      return 6;
    case CS7:
      return 7;
    default:
      return 8;
  }
}

char Parity(tcflag_t flags) {
  if ((flags & PARENB) == 0) return 'N';
  const bool odd = (flags & PARODD) != 0;
  if ((flags & CMSPAR) != 0) return odd ? 'M' : 'S';
  return odd ? 'O' : 'E';
}

/// Throws unless the path is free or a link to a pseudo-terminal. Any other link may be the user's own, such
/// as one to an adapter that is unplugged at the moment.
void RequireReplaceable(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status present = fs::symlink_status(path, error);
  if (!fs::exists(present)) return;
  const bool leftOver =
      fs::is_symlink(present) && fs::read_symlink(path, error).string().starts_with("/dev/pts/");
  if (!leftOver)
    throw std::runtime_error("--link " + path +
                             ": something else has that name. Remove it or choose another.");
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(number_, other.number_);
  return *this;
}

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

PseudoTerminal::PseudoTerminal()
    : master_(Check(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "opening a pseudo-terminal")) {
  Check(grantpt(master_.Number()), "opening a pseudo-terminal");
  Check(unlockpt(master_.Number()), "opening a pseudo-terminal");
  std::array<char, 64> name{};
  if (const int error = ptsname_r(master_.Number(), name.data(), name.size()); error != 0)
    throw std::system_error(error, std::generic_category(), "naming the pseudo-terminal");
  path_ = name.data();
  slave_ = Descriptor(Check(open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC), name.data()));
  MakeRaw(slave_.Number());
  watch_ = Descriptor(Check(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "watching the pseudo-terminal"));
  Check(inotify_add_watch(watch_.Number(), name.data(), IN_OPEN | IN_CLOSE), "watching the pseudo-terminal");
}

void PseudoTerminal::UpdateOpenState() {
  std::array<char, 4096> events{};
  bool noted = false;
  ssize_t size = 0;
  while ((size = read(watch_.Number(), events.data(), events.size())) > 0) {
    noted = true;
    for (ssize_t at = 0; at < size;) {
      inotify_event event{};
      std::memcpy(&event, events.data() + at, sizeof event);
      inUse_ = (event.mask & IN_OPEN) != 0;
      at += static_cast<ssize_t>(sizeof event + event.len);
    }
  }
  justClosed_ = noted && !inUse_;
  if (justClosed_) ioctl(slave_.Number(), TIOCNXCL);
  if (noted) Check(ioctl(slave_.Number(), TCFLSH, TCIFLUSH), "emptying the pseudo-terminal");
}

LineFormat PseudoTerminal::Format() const {
  termios2 settings{};
  Check(ioctl(master_.Number(), TCGETS2, &settings), "reading the settings of the pseudo-terminal");
  const tcflag_t flags = settings.c_cflag;
  return {static_cast<int>(settings.c_ospeed), DataBits(flags), Parity(flags), (flags & CSTOPB) != 0 ? 2 : 1};
}

Bytes PseudoTerminal::Read() {
  Bytes bytes(4096);
  const ssize_t size = read(master_.Number(), bytes.data(), bytes.size());
  if (size < 0 && errno != EAGAIN && errno != EINTR) Check(-1, "reading from the pseudo-terminal");
  bytes.resize(static_cast<std::size_t>(size > 0 ? size : 0));
  // The last event may be the closing by another program, such as stty, while the tool still has the port
  // open. A program that writes has it open.
  if (!bytes.empty() && !justClosed_) inUse_ = true;
  return bytes;
}

void PseudoTerminal::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty() || !inUse_) return;
  const ssize_t size = write(master_.Number(), bytes.data(), bytes.size());
  if (size < 0 && errno != EAGAIN && errno != EINTR) Check(-1, "writing to the pseudo-terminal");
}

LinkClaim::LinkClaim(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(path).has_parent_path() ? fs::path(path).parent_path() : ".";
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return;  // making the link will fail, and report the reason
  const std::string name = "quillon-bus " + std::to_string(status.st_dev) + " " +
                           std::to_string(status.st_ino) + " " + fs::path(path).filename().string();
  socket_ = Descriptor(Check(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "claiming the link"));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // A leading NUL makes the name abstract: it belongs to no file.
  const std::size_t size = name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + size);
  if (bind(socket_.Number(), reinterpret_cast<const sockaddr*>(&address), length) == 0) return;
  if (errno != EADDRINUSE) Check(-1, "claiming the link");
  throw std::runtime_error("--link " + path +
                           ": another quillon-bus serves it. End that one or choose another name.");
}

PortLink::PortLink(std::string path, std::string target)
    : path_(std::move(path)), target_(std::move(target)) {
  namespace fs = std::filesystem;
  RequireReplaceable(path_);
  std::error_code error;
  fs::remove(path_, error);
  fs::create_symlink(target_, path_, error);
  if (error)
    throw std::runtime_error("--link " + path_ + ": " + error.message() +
                             ". Choose another name, in a folder that can be written.");
}

PortLink::~PortLink() {
  std::error_code error;
  if (std::filesystem::read_symlink(path_, error) == target_) std::filesystem::remove(path_, error);
}

}  // namespace bus
