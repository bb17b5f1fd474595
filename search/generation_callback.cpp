#include "search/generation_callback.h"

#include "platform/file.h"
#include "prime/events.h"
#include "search/print.h"
#include "search/settings.h"
#include "search/stop_flag.h"
#include "search/tracked_lock.h"

namespace
{

void appendMark(const wchar_t* path, char mark)
{
    static TrackedLock callbackLock;
    // docs/fixed-behaviour.md: holder-lines, file-per-mark
    const TrackedLockScope scope(callbackLock, L"callBack2", 85);
    std::FILE* file = openForAppending(path);
    if (!file)
        return;
    printTo(file, "%c", mark);
    std::fclose(file);
}

} // namespace

char progressChar(int event)
{
    switch (event) {
    case iterationEvent:
        return '*';
    case turnEvent:
        return '!';
    case candidateEvent:
    default: // docs/fixed-behaviour.md: unknown-event
        return '.';
    }
}

int callBack2(int event, int /*counter*/, GenCallback* callback)
{
    const char mark = progressChar(event);
    // docs/fixed-behaviour.md: quiet-file
    if (outPrompt)
        appendMark(outPrompt, mark);
    else if (!noPrompt)
        printOut("%c", mark);
    // Read last: the event that first sees the stop still shows its mark.
    // docs/fixed-behaviour.md: mark-at-stop
    return stopFlagOf(callback) == 0;
}
