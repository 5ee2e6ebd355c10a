// Does nothing: Windows does not end programs by signals. Qt reports a logout or shutdown.
#include "desktop/end_signals.h"

namespace quillon {

struct EndSignals::Pipe {};

EndSignals::EndSignals(std::function<void()>) {}

EndSignals::~EndSignals() = default;

}  // namespace quillon
