#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "desktop/awake.h"
#include "desktop/line_watch.h"
#include "platform/computer.h"
#include "platform/system_line.h"
#include "platform/system_ports.h"

namespace quillon {

/// A serial device of this computer: a built-in port, a USB adapter, or on Linux a pseudo-terminal. The line
/// has 8 data bits, no parity, 2 stop bits and no handshaking.
///
///     Write -> pending_ -> SystemLine::Send -> device       returns when at most 512 bytes are unsent
///     Read <- received_ <- SystemLine::Receive <- device    also called while events are handled
class SerialPort final : public SerialDevice {
 public:
  /// `programFolder` is the folder of the links COM1 to COM99 (see system_ports.h).
  explicit SerialPort(std::string programFolder) : programFolder_(std::move(programFolder)) {}
  SerialPort(const SerialPort&) = delete;
  SerialPort& operator=(const SerialPort&) = delete;

  /// Drops bytes that the device received before.
  void Open(int number, const LineSettings& settings) override;
  /// Waits until the bytes are sent. If the line sends nothing for a second, the rest is lost.
  void Close() override;
  /// Waits like Close.
  void Configure(const LineSettings& settings) override;
  /// Bytes that the device does not accept yet are queued, and sent when events are handled and in each later
  /// operation. On a stalled line Write returns after the time of 512 bytes and one second.
  void Write(std::span<const std::uint8_t> bytes) override;
  std::size_t Waiting() override;
  std::vector<std::uint8_t> Read() override;
  PortDescription Describe(int number) const override { return DescribePort(programFolder_, number); }

 private:
  using SteadyClock = std::chrono::steady_clock;

  void SetSpeed(int baud);
  bool Drain();
  bool AwaitSent(std::size_t limit);
  SteadyClock::duration LongestStall(std::size_t bytes) const;
  void Release();
  bool SendPending();
  void Receive();
  bool ReadDevice();
  void RequireDevice();
  [[noreturn]] void RaiseFailed() const;
  std::string PortText() const { return "COM " + std::to_string(number_); }

  std::string programFolder_;
  int number_ = 0;
  int baud_ = 0;
  std::unique_ptr<SystemLine> line_;   // nullptr while the port is closed
  std::unique_ptr<LineWatch> watch_;   // destroyed before the line
  std::optional<Awake> awake_;         // sleep would interrupt a run
  std::vector<std::uint8_t> pending_;  // not yet accepted by the device
  std::vector<std::uint8_t> received_;
};

}  // namespace quillon
