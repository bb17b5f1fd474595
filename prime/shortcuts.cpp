#include "prime/shortcuts.h"

bool eventsUnwatched = false;
bool shortcutsEnabled = true;
