#pragma once

namespace quillon::key_pause {

/// Problem: a key that is meant for a box can arrive just after the box was closed, and press a button that
/// starts a run. Remedy: such buttons ignore keys for one second. Mouse clicks are not ignored.

/// Begins the second. Call it when a box was closed or a run has ended.
void Begin();

/// Whether the second is not over.
bool Lasts();

}  // namespace quillon::key_pause
