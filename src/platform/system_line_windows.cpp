#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <utility>

#include "platform/run_error.h"
#include "platform/serial_control.h"
#include "platform/system_line.h"
#include "platform/system_ports.h"

// Last: windows.h defines a macro Yield, which is also a method of Events in computer.h.
#include <windows.h>

namespace quillon {
namespace {

constexpr double kSpeedTolerance = 0.03;  // a controller still understands a line that is so far off
constexpr DWORD kChunk = 4096;            // bytes
constexpr std::size_t kMostAtOnce = 16 * kChunk;

RunError NoSuchPort(int number, const std::string& reason) {
  return RunError(RunError::kInvalidPort, "COM " + std::to_string(number) + ": no such port (" + reason +
                                              "). Plug its adapter in, or select another port.");
}

HANDLE OpenHandle(const std::string& device, DWORD access) {
  return CreateFileA(device.c_str(), access, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
}

/// Whether the port can be opened without the right to read or write. A port in use refuses that too; one
/// that this user has no right to does not.
bool OpensWithoutRights(const std::string& device) {
  const HANDLE handle = OpenHandle(device, 0);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CloseHandle(handle);
  return true;
}

RunError OpenFailure(int number, const std::string& device, DWORD error) {
  const std::string port = "COM " + std::to_string(number);
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return NoSuchPort(number, "the system has none of this number");
    case ERROR_ACCESS_DENIED:
      if (OpensWithoutRights(device)) {
        return {RunError::kPermissionDenied,
                "Permission denied: you have no right to " + port + ". Ask the administrator for it."};
      }
      [[fallthrough]];
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
      return {RunError::kPortAlreadyOpen, "Port already open: another program uses " + port +
                                              ". Close that program and start the run again."};
    default:
      return NoSuchPort(number, "its device is no working serial port");
  }
}

/// An operation that goes on by itself, with the bytes that it moves.
struct Transfer {
  Transfer() { state.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer() { CloseHandle(state.hEvent); }

  bool Over() const { return HasOverlappedIoCompleted(&state); }

  OVERLAPPED state{};
  std::vector<std::uint8_t> bytes;
};

/// No time-outs: a read waits for its byte as long as the port is open.
constexpr COMMTIMEOUTS kTimeouts = {};

}  // namespace

struct SystemLine::Device {
  /// What is under way. The system writes into these until they are over.
  struct Transfers {
    Transfer reading;             // always on its way, so that its event tells of bytes
    std::deque<Transfer> writes;  // in order
  };

