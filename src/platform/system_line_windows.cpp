// Implements the serial device on Windows by overlapped operations, which never block: ReadFile and WriteFile
// return at once, the operation continues in the background, and an event reports its end. Until then the
// system accesses the buffer. One read is always pending, so that its event reports received bytes.
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

constexpr double kSpeedTolerance = 0.03;  // a receiver tolerates this difference
constexpr DWORD kChunk = 4096;            // bytes
constexpr std::size_t kMaxPerCall = 16 * kChunk;

RunError NoSuchPort(int number, const std::string& reason) {
  return RunError(RunError::kInvalidPort, "COM " + std::to_string(number) + ": no such port (" + reason +
                                              "). Plug its adapter in, or select another port.");
}

HANDLE OpenHandle(const std::string& device, DWORD access) {
  return CreateFileA(device.c_str(), access, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
}

/// Whether the port can be opened without access to its data. This fails for a port in use, but succeeds for
/// one that the user has no permission for.
bool OpensWithoutAccess(const std::string& device) {
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
      if (OpensWithoutAccess(device)) {
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

/// An overlapped operation and its bytes.
struct Transfer {
  Transfer() { state.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  ~Transfer() { CloseHandle(state.hEvent); }

  bool HasEnded() const { return HasOverlappedIoCompleted(&state); }

  OVERLAPPED state{};
  std::vector<std::uint8_t> bytes;
};

/// No time-outs: a read waits until a byte is received.
constexpr COMMTIMEOUTS kTimeouts = {};

}  // namespace

struct SystemLine::Device {
  /// The system accesses these until the operations have ended.
  struct Transfers {
    Transfer reading;             // always pending
    std::deque<Transfer> writes;  // in order
  };

  ~Device() {
    if (handle == INVALID_HANDLE_VALUE) return;
    CancelIoEx(handle, nullptr);
    PurgeComm(handle, PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
    const bool ended = (!readPending || EndsSoon(transfers->reading)) && WritesEndSoon();
    CloseHandle(handle);
    // Some drivers never end an operation after their adapter was removed. The memory is then leaked, since
    // the driver may still write to it.
    if (!ended) static_cast<void>(transfers.release());
  }

  static bool EndsSoon(const Transfer& transfer) {
    constexpr DWORD kTimeout = 500;  // milliseconds
    return transfer.HasEnded() || WaitForSingleObject(transfer.state.hEvent, kTimeout) == WAIT_OBJECT_0;
  }
  bool WritesEndSoon() const { return std::ranges::all_of(transfers->writes, EndsSoon); }

  /// The number of received bytes that were not read.
  DWORD Queued() const {
    COMSTAT state{};
    DWORD errors = 0;
    return ClearCommError(handle, &errors, &state) ? state.cbInQue : 0;
  }

  /// Starts a read of all received bytes, or of the next one.
  void StartReading() {
    Transfer& reading = transfers->reading;
    const DWORD count = std::clamp<DWORD>(Queued(), 1, kChunk);
    readPending = ReadFile(handle, reading.bytes.data(), count, nullptr, &reading.state) != 0 ||
                  GetLastError() == ERROR_IO_PENDING;
    if (!readPending) failed = true;
  }

  /// Whether the read has ended. If bytes were received, waits a moment for its end.
  bool HasRead() const {
    constexpr DWORD kMoment = 10;  // milliseconds
    const Transfer& reading = transfers->reading;
    return reading.HasEnded() ||
           (Queued() > 0 && WaitForSingleObject(reading.state.hEvent, kMoment) == WAIT_OBJECT_0);
  }

  /// Removes the writes that have ended. One that did not send all its bytes is a failure.
  void DropWritten() {
    std::deque<Transfer>& writes = transfers->writes;
    for (; !writes.empty() && writes.front().HasEnded(); writes.pop_front()) {
      DWORD sent = 0;
      const bool succeeded = GetOverlappedResult(handle, &writes.front().state, &sent, FALSE) != 0;
      if (!succeeded || sent != writes.front().bytes.size()) failed = true;
    }
  }

  /// Computes when the line will have sent these bytes and those before them. Drivers and adapters report
  /// bytes as sent as soon as they have accepted them.
  void AddToLine(std::size_t bytes) {
    constexpr std::chrono::milliseconds kLag(4);  // until the adapter has received the first byte
    lineFree = std::max(lineFree, Time::now() + kLag) +
               std::chrono::duration_cast<Time::duration>(
                   std::chrono::duration<double>(static_cast<double>(bytes) * kBitsPerByte / baud));
  }
  std::size_t BytesOnLine() const {
    const double seconds = std::chrono::duration<double>(lineFree - Time::now()).count();
    return seconds > 0 ? static_cast<std::size_t>(std::ceil(seconds * baud / kBitsPerByte)) : 0;
  }

  using Time = std::chrono::steady_clock;

  HANDLE handle = INVALID_HANDLE_VALUE;
  std::unique_ptr<Transfers> transfers = std::make_unique<Transfers>();
  bool readingBegun = false;
  bool readPending = false;
  bool failed = false;
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
  // A former program may have left handshaking, dropped bytes or aborts on errors switched on.
  form.fOutxCtsFlow = form.fOutxDsrFlow = form.fDsrSensitivity = FALSE;
  form.fOutX = form.fInX = form.fParity = form.fNull = form.fErrorChar = form.fAbortOnError = FALSE;
  form.XonChar = kXon;  // some drivers refuse equal characters, even unused ones
  form.XoffChar = kXoff;
  // The device may accept other settings than requested, so they are read back.
  const bool met = SetCommState(device_->handle, &form) && GetCommState(device_->handle, &form) &&
                   form.ByteSize == 8 && form.Parity == NOPARITY && form.StopBits == TWOSTOPBITS &&
                   std::abs(static_cast<double>(form.BaudRate) - baud) <= baud * kSpeedTolerance;
  if (!met) {
    SetCommState(device_->handle, &former);
    return false;
  }
  device_->baud = baud;
  // Reading begins here, since bytes received at another speed are noise.
  if (!std::exchange(device_->readingBegun, true)) {
    PurgeComm(device_->handle, PURGE_RXCLEAR);
    device_->StartReading();
  }
  return true;
}

/// The system accepts all bytes at once and sends them in order.
std::ptrdiff_t SystemLine::Send(std::span<const std::uint8_t> bytes) {
  device_->DropWritten();
  if (device_->failed) return -1;
  Transfer& write = device_->transfers->writes.emplace_back();
  write.bytes.assign(bytes.begin(), bytes.end());
  const auto count = static_cast<DWORD>(bytes.size());
  if (WriteFile(device_->handle, write.bytes.data(), count, nullptr, &write.state) ||
      GetLastError() == ERROR_IO_PENDING) {
    device_->AddToLine(bytes.size());
    return std::ssize(bytes);
  }
  device_->transfers->writes.pop_back();
  device_->failed = true;
  return -1;
}

bool SystemLine::Receive(std::vector<std::uint8_t>& bytes) {
  Transfer& reading = device_->transfers->reading;
  for (std::size_t total = 0; total < kMaxPerCall && device_->readPending && device_->HasRead();) {
    DWORD count = 0;
    device_->readPending = false;
    if (!GetOverlappedResult(device_->handle, &reading.state, &count, FALSE)) device_->failed = true;
    bytes.insert(bytes.end(), reading.bytes.begin(), reading.bytes.begin() + count);
    total += count;
    if (!device_->failed) device_->StartReading();
  }
  return !device_->failed;
}

std::size_t SystemLine::Unsent() const {
  std::size_t underWay = 0;
  for (const Transfer& write : device_->transfers->writes)
    underWay += write.HasEnded() ? 0 : write.bytes.size();
  COMSTAT state{};
  DWORD errors = 0;
  if (!ClearCommError(device_->handle, &errors, &state)) return 0;
  return std::max({underWay, device_->BytesOnLine(), std::size_t{state.cbOutQue}});
}

void SystemLine::DropUnsent() {
  std::deque<Transfer>& writes = device_->transfers->writes;
  for (Transfer& write : writes) CancelIoEx(device_->handle, &write.state);
  PurgeComm(device_->handle, PURGE_TXABORT | PURGE_TXCLEAR);
  device_->lineFree = {};
  if (device_->WritesEndSoon()) {
    writes.clear();
  } else {
    device_->failed = true;  // the driver does not work any more
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
