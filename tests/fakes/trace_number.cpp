#include "tests/fakes/trace_number.h"

#include "search/trace_number.h"

std::function<void(const BIGNUM*)> fakeTraceNumber = [](const BIGNUM*) {
};

void traceNumberHex(const BIGNUM* number)
{
    fakeTraceNumber(number);
}
