// Windows has no such signals.
#include "desktop/end_signals.h"

namespace quillon {

struct EndSignals::Pipe {};

EndSignals::EndSignals(std::function<void()>) {}

EndSignals::~EndSignals() = default;

}  // namespace quillon
