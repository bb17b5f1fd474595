#include "prime/shortcuts.h"

bool eventsUnwatched = false;
