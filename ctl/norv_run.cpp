#include "ctl/norv_run.h"

#include "ctl/norv_process.h"
#include "platform/dependent.h"
#include "platform/named_semaphore.h"

#include <array>
#include <csignal>
#include <new>
#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <utility>

namespace
{

using State = NorvRun::State;

// norv makes its semaphore after it has read its base.
constexpr std::uint64_t stopTryMilliseconds = 5;
constexpr double stopPatience = 5; // seconds

// How long the end of the output is waited for after the end of the process. Where norv
// is a script, what that started may have the output open for ever.
constexpr std::uint64_t outputPatienceMilliseconds = 1000;

constexpr std::size_t charactersOfAByte = 3; // two digits and a blank

NorvRun& runOf(const uv_handle_t* handle)
{
    return *static_cast<NorvRun*>(handle->data);
}

template <typename Handle>
uv_handle_t* asHandle(Handle& handle)
{
    return reinterpret_cast<uv_handle_t*>(&handle);
}

double now(const NorvRun& run)
{
    return static_cast<double>(uv_now(run.process.loop)) / 1000;
}

void wipe(std::string& text)
{
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

std::string randomSemaphoreName()
{
    std::array<unsigned char, 16> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw std::bad_alloc();
    std::string name = "norvctl-";
    for (const unsigned char byte : bytes) {
        name += "0123456789abcdef"[byte >> 4];
        name += "0123456789abcdef"[byte & 15];
    }
    return name;
}

// "0A 1B ": the number as norv reads and writes it.
std::string pairsOf(const BIGNUM* number, int byteCount)
{
    std::string bytes(static_cast<std::size_t>(byteCount), '\0');
    if (BN_bn2binpad(number, reinterpret_cast<unsigned char*>(bytes.data()), byteCount) <
        0)
        throw std::bad_alloc();
    std::string text;
    text.reserve(charactersOfAByte * bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += "0123456789ABCDEF"[value >> 4];
        text += "0123456789ABCDEF"[value & 15];
        text += ' ';
    }
    wipe(bytes);
    return text;
}

int digitValue(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    return character >= 'A' && character <= 'F' ? character - 'A' + 10 : -1;
}

// The number of exactly `byteCount` pairs, to the letter; null for any other text.
SecretNumber numberOf(const char* text, std::size_t length, int byteCount)
{
    if (length != charactersOfAByte * static_cast<std::size_t>(byteCount))
        return nullptr;
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(byteCount));
    for (std::size_t i = 0; i < length; i += charactersOfAByte) {
        const int high = digitValue(text[i]);
        const int low = digitValue(text[i + 1]);
        if (high < 0 || low < 0 || text[i + 2] != ' ')
            break;
        bytes += static_cast<char>(16 * high + low);
    }
    SecretNumber number;
    if (bytes.size() == static_cast<std::size_t>(byteCount)) {
        number.reset(BN_bin2bn(reinterpret_cast<const unsigned char*>(bytes.data()),
                               byteCount, nullptr));
        if (!number)
            throw std::bad_alloc();
    }
    wipe(bytes);
    return number;
}

std::string nonsense(const NorvRun& run)
{
    return run.order.norv + " answered with something that is no number of " +
           std::to_string(run.order.bits) + " bits";
}

std::string failureOf(const NorvRun& run)
{
    const std::string& norv = run.order.norv;
    if (run.signal != 0)
        return norv + " was killed by signal " + std::to_string(run.signal);
    if (run.answered != 0)
        return nonsense(run);
    if (run.exitCode == cannotStart)
        return norv + " cannot be started";
    // -1, of which some systems pass on 8 bits.
    if ((run.exitCode & 0xFF) == 0xFF)
        return norv + " ended without a prime: somebody released its semaphore, or it "
                      "could not make one";
    return norv + " ended without a prime, with exit code " +
           std::to_string(run.exitCode);
}

RunOutcome outcomeOf(const NorvRun& run, State last)
{
    if (!run.failure.empty())
        return {RunOutcome::Kind::failed, nullptr, run.failure};
    if (run.signal == 0)
        if (SecretNumber prime =
                numberOf(run.answer.data(), run.answered, run.order.bits / 8))
            return {RunOutcome::Kind::found, std::move(prime)};
    if (last != State::searching)
        return {RunOutcome::Kind::stopped};
    return {RunOutcome::Kind::failed, nullptr, failureOf(run)};
}

// Every change of state.
void enter(NorvRun& run, State state)
{
    const State last = std::exchange(run.state, state);
    if (state != State::ended)
        return;
    forgetSemaphore(run.semaphore, run.signal != 0);
    RunOutcome outcome = outcomeOf(run, last);
    wipe(run.base);
    wipe(run.answer);
    const auto ended = std::move(run.ended);
    ended(std::move(outcome)); // which may destroy the run
}

void handleClosed(uv_handle_t* handle) noexcept
{
    NorvRun& run = runOf(handle);
    if (--run.openHandles == 0)
        enter(run, State::ended);
}

void closeHandle(uv_handle_t* handle)
{
    if (!uv_is_closing(handle))
        uv_close(handle, handleClosed);
}

void closeOutput(NorvRun& run)
{
    closeHandle(asHandle(run.output));
    if (uv_is_closing(asHandle(run.process)))
        closeHandle(asHandle(run.timer));
}

void outputOverdue(uv_timer_t* timer) noexcept
{
    closeOutput(runOf(asHandle(*timer)));
}

void processEnded(uv_process_t* process, std::int64_t exitCode, int signal) noexcept
{
    NorvRun& run = runOf(asHandle(*process));
    run.exitCode = static_cast<int>(exitCode);
    run.signal = signal;
    closeHandle(asHandle(run.process));
    closeHandle(asHandle(run.input));
    if (run.state == State::killed || uv_is_closing(asHandle(run.output)))
        closeOutput(run);
    else
        uv_timer_start(&run.timer, outputOverdue, outputPatienceMilliseconds, 0);
}

void baseWritten(uv_write_t* request, int /*status*/) noexcept
{
    NorvRun& run = *static_cast<NorvRun*>(request->data);
    wipe(run.base);
    closeHandle(asHandle(run.input));
}

void giveRoom(uv_handle_t* handle, std::size_t /*suggested*/, uv_buf_t* buffer) noexcept
{
    NorvRun& run = runOf(handle);
    *buffer = uv_buf_init(run.answer.data() + run.answered,
                          static_cast<unsigned int>(run.answer.size() - run.answered));
}

void outputArrived(uv_stream_t* stream, ssize_t count,
                   const uv_buf_t* /*buffer*/) noexcept
{
    NorvRun& run = runOf(reinterpret_cast<uv_handle_t*>(stream));
    if (count > 0)
        run.answered += static_cast<std::size_t>(count);
    const bool tooMuch = run.answered == run.answer.size();
    if (tooMuch) {
        run.failure = nonsense(run);
        killRun(run);
    }
    if (count < 0 || tooMuch)
        closeOutput(run);
}

void tryToRelease(NorvRun& run)
{
    const std::wstring name(run.semaphore.begin(), run.semaphore.end());
    SemaphoreHandle semaphore = openNamedSemaphore(name.c_str());
    if (!semaphore)
        return;
    releaseSemaphore(semaphore);
    closeSemaphore(semaphore);
    run.released = true;
}

void stopTimePassed(uv_timer_t* timer) noexcept
{
    NorvRun& run = runOf(asHandle(*timer));
    if (!run.released)
        tryToRelease(run);
    if (now(run) - run.stopAsked > stopPatience)
        killRun(run);
}

std::vector<std::string> argumentsOf(const NorvRun& run)
{
    const RunOrder& order = run.order;
    std::vector<std::string> arguments{"-noPrompt",
                                       "-threads",
                                       std::to_string(order.threads),
                                       "-input",
                                       std::to_string(order.bits / 8),
                                       "-stopSemaphoreName",
                                       run.semaphore};
    if (order.safe)
        arguments.emplace_back("-safe");
    return arguments;
}

void giveBase(NorvRun& run)
{
    uv_buf_t buffer =
        uv_buf_init(run.base.data(), static_cast<unsigned int>(run.base.size()));
    run.writing.data = &run;
    if (uv_write(&run.writing, reinterpret_cast<uv_stream_t*>(&run.input), &buffer, 1,
                 baseWritten) != 0)
        closeHandle(asHandle(run.input)); // norv will miss its base, and end
}

} // namespace

