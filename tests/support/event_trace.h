// A progress callback that writes down what it is told, and refuses on demand.
#pragma once

#include "prime/big_number.h"

#include <functional>
#include <ostream>
#include <vector>

// One call of a progress callback.
struct Event {
    int code;
    int value;

    friend bool operator==(const Event&, const Event&) = default;
};

std::ostream& operator<<(std::ostream& out, const Event& event);

// The record to hand to a search, and the events that it got, in order.
class EventTrace
{
public:
    // Version 1 cannot refuse: its function returns nothing.
    explicit EventTrace(int version = 2);

    GenCallback* callback() const
    {
        return record_.get();
    }
    // How many events of this code came.
    int count(int code) const;

    std::vector<Event> events;
    // Asked after each event was written down, version 2 only; by default never.
    std::function<bool(const Event&)> refuses;

private:
    static int onEvent(int code, int value, BN_GENCB* record);
    static void onOldEvent(int code, int value, void* trace);

    OwnedCallback record_;
};
