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

/// The protocol byte. When `Protocol` does not contain a valid number, shows the run-error box and returns 0.
std::uint8_t ProtocolByteOrBox(Quillon& form);

/// Sends a command to controller `y` until it acknowledges (kAnswered), an exchange fails (its result), or it
/// has refused three times (kRefused). `onResult` receives each result. Raises RunError like SendFrame.
ExchangeResult SendForAcknowledge(Quillon& form, Command command, int y, const Bytes& frame,
                                  const std::function<void(ExchangeResult result)>& onResult = {});

/// A command with the texts of its results.
struct RequestTexts {
  Command command;
  const char* acknowledgedLog;
  const char* acknowledgedStatus;  ///< after the controller's name
  const char* refusedLog;
  std::string errorTitle = BoxWording().title;
};

/// Sends a command to controller `y`, writes the result into its row and closes `Message`. Returns whether
/// `y` acknowledged; its row is then empty.
bool RequestAcknowledge(Quillon& form, int y, const Bytes& frame, const RequestTexts& texts);

}  // namespace quillon
