// The usage text is tested to the letter in whole runs.
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
