#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "forms/quillon.h"
#include "forms/run_error_box.h"
#include "link/exchange.h"

namespace quillon {

// Messages that a controller acknowledges. The code of its answer is 61 when it did what was asked; any other
// code is a refusal. A refused message is repeated, since the controller may have been busy with its flash:
// three refusals in a row are final. Silence and damaged answers end the attempts at once, because the
// exchange has already sent that frame three times.

/// ProtocolNumber, or 0 after the run-error box when the box `Protocol` does not contain a usable number.
std::uint8_t ProtocolByteOrBox(Quillon& form);

/// Sends the frame of a command to `y` until an answer carries the accepting code, in up to three exchanges.
/// kAnswered: it was accepted. kRefused: three answers came, none with that code. Others: the result of the
/// exchange that failed. `onResult` receives the result of each exchange. Raises RunError like SendFrame.
ExchangeResult SendForAcknowledge(Quillon& form, Command command, int y, const Bytes& frame,
                                  const std::function<void(ExchangeResult result)>& onResult = {});

struct RequestTexts {
  Command command;
  const char* acknowledgedLog;
  const char* acknowledgedStatus;  ///< after the controller's name
  const char* refusedLog;
  std::string errorTitle = BoxWording().title;
};

/// Sends a frame that `y` has to acknowledge, and shows the result in its row. Closes `Message`. Returns
/// whether `y` acknowledged; its row is then empty.
bool RequestAcknowledge(Quillon& form, int y, const Bytes& frame, const RequestTexts& texts);

}  // namespace quillon
