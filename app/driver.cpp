#include "app/driver.h"

#include "app/base_input.h"
#include "app/command_line.h"
#include "app/messages.h"
#include "app/result_output.h"
#include "platform/clock.h"
#include "platform/command_line.h"
#include "platform/process.h"
#include "platform/text.h"
#include "platform/thread.h"
#include "prime/shortcuts.h"
#include "search/generation_callback.h"
#include "search/one_way_flag.h"
#include "search/search_state.h"
#include "search/search_worker.h"
#include "search/settings.h"
#include "search/stop_watcher.h"
#include "search/trace_number.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <openssl/crypto.h>

namespace
{

// What the command line asks for. The texts point into it.
struct Options {
    std::int32_t threadCount = 0;
    const wchar_t* semaphoreName = L"stopPrimeGeneration";
    const wchar_t* baseText = nullptr; // null: none
    std::int32_t inputCount = 0;
    const wchar_t* progressFile = nullptr; // null: none
    std::uint8_t safe = 0;
    std::uint8_t quiet = 0;
    const wchar_t* testText = nullptr; // null: none
};

// A base number and the size of the prime wanted above it: 8 bits for each byte
// of the base, leading zero bytes included. Without a number, the exit code.
struct Base {
    BIGNUM* number = nullptr;
    std::int32_t bits = 0;
    std::int32_t exitCode = 0;
};

std::int32_t takeNumber(CommandLine& commandLine, const wchar_t* name)
{
    const wchar_t* value = nullptr;
    return getOption(commandLine, name, value, nullptr) ? decimalValue(value) : 0;
}

// The order of the look-ups decides which argument wins on an ambiguous line.
Options readOptions(CommandLine& commandLine)
{
    Options options;
    options.threadCount = takeNumber(commandLine, L"-threads");
    getOption(commandLine, L"-stopSemaphoreName", options.semaphoreName,
              options.semaphoreName);
    getOption(commandLine, L"-base", options.baseText, nullptr);
    options.inputCount = takeNumber(commandLine, L"-input");
    getOption(commandLine, L"-outPrompt", options.progressFile, nullptr);
    options.safe = takeFlag(commandLine, L"-safe");
    options.quiet = takeFlag(commandLine, L"-noPrompt");
    if (options.inputCount != 0)
        getOption(commandLine, L"-test", options.testText, nullptr);
    return options;
}

// Writes the settings that every thread reads, before there is any.
void applySettings(const Options& options)
{
    noPrompt = options.quiet;
    outPrompt = options.progressFile;
    eventsUnwatched = options.quiet && !options.progressFile;
}

// Whether a base of `count` bytes has a bit count, above 0, that fits 32 bits.
bool isByteCount(std::int32_t count)
{
    return count > 0 && count <= std::numeric_limits<std::int32_t>::max() / 8;
}

Base baseFromText(const wchar_t* text)
{
    const std::int32_t count = decodeHex(nullptr, 0, text);
    // No message. docs/fixed-behaviour.md: silent-end
    if (!isByteCount(count))
        return {nullptr, 0, exitNoResult};

    const auto size = static_cast<std::size_t>(count);
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[size]);
    Base base;
    base.bits = 8 * decodeHex(bytes.get(), count, text);
    base.number = BN_bin2bn(bytes.get(), count, nullptr);
    OPENSSL_cleanse(bytes.get(), size);
    if (!base.number)
        base.exitCode = exitNoResult;
    return base;
}

// The base whose text is `count` times the first character of `pattern`.
// docs/fixed-behaviour.md: test-text
Base baseFromTestText(const wchar_t* pattern, std::int32_t count)
{
    if (!isByteCount(count))
        return {nullptr, 0, exitNoResult};
    const std::size_t size = static_cast<std::size_t>(count) + 1;
    const WipedText text(new wchar_t[size], WipedTextFree{size});
    std::fill_n(text.get(), size - 1, pattern[0]);
    text[size - 1] = L'\0';
    return baseFromText(text.get());
}

Base baseFromInput(std::int32_t count)
{
    if (count == 0)
        return {nullptr, 0, exitNotStarted};
    if (!isByteCount(count))
        return {nullptr, 0, exitNoResult};
    Base base;
    base.bits = 8 * count;
    base.number = readBaseFromStream(base.bits, stdin);
    if (!base.number)
        base.exitCode = exitNoResult;
    return base;
}