void startRun(NorvRun& run, uv_loop_t* loop, RunOrder order, const BIGNUM* base,
              std::function<void(RunOutcome)> ended)
{
    run.order = std::move(order);
    run.ended = std::move(ended);
    run.semaphore = randomSemaphoreName();
    run.base = pairsOf(base, run.order.bits / 8);
    run.answer.assign(run.base.size() + 1, '\0');
    uv_pipe_init(loop, &run.input, 0);
    uv_pipe_init(loop, &run.output, 0);
    uv_timer_init(loop, &run.timer);
    for (uv_handle_t* handle : {asHandle(run.process), asHandle(run.input),
                                asHandle(run.output), asHandle(run.timer)})
        handle->data = &run;
    run.openHandles = 4;

    expectSemaphore(run.semaphore);
    if (const int error = startNorv(loop, &run.process, processEnded, &run.input,
                                    &run.output, run.order.norv, argumentsOf(run));
        error != 0) {
        run.failure = run.order.norv + " cannot be started: " + uv_strerror(error);
        for (uv_handle_t* handle : {asHandle(run.process), asHandle(run.input),
                                    asHandle(run.output), asHandle(run.timer)})
            closeHandle(handle);
        return;
    }
    giveBase(run);
    const int error = uv_read_start(reinterpret_cast<uv_stream_t*>(&run.output), giveRoom,
                                    outputArrived);
    if (error != 0) {
        run.failure =
            "nothing can be read from " + run.order.norv + ": " + uv_strerror(error);
        killRun(run);
        closeHandle(asHandle(run.output));
    }
}

void stopRun(NorvRun& run)
{
    if (run.state != State::searching || uv_is_closing(asHandle(run.process)))
        return;
    enter(run, State::stopping);
    run.stopAsked = now(run);
    tryToRelease(run);
    uv_timer_start(&run.timer, stopTimePassed, stopTryMilliseconds, stopTryMilliseconds);
}

void killRun(NorvRun& run)
{
    if (run.state == State::ended || uv_is_closing(asHandle(run.process)))
        return;
    enter(run, State::killed);
    uv_process_kill(&run.process, SIGKILL);
}
