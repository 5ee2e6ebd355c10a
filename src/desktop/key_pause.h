#pragma once

namespace quillon::key_pause {

/// A press of a key that is meant for a box can arrive just after the box has gone. For one second after a
/// box was answered or a run ended, buttons that start a run ignore keys. Clicks work all the time.

/// A box was answered, or a run ended.
void Begin();

/// Whether that was less than a second ago.
bool Lasts();

}  // namespace quillon::key_pause
