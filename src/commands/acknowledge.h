#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "forms/quillon.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"

namespace quillon {

// Messages that a controller acknowledges. It answers with the code 61 when it executed the command, and with
// any other code when it refused. A refused message is sent again, since the controller may have been busy
// with its flash: the third refusal is final. Silence and damaged answers are final at once, because the
// exchange has already sent the frame three times.

/// The protocol byte of the setting `Protocol`. If the setting is not a valid number, shows the run-error box
/// and returns 0: a command then sends its frame anyway.
std::uint8_t ProtocolByte(Quillon& form);

/// Sends a command until the controller acknowledges (kAnswered), an exchange fails (its result), or the
/// controller has refused three times (kRefused). `onResult` receives the result of each exchange; a
/// refusal is kAnswered there. Raises RunError like SendFrame.
ExchangeResult SendForAcknowledge(Quillon& form, Command command, int controller, const Bytes& frame,
                                  const std::function<void(ExchangeResult result)>& onResult = {});

/// A command with the texts of its results.
struct RequestTexts {
  Command command;
  const char* acknowledgedLog;
  const char* acknowledgedStatus;  ///< after the controller's name
  const char* refusedLog;
  std::string errorTitle = BoxWording().title;
};

/// Sends a command, writes the result into the controller's row and closes `Message`. Returns whether the
/// controller acknowledged; its row is then empty.
bool RequestAcknowledge(Quillon& form, int controller, const Bytes& frame, const RequestTexts& texts);

}  // namespace quillon
