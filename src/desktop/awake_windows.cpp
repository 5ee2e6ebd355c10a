// Prevents the sleep of the computer on Windows, because sleep would interrupt a run.
#include "desktop/awake.h"

#include <windows.h>

namespace quillon {

struct Awake::Request {};

Awake::Awake() { SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED); }

Awake::~Awake() { SetThreadExecutionState(ES_CONTINUOUS); }

}  // namespace quillon
