#include "tests/soak/job.h"

#include "tests/platform/temporary_folder.h"
#include "tests/support/gmp_oracle.h"
#include "tests/support/prime_check.h"

#include <cmath>
#include <optional>

namespace
{

constexpr char marks[] = ".*!";

// From here on a composite that passes is rarer than a fault of the machine, and
// windows do not overlap.
constexpr int sureBits = 128;

// Up to here the sieve alone decides.
constexpr int sievedBits = 16;

// Safe primes grow rare: mostly of at most 256 bits, so that a run is short.
int sizeInBytes(Random& random, bool safe, int smallest)
{
    const int largest = safe && !random.oneIn(25) ? 32 : 64;
    return smallest + random.upTo(largest - smallest);
}

std::string randomBase(Random& random, int bits)
{
    const auto length = static_cast<std::size_t>(bits / 4);
    if (random.oneIn(10))
        return std::string(length, 'F');
    std::string digits = oracle::randomNumber(bits, random.seed());
    if (random.oneIn(10))
        digits.replace(0, length / 2, length / 2, '0');
    return digits;
}

void giveBaseAsText(Job& job, Random& random)
{
    job.arguments.insert(job.arguments.end(),
                         {"-base", random.oneIn(3) ? resultText(job.base) : job.base});
}

void giveBaseAsPattern(Job& job, Random& random)
{
    const std::string digit(1, "0123456789ABCDEF"[random.upTo(15)]);
    const std::size_t count = job.base.size();
    job.base.assign(count, digit[0]);
    job.arguments.insert(job.arguments.end(),
                         {"-input", std::to_string(count), "-test", digit});
}

void giveBaseAsInput(Job& job, Random& random)
{
    const std::string bytes = std::to_string(job.bits / 8);
    job.arguments.insert(job.arguments.end(), {"-input", bytes});
    job.streams.inputText = resultText(job.base);
    if (random.oneIn(2))
        for (char& character : job.streams.inputText)
            character = character == ' ' ? '\n' : character;
    if (random.oneIn(4))
        job.streams.input = Streams::Input::textAndOpen;
    job.head = "Please enter hex " + bytes + " bytes:\n";
}

void giveBase(Job& job, Random& random)
{
    switch (random.upTo(3)) {
    case 0:
        return giveBaseAsPattern(job, random);
    case 1:
        return giveBaseAsInput(job, random);
    default:
        return giveBaseAsText(job, random);
    }
}

const char* kindOf(const Job& job)
{
    return job.safe ? "Safe prime" : "Prime";
}

Job completed(Job job, Random& random)
{
    job.quiet = random.oneIn(2);
    job.arguments = {"-threads", std::to_string(job.threads)};
    giveBase(job, random);
    if (job.safe)
        job.arguments.emplace_back("-safe");
    if (job.quiet)
        job.arguments.emplace_back("-noPrompt");
    job.head = job.quiet ? "" : job.head + started(kindOf(job), job.bits, job.threads);
    return job;
}

// The result's text; none when there is no result or when anything around it is not
// as it must be.
std::optional<std::string> resultOf(const Job& job, const Ending& ending)
{
    if (job.quiet)
        return ending.output;
    const std::string text = withoutSeconds(ending.output);
    const std::string behind = finished(kindOf(job), job.bits, job.threads) + "Result:";
    const auto end = text.find(behind);
    if (text.compare(0, job.head.size(), job.head) != 0 || end == std::string::npos ||
        text.find_first_not_of(marks, job.head.size()) != end)
        return std::nullopt;
    return text.substr(end + behind.size());
}

bool isTextWithoutResult(const Job& job, const std::string& output)
{
    return output.compare(0, job.head.size(), job.head) == 0 &&
           output.find_first_not_of(job.quiet ? "" : marks, job.head.size()) ==
               std::string::npos;
}

bool isFirstOfItsWindow(const Job& job, const std::string& prime)
{
    const unsigned long window = windowsBetween(job.base, prime, job.bits);
    return window >= 1 &&
           prime == oracle::firstPrime(windowStart(job.base, job.bits, window),
                                       {job.bits, job.safe});
}

Verdict judgeNumber(const Job& job, const std::string& digits)
{
    if (digits.empty() || bitsOf(digits) != job.bits)
        return Verdict::wrong;
    if (job.bits >= sureBits)
        return isFirstOfItsWindow(job, digits) ? Verdict::result : Verdict::wrong;
    if (isPrime(digits, job.safe))
        return Verdict::result;
    return isWeak(job) ? Verdict::composite : Verdict::wrong;
}

bool marksFileIsSound(const Job& job)
{
    return job.marksFile.empty() ||
           contentOf(job.marksFile).find_first_not_of(marks) == std::string::npos;
}

} // namespace

std::chrono::microseconds Random::moment()
{
    const double decades = std::uniform_real_distribution<double>(0, 4.7)(generator_);
    return std::chrono::microseconds(static_cast<long>(20 * std::pow(10, decades)));
}

Job searchingJob(Random& random, const std::filesystem::path& marksFile)
{
    Job job;
    job.safe = random.oneIn(2);
    job.bits = 8 * sizeInBytes(random, job.safe, sievedBits / 8);
    job.threads = 1 + random.upTo(random.oneIn(8) ? 62 : 7);
    job.base = randomBase(random, job.bits);
    job = completed(job, random);
    if (random.oneIn(4)) {
        job.marksFile = marksFile;
        job.arguments.insert(job.arguments.end(), {"-outPrompt", marksFile.string()});
    }
    return job;
}

Job sureJob(Random& random)
{
    Job job;
    job.safe = random.oneIn(2);
    job.bits = 8 * sizeInBytes(random, job.safe, sureBits / 8);
    job.threads = 1 + random.upTo(7);
    job.base = randomBase(random, job.bits);
    return completed(job, random);
}

Job unwaitedJob(int threads, int bits)
{
    Job job{.bits = bits, .threads = threads, .quiet = true};
    job.base = std::string(static_cast<std::size_t>(bits) / 4, 'F');
    job.arguments = {"-noPrompt", "-threads", std::to_string(threads), "-base", job.base};
    return job;
}

Job endlessJob(Random& random)
{
    constexpr int hopelessBits = 4096;
    Job job;
    job.safe = true;
    job.threads = random.upTo(3);
    job.bits = job.threads == 0 ? 64 : hopelessBits;
    job.base = randomBase(random, job.bits);
    return completed(job, random);
}

bool isWeak(const Job& job)
{
    return job.bits > sievedBits && job.bits < sureBits;
}

Verdict judge(const Job& job, const Ending& ending)
{
    if (!ending.inTime)
        return Verdict::hang;
    if (!ending.errors.empty() || !marksFileIsSound(job))
        return Verdict::wrong;
    if (ending.exitCode == seenExitCode(-1))
        return isTextWithoutResult(job, ending.output) ? Verdict::noResult
                                                       : Verdict::wrong;
    const std::optional<std::string> result = resultOf(job, ending);
    if (ending.exitCode != exitCodeFor(job.bits) || !result)
        return Verdict::wrong;
    return judgeNumber(job, digitsOf(*result));
}
