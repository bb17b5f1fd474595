// A check of a fuzz target: the fuzzer takes the abnormal end for a finding.
#pragma once

#include <cstdio>
#include <cstdlib>

#define REQUIRE(condition)                                                               \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)
