#include "app/messages.h"

#include "search/print.h"

namespace
{

// docs/fixed-behaviour.md: usage-text
// The version is part of the text. It stays when a release has another one.
constexpr char version[] = "1.0";

constexpr char usage[] =
    "Prime generation utility %d, v.%s Copyright 2026 the norv authors\n"
    "Usage:\n"
    "> norv.exe <-options>\n"
    "Options:\n"
    "     threads [number]         - number of separate threads are used for "
    "generation.\n"
    "     stopSemaphoreName [name] - name of semaphire which stops generation\n"
    "     base [hex string]        - hex string with base number\n"
    "     input [bytes]            - number ofbutes to read from stdin for base number\n"
    "     safe                     - generate safe prime\n"
    "Result:\n"
    " If success writes result as hex string to stdout, returns number of written "
    "bytes, \n"
    " otherwise return negative error value.\n"
    "Sample:\n"
    "> norv.exe -threads 8 -input 32 -safe\n";

const char* kindOfPrime(std::uint8_t safe)
{
    return safe ? "Safe prime" : "Prime";
}

} // namespace

void printUsage()
{
    printOut(usage, 64, version);
}

void printStarted(std::uint8_t safe, std::int32_t bits, std::int32_t threads)
{
    printOut("\nGeneration is started!\n%s %d bits in %d threads.\n", kindOfPrime(safe),
             bits, threads);
}

void printFinished(std::int32_t seconds, std::uint8_t safe, std::int32_t bits,
                   std::int32_t threads)
{
    printOut("\nGeneration finished %d seconds\n%s %d bits in %d threads.\n", seconds,
             kindOfPrime(safe), bits, threads);
}
