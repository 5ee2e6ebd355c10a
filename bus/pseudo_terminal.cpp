// Creates a pseudo-terminal that serves as a serial port, and a link to it. The bus keeps the master end; the
// tool opens the slave end by its path. pseudo_terminal.h lists how a pseudo-terminal differs from a real
// port, and what is done about each difference. All calls are those of Linux.
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

[[noreturn]] void ThrowSystemError(const char* action) {
  throw std::system_error(errno, std::generic_category(), action);
}

int Check(int result, const char* action) {
  if (result < 0) ThrowSystemError(action);
  return result;
}

/// Switches off echo, line editing and the translation of bytes. Sets the format of a port that the tool has
/// not yet set: 9600 bits per second, 8 data bits, no parity, two stop bits (CSTOPB).
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
  const fs::file_status status = fs::symlink_status(path, error);
  if (!fs::exists(status)) return;
  const bool leftByEndedBus =
      fs::is_symlink(status) && fs::read_symlink(path, error).lexically_normal().parent_path() == "/dev/pts";
  if (!leftByEndedBus)
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

/// inotify reports each open and close of the slave, in order. So the last event is the present state.
void PseudoTerminal::UpdateOpenState() {
  std::array<char, 4096> events{};
  bool sawEvent = false;
  ssize_t size = 0;
  while ((size = read(watch_.Number(), events.data(), events.size())) > 0) {
    sawEvent = true;
    for (ssize_t offset = 0; offset < size;) {
      inotify_event event{};
      std::memcpy(&event, events.data() + offset, sizeof event);
      toolHasPortOpen_ = (event.mask & IN_OPEN) != 0;
      offset += static_cast<ssize_t>(sizeof event + event.len);
    }
  }
  justClosed_ = sawEvent && !toolHasPortOpen_;
  // The exclusive claim of a tool that was killed remains, since the slave is open here. The next tool could
  // not open the port.
  if (justClosed_) ioctl(slave_.Number(), TIOCNXCL);
  // Discards the bytes that the former tool did not read: a real port does not keep them either.
  if (sawEvent) Check(ioctl(slave_.Number(), TCFLSH, TCIFLUSH), "emptying the pseudo-terminal");
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
  if (size < 0 && errno != EAGAIN && errno != EINTR) ThrowSystemError("reading from the pseudo-terminal");
  bytes.resize(static_cast<std::size_t>(size > 0 ? size : 0));
  // The last close may have been that of another program, such as stty. Whoever writes has the port open, so
  // the tool still does.
  if (!bytes.empty() && !justClosed_) toolHasPortOpen_ = true;
  return bytes;
}

void PseudoTerminal::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty() || !toolHasPortOpen_) return;
  const ssize_t size = write(master_.Number(), bytes.data(), bytes.size());
  if (size < 0 && errno != EAGAIN && errno != EINTR) ThrowSystemError("writing to the pseudo-terminal");
}

/// The socket receives nothing. Its name is the claim: a second bus that binds the same name fails, and the
/// name is free again as soon as this process has ended, even if it was killed.
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
  if (errno != EADDRINUSE) ThrowSystemError("claiming the link");
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