  ~Device() {
    if (handle == INVALID_HANDLE_VALUE) return;
    CancelIoEx(handle, nullptr);
    PurgeComm(handle, PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
    const bool over = (!readPending || EndsSoon(transfers->reading)) && WritesEndSoon();
    CloseHandle(handle);
    // Some drivers let go of nothing after their adapter was pulled out: then the memory stays theirs.
    if (!over) static_cast<void>(transfers.release());
  }

  static bool EndsSoon(const Transfer& transfer) {
    constexpr DWORD kPatience = 500;  // milliseconds
    return transfer.Over() || WaitForSingleObject(transfer.state.hEvent, kPatience) == WAIT_OBJECT_0;
  }
  bool WritesEndSoon() const { return std::ranges::all_of(transfers->writes, EndsSoon); }

  /// Number of bytes that came and that no read took.
  DWORD Queued() const {
    COMSTAT state{};
    DWORD errors = 0;
    return ClearCommError(handle, &errors, &state) ? state.cbInQue : 0;
  }

  /// Asks for as many bytes as are there, but at least for the next one.
  void StartReading() {
    Transfer& reading = transfers->reading;
    const DWORD count = std::clamp<DWORD>(Queued(), 1, kChunk);
    readPending = ReadFile(handle, reading.bytes.data(), count, nullptr, &reading.state) != 0 ||
                  GetLastError() == ERROR_IO_PENDING;
    if (!readPending) failed = true;
  }

  /// Whether the read is over. When bytes are there it ends within a moment, which is waited for.
  bool HasRead() const {
    constexpr DWORD kMoment = 10;  // milliseconds
    const Transfer& reading = transfers->reading;
    return reading.Over() ||
           (Queued() > 0 && WaitForSingleObject(reading.state.hEvent, kMoment) == WAIT_OBJECT_0);
  }

  /// Forgets the writes that are over; one that did not send all its bytes is a failure.
  void DropWritten() {
    std::deque<Transfer>& writes = transfers->writes;
    for (; !writes.empty() && writes.front().Over(); writes.pop_front()) {
      DWORD sent = 0;
      const bool wentOut = GetOverlappedResult(handle, &writes.front().state, &sent, FALSE) != 0;
      if (!wentOut || sent != writes.front().bytes.size()) failed = true;
    }
  }

  /// The line takes its time for so many bytes, after those before them. Drivers and adapters say that a byte
  /// has left as soon as they have it themselves.
  void CountOnTheLine(std::size_t bytes) {
    constexpr std::chrono::milliseconds kLag(4);  // until the adapter has the first one
    lineFree = std::max(lineFree, Time::now() + kLag) +
               std::chrono::duration_cast<Time::duration>(
                   std::chrono::duration<double>(static_cast<double>(bytes) * kBitsPerByte / baud));
  }
  std::size_t StillOnTheLine() const {
    const double seconds = std::chrono::duration<double>(lineFree - Time::now()).count();
    return seconds > 0 ? static_cast<std::size_t>(std::ceil(seconds * baud / kBitsPerByte)) : 0;
  }

  using Time = std::chrono::steady_clock;

  HANDLE handle = INVALID_HANDLE_VALUE;
  std::unique_ptr<Transfers> transfers = std::make_unique<Transfers>();
  bool begun = false;  // to read
  bool readPending = false;
  bool failed = false;  // from then on
  int baud = 0;
  Time::time_point lineFree;
};

SystemLine::SystemLine(const std::string& programFolder, int number) : device_(std::make_unique<Device>()) {
  const std::string name = PortDevice(programFolder, number);
  device_->handle = OpenHandle(name, GENERIC_READ | GENERIC_WRITE);
  if (device_->handle == INVALID_HANDLE_VALUE) throw OpenFailure(number, name, GetLastError());
  COMMTIMEOUTS timeouts = kTimeouts;
  if (!SetCommTimeouts(device_->handle, &timeouts)) throw OpenFailure(number, name, ERROR_INVALID_HANDLE);
  device_->transfers->reading.bytes.resize(kChunk);
}

SystemLine::~SystemLine() = default;

bool SystemLine::SetSpeed(int baud) {
  constexpr char kXon = 0x11;
  constexpr char kXoff = 0x13;
  DCB former{};
  former.DCBlength = sizeof former;
  if (!GetCommState(device_->handle, &former)) return false;
  DCB form = former;
  form.BaudRate = static_cast<DWORD>(baud);
  form.ByteSize = 8;
  form.Parity = NOPARITY;
  form.StopBits = TWOSTOPBITS;
  form.fBinary = TRUE;
  form.fDtrControl = DTR_CONTROL_ENABLE;
  form.fRtsControl = RTS_CONTROL_ENABLE;
  // What the program before may have left: handshaking, bytes taken out of the stream, an end at the first
  // error.
  form.fOutxCtsFlow = form.fOutxDsrFlow = form.fDsrSensitivity = FALSE;
  form.fOutX = form.fInX = form.fParity = form.fNull = form.fErrorChar = form.fAbortOnError = FALSE;
  form.XonChar = kXon;  // some drivers refuse two that are the same, used or not
  form.XoffChar = kXoff;
  const bool met = SetCommState(device_->handle, &form) && GetCommState(device_->handle, &form) &&
                   form.ByteSize == 8 && form.Parity == NOPARITY && form.StopBits == TWOSTOPBITS &&
                   std::abs(static_cast<double>(form.BaudRate) - baud) <= baud * kSpeedTolerance;
  if (!met) {
    SetCommState(device_->handle, &former);
    return false;
  }
  device_->baud = baud;
  // Reading begins here: what came before at another speed is noise.
  if (!std::exchange(device_->begun, true)) {
    PurgeComm(device_->handle, PURGE_RXCLEAR);
    device_->StartReading();
  }
  return true;
}

/// The system takes all bytes at once and sends them in order.
std::ptrdiff_t SystemLine::Send(std::span<const std::uint8_t> bytes) {
  device_->DropWritten();
  if (device_->failed) return -1;
  Transfer& write = device_->transfers->writes.emplace_back();
  write.bytes.assign(bytes.begin(), bytes.end());
  const auto count = static_cast<DWORD>(bytes.size());
  if (WriteFile(device_->handle, write.bytes.data(), count, nullptr, &write.state) ||
      GetLastError() == ERROR_IO_PENDING) {
    device_->CountOnTheLine(bytes.size());
    return std::ssize(bytes);
  }
  device_->transfers->writes.pop_back();
  device_->failed = true;
  return -1;
}

bool SystemLine::Receive(std::vector<std::uint8_t>& bytes) {
  Transfer& reading = device_->transfers->reading;
  for (std::size_t taken = 0; taken < kMostAtOnce && device_->readPending && device_->HasRead();) {
    DWORD count = 0;
    device_->readPending = false;
    if (!GetOverlappedResult(device_->handle, &reading.state, &count, FALSE)) device_->failed = true;
    bytes.insert(bytes.end(), reading.bytes.begin(), reading.bytes.begin() + count);
    taken += count;
    if (!device_->failed) device_->StartReading();
  }
  return !device_->failed;
}

std::size_t SystemLine::Leaving() const {
  std::size_t underWay = 0;
  for (const Transfer& write : device_->transfers->writes) underWay += write.Over() ? 0 : write.bytes.size();
  COMSTAT state{};
  DWORD errors = 0;
  if (!ClearCommError(device_->handle, &errors, &state)) return 0;
  return std::max({underWay, device_->StillOnTheLine(), std::size_t{state.cbOutQue}});
}

void SystemLine::DropLeaving() {
  std::deque<Transfer>& writes = device_->transfers->writes;
  for (Transfer& write : writes) CancelIoEx(device_->handle, &write.state);
  PurgeComm(device_->handle, PURGE_TXABORT | PURGE_TXCLEAR);
  device_->lineFree = {};
  if (device_->WritesEndSoon()) {
    writes.clear();
  } else {
    device_->failed = true;  // a driver that no longer works
  }
}

void SystemLine::AwaitLastBytes() { FlushFileBuffers(device_->handle); }

bool SystemLine::Gone() const {
  COMSTAT state{};
  DWORD errors = 0;
  device_->DropWritten();
  return device_->failed || !ClearCommError(device_->handle, &errors, &state);
}

std::intptr_t SystemLine::Watched() const {
  return reinterpret_cast<std::intptr_t>(device_->transfers->reading.state.hEvent);
}

}  // namespace quillon
