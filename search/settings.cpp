#include "search/settings.h"

std::uint8_t noPrompt = 0;
const wchar_t* outPrompt = nullptr;
