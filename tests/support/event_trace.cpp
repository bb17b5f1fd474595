#include "tests/support/event_trace.h"

#include <algorithm>

std::ostream& operator<<(std::ostream& out, const Event& event)
{
    return out << '(' << event.code << ", " << event.value << ')';
}

EventTrace::EventTrace(int version)
    : record_(BN_GENCB_new())
{
    if (version == 1)
        BN_GENCB_set_old(record_.get(), onOldEvent, this);
    else
        BN_GENCB_set(record_.get(), onEvent, this);
}

int EventTrace::count(int code) const
{
    return static_cast<int>(
        std::count_if(events.begin(), events.end(),
                      [code](const Event& event) { return event.code == code; }));
}

int EventTrace::onEvent(int code, int value, BN_GENCB* record)
{
    auto& trace = *static_cast<EventTrace*>(BN_GENCB_get_arg(record));
    const Event event{code, value};
    trace.events.push_back(event);
    return trace.refuses && trace.refuses(event) ? 0 : 1;
}

void EventTrace::onOldEvent(int code, int value, void* trace)
{
    static_cast<EventTrace*>(trace)->events.push_back({code, value});
}