Base makeBase(const Options& options)
{
    if (options.testText)
        return baseFromTestText(options.testText, options.inputCount);
    if (options.baseText)
        return baseFromText(options.baseText);
    return baseFromInput(options.inputCount);
}

OwnedCallback makeCallback(OneWayFlag& stopFlag)
{
    OwnedCallback callback(BN_GENCB_new());
    if (!callback)
        throw std::bad_alloc();
    BN_GENCB_set(callback.get(), callBack2, &stopFlag);
    return callback;
}

struct ThreadsEnd {
    std::int32_t exitCode; // of a run without a result
    bool allEnded;         // false: they could not be waited for
};

// Starts the stop watcher and the workers, waits for them all and gives their
// handles back.
ThreadsEnd runThreads(SearchContext& context, std::int32_t threadCount)
{
    // A list of handles cannot have a negative length: the program ends abnormally.
    // docs/fixed-behaviour.md: negative-threads
    if (threadCount < -1)
        throw std::bad_array_new_length();

    // With -threads -1, `wanted` is 0, but the stop watcher is still started and needs an
    // entry. The list is not cleared: that would claim the memory of a billion handles
    // that are never made.
    const auto wanted = static_cast<std::size_t>(std::int64_t{threadCount} + 1);
    const std::unique_ptr<ThreadHandle[]> handles(
        new ThreadHandle[std::max<std::size_t>(wanted, 1)]);

    handles[0] = createThread(stopWatcherThreadProc, &context);
    if (handles[0])
        waitBrieflyFor(stopWatcherReady);
    // One worker that cannot be made makes the wait fail. The others are then not tried:
    // thousands of attempts, each with a small share of the processor, would only delay
    // the end. docs/fixed-behaviour.md: no-workers
    std::size_t made = 1;
    while (made < wanted && (made == 1 || handles[made - 1]))
        handles[made++] = createThread(workerThreadProc, &context);

    // docs/fixed-behaviour.md: many-threads
    const auto waited = static_cast<int>(std::min(wanted, made));
    ThreadsEnd end{exitNoResult, waitForThreads(handles.get(), waited)};
    for (std::size_t i = 0; i < made; ++i) {
        if (handles[i])
            closeThread(handles[i]);
        else
            end.exitCode = exitNotStarted;
    }
    return end;
}

// Prints what was found, if anything was, and returns the exit code.
std::int32_t reportResult(const Options& options, std::int32_t bits,
                          std::int32_t startTime, std::int32_t exitCode)
{
    BIGNUM* result = resultPrime;
    if (!result)
        return exitCode;

    const auto elapsed =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(processClock()) -
                                  static_cast<std::uint32_t>(startTime));
    // The stop watcher is counted here and not at the start.
    // docs/fixed-behaviour.md: finish-threads
    const auto threads = static_cast<std::uint32_t>(options.threadCount) + 1;
    if (!noPrompt)
        printFinished(elapsed / 1000, options.safe, bits,
                      static_cast<std::int32_t>(threads));
    // docs/fixed-behaviour.md: exit-characters, discarded-trace
    exitCode = writeResult(stdout);
    traceNumberHex(result);
    BN_clear(result);
    BN_free(result);
    return exitCode;
}

std::int32_t search(const Options& options, const Base& base)
{
    OneWayFlag stopFlag{0};
    const OwnedCallback callback = makeCallback(stopFlag);
    TrackedLock lock;
    setBase(lock, base.number, base.bits);
    if (!noPrompt)
        printStarted(options.safe, base.bits, options.threadCount);

    SearchContext context{&lock, callback.get(), options.semaphoreName, options.safe};
    const std::int32_t startTime = processClock();
    const ThreadsEnd end = runThreads(context, options.threadCount);
    const std::int32_t exitCode =
        reportResult(options, base.bits, startTime, end.exitCode);

    // Threads that could not be waited for still run, and end with the process. Until
    // then all that they use, first of all the lock and the context, must stay.
    if (!end.allEnded)
        endProcess(exitCode);
    return exitCode;
}

} // namespace

std::int32_t runProgram()
{
    CommandLine arguments;
    if (const wchar_t* line = commandLine())
        tokenize(arguments, line);
    if (takeFlag(arguments, L"?")) {
        printUsage();
        return 0;
    }
    const Options options = readOptions(arguments);
    applySettings(options);
    const Base base = makeBase(options);
    return base.number ? search(options, base) : base.exitCode;
}
