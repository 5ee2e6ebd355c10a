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

/// A serial device of this computer: a port, a USB adapter, or on Linux a pseudo-terminal, directly or
/// through a link. Any speed that the device takes; 8 data bits, no parity, 2 stop bits; no handshaking;
/// bytes pass as they are.
class SerialPort final : public SerialDevice {
 public:
  /// `programFolder` is where the links COM1 to COM99 are looked for.
  explicit SerialPort(std::string programFolder) : programFolder_(std::move(programFolder)) {}
  SerialPort(const SerialPort&) = delete;
  SerialPort& operator=(const SerialPort&) = delete;

  /// Drops what the device received before.
  void Open(int number, const LineSettings& settings) override;
  /// Waits for what is leaving while the line lets it out. When it stands still for a second, the rest is
  /// lost.
  void Close() override;
  /// Waits like Close.
  void Configure(const LineSettings& settings) override;
  /// What the device can't take yet follows in order, with the events and with every later operation. On a
  /// line that takes nothing it returns after the time of 512 bytes and one second, with the bytes queued.
  void Write(std::span<const std::uint8_t> bytes) override;
  std::size_t Waiting() override;
  std::vector<std::uint8_t> Read() override;
  PortDescription Describe(int number) const override { return DescribePort(programFolder_, number); }

 private:
  using SteadyClock = std::chrono::steady_clock;

  void SetSpeed(int baud);
  bool Drain();
  bool AwaitLeaving(std::size_t most);
  SteadyClock::duration LongestStandstill(std::size_t bytes) const;
  void LetGo();
  bool SendPending();
  void Receive();
  bool TakeReceived();
  void RequireDevice();
  [[noreturn]] void RaiseGone() const;
  std::string PortText() const { return "COM " + std::to_string(number_); }

  std::string programFolder_;
  int number_ = 0;
  int baud_ = 0;
  std::unique_ptr<SystemLine> line_;   // none while the port is closed
  std::unique_ptr<LineWatch> watch_;   // goes before the line
  std::optional<Awake> awake_;         // a computer asleep would leave the controllers in the middle of a run
  std::vector<std::uint8_t> pending_;  // given to Write, not yet taken by the device
  std::vector<std::uint8_t> received_;
};

}  // namespace quillon
