// Finds a prime above a base with norv:
//   c++ -std=c++17 -pthread -o find_prime find_prime.cpp
//   openssl rand -hex 128 | ./find_prime [--safe]
//
// Prints the prime as a line of hex digits. The environment's NORV may name another norv
// than the one on the path. Ctrl-C ends the search.
#include "norv.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <thread>

namespace
{

std::atomic<bool> cancelled = false;
std::atomic<int> cancellingSignal = 0;

void cancel(int number)
{
    cancellingSignal = number;
    cancelled = true;
}

} // namespace

int main(int count, char** arguments)
{
    norv::Search search;
    search.safe = count == 2 && std::string(arguments[1]) == "--safe";
    if (count > 1 && !search.safe) {
        std::cerr << "usage: find_prime [--safe] <FILE_WITH_THE_BASE_IN_HEX\n";
        return 2;
    }
    if (const char* program = std::getenv("NORV"))
        search.program = program;
    constexpr int mostThreads = 63;
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    search.threads = std::clamp(processors, 1, mostThreads);
    // Reading characters in this way leaves blanks and line ends out.
    search.base.assign(std::istream_iterator<char>(std::cin), {});

    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, cancel);
    const norv::Outcome outcome = norv::findPrime(search, cancelled);
    switch (outcome.kind) {
    case norv::Outcome::Kind::found:
        std::cout << outcome.prime << std::endl;
        return std::cout ? 0 : 1;
    case norv::Outcome::Kind::cancelled:
        std::cerr << "find_prime: cancelled\n";
        return 128 + cancellingSignal;
    case norv::Outcome::Kind::failed:
        std::cerr << "find_prime: " << outcome.message << '\n';
        break;
    }
    return 1;
}
