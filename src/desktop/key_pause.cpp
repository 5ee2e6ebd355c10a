// Implements the second in which buttons that start a run ignore keys. Its beginning is stored once for the
// whole program, since a box closed in one window also affects the buttons of the others.
#include "desktop/key_pause.h"

#include <chrono>

namespace quillon::key_pause {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPause(1);

Clock::time_point begin = Clock::time_point::min();

}  // namespace

void Begin() { begin = Clock::now(); }

bool Lasts() { return Clock::now() < begin + kPause; }

}  // namespace quillon::key_pause
