#include "app/messages.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

template <typename Print>
std::string printed(Print print)
{
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

TEST(PrintUsage, PrintsTheTextToTheLetter)
{
    EXPECT_EQ(
        "Prime generation utility 64, v.1.0 Copyright 2026 the norv authors\n"
        "Usage:\n"
        "> norv.exe <-options>\n"
        "Options:\n"
        "     threads [number]         - number of separate threads are used for "
        "generation.\n"
        "     stopSemaphoreName [name] - name of semaphire which stops generation\n"
        "     base [hex string]        - hex string with base number\n"
        "     input [bytes]            - number ofbutes to read from stdin for base "
        "number\n"
        "     safe                     - generate safe prime\n"
        "Result:\n"
        " If success writes result as hex string to stdout, returns number of written "
        "bytes, \n"
        " otherwise return negative error value.\n"
        "Sample:\n"
        "> norv.exe -threads 8 -input 32 -safe\n",
        printed(printUsage));
}

TEST(PrintStarted, NamesAPrime)
{
    EXPECT_EQ("\nGeneration is started!\nPrime 256 bits in 8 threads.\n",
              printed([] { printStarted(0, 256, 8); }));
}

TEST(PrintStarted, NamesASafePrime)
{
    EXPECT_EQ("\nGeneration is started!\nSafe prime 16 bits in 0 threads.\n",
              printed([] { printStarted(1, 16, 0); }));
}

TEST(PrintStarted, PrintsANegativeThreadCountAsItIs)
{
    EXPECT_EQ("\nGeneration is started!\nPrime 8 bits in -1 threads.\n",
              printed([] { printStarted(0, 8, -1); }));
}

TEST(PrintFinished, NamesAPrime)
{
    EXPECT_EQ("\nGeneration finished 12 seconds\nPrime 256 bits in 9 threads.\n",
              printed([] { printFinished(12, 0, 256, 9); }));
}

TEST(PrintFinished, NamesASafePrime)
{
    EXPECT_EQ("\nGeneration finished 0 seconds\nSafe prime 1024 bits in 2 threads.\n",
              printed([] { printFinished(0, 1, 1024, 2); }));
}

} // namespace
