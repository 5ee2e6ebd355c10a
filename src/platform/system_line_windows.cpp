#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>

#include "platform/run_error.h"
#include "platform/system_line.h"
#include "platform/system_ports.h"

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
  ~Device() {
    if (handle == INVALID_HANDLE_VALUE) return;
    CancelIo(handle);
    PurgeComm(handle, PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR);
    // The system writes into these until they are over.
    DWORD moved = 0;
    if (readPending) GetOverlappedResult(handle, &reading.state, &moved, TRUE);
    for (Transfer& write : writes) GetOverlappedResult(handle, &write.state, &moved, TRUE);
    CloseHandle(handle);
  }

  /// Number of bytes that came and that no read took.
  DWORD Queued() const {
    COMSTAT state{};
    DWORD errors = 0;
    return ClearCommError(handle, &errors, &state) ? state.cbInQue : 0;
  }

  /// Asks for as many bytes as are there, but at least for the next one.
  void StartReading() {
    const DWORD count = std::clamp<DWORD>(Queued(), 1, kChunk);
    readPending = ReadFile(handle, reading.bytes.data(), count, nullptr, &reading.state) != 0 ||
                  GetLastError() == ERROR_IO_PENDING;
  }

  /// Whether the read is over. When bytes are there it ends within a moment, which is waited for.
  bool HasRead() const {
    constexpr DWORD kMoment = 10;  // milliseconds
    return reading.Over() ||
           (Queued() > 0 && WaitForSingleObject(reading.state.hEvent, kMoment) == WAIT_OBJECT_0);
  }

  /// Forgets the writes that are over; false when one of them did not send all its bytes.
  bool DropWritten() {
    while (!writes.empty() && writes.front().Over()) {
      DWORD sent = 0;
      const bool wentOut = GetOverlappedResult(handle, &writes.front().state, &sent, FALSE) != 0;
      if (!wentOut || sent != writes.front().bytes.size()) return false;
      writes.pop_front();
    }
    return true;
  }

  HANDLE handle = INVALID_HANDLE_VALUE;
  Transfer reading;             // always on its way, so that its event tells of bytes
  bool readPending = false;     // else the device failed
  std::deque<Transfer> writes;  // on their way, in order
};

SystemLine::SystemLine(const std::string& programFolder, int number) : device_(std::make_unique<Device>()) {
  const std::string name = PortDevice(programFolder, number);
  device_->handle = OpenHandle(name, GENERIC_READ | GENERIC_WRITE);
  if (device_->handle == INVALID_HANDLE_VALUE) throw OpenFailure(number, name, GetLastError());
  COMMTIMEOUTS timeouts = kTimeouts;
  if (!SetCommTimeouts(device_->handle, &timeouts)) throw OpenFailure(number, name, ERROR_INVALID_HANDLE);
  device_->reading.bytes.resize(kChunk);
}

SystemLine::~SystemLine() = default;

bool SystemLine::SetSpeed(int baud) {
  constexpr char kXon = 0x11;
  constexpr char kXoff = 0x13;
  DCB form{};
  form.DCBlength = sizeof form;
  if (!GetCommState(device_->handle, &form)) return false;
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
  if (!SetCommState(device_->handle, &form) || !GetCommState(device_->handle, &form)) return false;
  const bool met = form.ByteSize == 8 && form.Parity == NOPARITY && form.StopBits == TWOSTOPBITS &&
                   std::abs(static_cast<double>(form.BaudRate) - baud) <= baud * kSpeedTolerance;
  // Reading begins here: what came before at another speed is noise.
  if (met && !device_->readPending) {
    PurgeComm(device_->handle, PURGE_RXCLEAR);
    device_->StartReading();
  }
  return met;
}

/// The system takes all bytes at once and sends them in order.
std::ptrdiff_t SystemLine::Send(std::span<const std::uint8_t> bytes) {
  if (!device_->DropWritten()) return -1;
  Transfer& write = device_->writes.emplace_back();
  write.bytes.assign(bytes.begin(), bytes.end());
  const auto count = static_cast<DWORD>(bytes.size());
  if (WriteFile(device_->handle, write.bytes.data(), count, nullptr, &write.state) ||
      GetLastError() == ERROR_IO_PENDING) {
    return std::ssize(bytes);
  }
  device_->writes.pop_back();
  return -1;
}

bool SystemLine::Receive(std::vector<std::uint8_t>& bytes) {
  Transfer& reading = device_->reading;
  for (std::size_t taken = 0; taken < kMostAtOnce && device_->readPending && device_->HasRead();) {
    DWORD count = 0;
    device_->readPending = false;
    if (!GetOverlappedResult(device_->handle, &reading.state, &count, FALSE)) return false;
    bytes.insert(bytes.end(), reading.bytes.begin(), reading.bytes.begin() + count);
    taken += count;
    device_->StartReading();
  }
  return device_->readPending;
}

std::size_t SystemLine::Leaving() const {
  std::size_t underWay = 0;
  for (const Transfer& write : device_->writes) underWay += write.Over() ? 0 : write.bytes.size();
  COMSTAT state{};
  DWORD errors = 0;
  if (!ClearCommError(device_->handle, &errors, &state)) return 0;
  return std::max<std::size_t>(underWay, state.cbOutQue);
}

void SystemLine::DropLeaving() {
  PurgeComm(device_->handle, PURGE_TXABORT | PURGE_TXCLEAR);
  DWORD sent = 0;
  for (Transfer& write : device_->writes) GetOverlappedResult(device_->handle, &write.state, &sent, TRUE);
  device_->writes.clear();
}

void SystemLine::AwaitLastBytes() { FlushFileBuffers(device_->handle); }

bool SystemLine::Gone() const {
  COMSTAT state{};
  DWORD errors = 0;
  return !ClearCommError(device_->handle, &errors, &state);
}

std::intptr_t SystemLine::Watched() const {
  return reinterpret_cast<std::intptr_t>(device_->reading.state.hEvent);
}

}  // namespace quillon
