// One run of the search program norv, as a child process on an event loop.
#pragma once

#include "prime/big_number.h"

#include <functional>
#include <string>
#include <uv.h>
#include <vector>

// What to search, and with what.
struct RunOrder {
    std::string norv; // path of the program
    int bits = 0;     // a multiple of 8
    bool safe = false;
    int threads = 1; // 1 to mostThreadsOfRun
};

// norv waits for 64 threads at most, and one of them watches for the stop.
inline constexpr int mostThreadsOfRun = 63;

// What became of one run.
struct RunOutcome {
    enum class Kind {
        found,   // prime
        stopped, // stopRun or killRun ended it
        failed   // message
    } kind = Kind::failed;
    SecretNumber prime = {};  // of the right number of bytes; not tested
    std::string message = {}; // one sentence for people, without an end
};

// A run. It belongs to who started it, and stays where it is until `ended` is called.
struct NorvRun {
    enum class State {
        searching,
        stopping, // its semaphore is to be released, or has been
        killed,
        ended
    } state = State::searching;
    std::function<void(RunOutcome)> ended;

    RunOrder order;
    std::string semaphore; // its name
    bool released = false;
    std::string base;   // what norv reads; wiped when written
    std::string answer; // room for one byte more than a prime; wiped
    std::size_t answered = 0;
    int exitCode = 0;
    int signal = 0; // that killed it, or 0
    int openHandles = 0;
    std::string failure;  // that no ending tells; empty: none
    double stopAsked = 0; // when, in seconds of the loop

    uv_process_t process = {};
    uv_pipe_t input = {};
    uv_pipe_t output = {};
    uv_timer_t timer = {}; // of the stop, then of the output's end
    uv_write_t writing = {};
};

// Starts norv above `base` with a semaphore of a random name. `ended` is called once from
// the loop, and only then `run` may be destroyed. Whatever goes wrong is told there.
// Throws std::bad_alloc.
void startRun(NorvRun& run, uv_loop_t* loop, RunOrder order, const BIGNUM* base,
              std::function<void(RunOutcome)> ended);

// Asks the run to end, by releasing its semaphore as soon as there is one. What has not
// ended in five seconds is killed. Does nothing once it has ended.
void stopRun(NorvRun& run);

// Ends it at once.
void killRun(NorvRun& run);
