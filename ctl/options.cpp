#include "ctl/options.h"

#include "ctl/json_form.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <utility>

namespace
{

constexpr int leastBits = 64;
constexpr int mostBits = 65536;
constexpr int mostThreads = 4096;
constexpr int mostPrimes = 1'000'000;
constexpr int mostShares = 1'000'000;
constexpr int mostSeconds = 1'000'000'000;

// The values as typed.
struct Typed {
    std::string bits;
    std::string threads;
    std::string count;
    std::string share;
    std::string base;
    std::string from;
    std::string format;
    std::string timeout;
    std::string seconds;
};

// Wrong usage: the line that says what would be right.
struct Wrong {
    std::string line;
};

// The whole text as a number within the limits.
int wholeNumber(const std::string& name, const std::string& text, int least, int most)
{
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least || value > most)
        throw Wrong{name + " must be a whole number from " + std::to_string(least) +
                    " to " + std::to_string(most) + ", not '" + text + "'"};
    return value;
}

int readBits(const std::string& text)
{
    int bits = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, bits);
    if (error != std::errc() || stop != end || bits < leastBits || bits > mostBits ||
        bits % 8 != 0)
        throw Wrong{"BITS must be a multiple of 8 from 64 to 65536, not '" + text + "'"};
    return bits;
}

double readSeconds(const char* name, const std::string& text)
{
    double seconds = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data(), end, seconds, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !(seconds > 0) || seconds > mostSeconds)
        throw Wrong{std::string(name) +
                    " must be a number of seconds above 0 and up to " +
                    std::to_string(mostSeconds) + ", not '" + text + "'"};
    return seconds;
}

Share readShare(const std::string& text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos)
        throw Wrong{
            "--share must be I/N, such as 0/4 for the first of four parts, not '" + text +
            "'"};
    const int count =
        wholeNumber("N in --share I/N", text.substr(slash + 1), 1, mostShares);
    const int index =
        wholeNumber("I in --share I/N", text.substr(0, slash), 0, count - 1);
    return {index, count};
}

// How many parts of a size can be searched apart. norv's threads begin in windows of 2^64
// numbers, one above the other from the base upward: a part has room for many of them.
// At 64 bits all begin near the base.
int mostSharesOf(int bits, int threads)
{
    constexpr int windowBits = 64;
    constexpr int leastPartBits = 72;
    constexpr int enoughBits = 30; // for the most shares and runs
    if (bits <= windowBits)
        return mostShares;
    const int partsBits = bits - 1 - leastPartBits;
    if (partsBits <= 0)
        return 1;
    return std::clamp((1 << std::min(partsBits, enoughBits)) / runsFor(threads), 1,
                      mostShares);
}

void checkShare(const Options& options)
{
    const int most = mostSharesOf(options.bits, options.threads);
    if (options.share.count <= most)
        return;
    const std::string search = std::to_string(options.bits) + " bits and --threads " +
                               std::to_string(options.threads);
    if (most == 1)
        throw Wrong{"--share needs larger numbers than those of " + search +
                    ": the parts would overlap; leave --share out"};
    throw Wrong{"N in --share I/N must be at most " + std::to_string(most) + " with " +
                search + ", not " + std::to_string(options.share.count) +
                ": the parts would overlap"};
}

Format readFormat(const std::string& text)
{
    constexpr std::pair<const char*, Format> formats[] = {
        {"hex", Format::hex},      {"dec", Format::dec},   {"pem", Format::pem},
        {"der", Format::der},      {"json", Format::json}, {"c", Format::c},
        {"moduli", Format::moduli}};
    for (const auto& [name, format] : formats)
        if (text == name)
            return format;
    throw Wrong{"--format must be hex, dec, pem, der, json, c or moduli, not '" + text +
                "'"};
}

bool given(const CLI::App& command, const char* name)
{
    return command.get_option(name)->count() > 0;
}

void requireFile(const CLI::App& command, const char* name, const std::string& path)
{
    if (given(command, name) && path.empty())
        throw Wrong{std::string(name) + " must name a file, not ''"};
}

void requireAlone(bool first, const char* firstName, bool second, const char* secondName,
                  const char* reason)
{
    if (first && second)
        throw Wrong{std::string(firstName) + " and " + secondName +
                    " exclude each other: " + reason};
}

// What goes together, once each value is known.
void checkTogether(const Options& options, bool threadsGiven, bool shareGiven)
{
    const bool file = !options.baseFile.empty();
    requireAlone(options.base.has_value(), "--base", file, "--base-file",
                 "there is one base");
    requireAlone(options.base.has_value(), "--base", options.from.has_value(), "--from",
                 "there is one base");
    requireAlone(file, "--base-file", options.from.has_value(), "--from",
                 "there is one base");
    const bool given = options.base || file || options.from;
    requireAlone(options.count > 1, "--count", given, "a base",
                 "each prime needs a random base of its own");
    requireAlone(options.from.has_value(), "--from", shareGiven, "--share",
                 "everybody who repeats the search must get the same prime");
    if (options.from && threadsGiven && options.threads != 1)
        throw Wrong{"--from searches with one thread, so that everybody who repeats it "
                    "gets the same prime; leave --threads out"};
    if (options.from && options.from->empty())
        throw Wrong{"the text of --from must not be empty"};
    if (options.from && !fitsJson(*options.from))
        throw Wrong{"the text of --from must be UTF-8"};
    if (needsSafePrime(options.format) && !options.safe)
        throw Wrong{"the formats pem, der and moduli are for safe primes; add --safe"};
    if (options.count > 1 &&
        (options.format == Format::der || options.format == Format::c))
        throw Wrong{"the formats der and c hold one prime; leave --count out"};
}

void addBits(CLI::App& command, Typed& typed)
{
    command.add_option("BITS", typed.bits, "size: a multiple of 8, 64 to 65536")
        ->required();
}

void addSearchOptions(CLI::App& command, Typed& typed)
{
    addBits(command, typed);
    command
        .add_option("--threads", typed.threads,
                    "searching threads; default: the processors that may be used")
        ->type_name("N");
}

// Given once and without a value, as the manual says of all options.
void addFlag(CLI::App& command, const char* name, bool& value, const char* meaning)
{
    command.add_flag(name, value, meaning)
        ->disable_flag_override()
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
}

void addVerbose(CLI::App& command, Options& options)
{
    addFlag(command, "--verbose", options.verbose, "tell the base where a check fails");
}

void addNorvOptions(CLI::App& command, Options& options)
{
    addFlag(command, "--quiet", options.quiet, "show no progress");
    command
        .add_option("--norv", options.norv,
                    "the norv to use; default: beside norvctl, else on the path")
        ->type_name("PATH");
}

void addGenerateOptions(CLI::App& command, Options& options, Typed& typed)
{
    addSearchOptions(command, typed);
    command.add_option("--base", typed.base, "search upward from here; BITS/4 digits")
        ->type_name("HEX");
    command
        .add_option("--base-file", options.baseFile,
                    "the same from a file; - for standard input")
        ->type_name("FILE");
    command
        .add_option("--from", typed.from,
                    "search from a base that follows from the text, so that everybody "
                    "can repeat it")
        ->type_name("TEXT");
    command.add_option("--count", typed.count, "so many primes, each from a random base")
        ->type_name("K");
    command
        .add_option("--output", options.output,
                    "write to this file when all is well; default: standard output")
        ->type_name("FILE");
    command.add_option("--timeout", typed.timeout, "give up after so long")
        ->type_name("SECONDS");
    command
        .add_option("--share", typed.share,
                    "search part I (from 0) of N parts of the size, to share a search "
                    "among machines")
        ->type_name("I/N");
    addVerbose(command, options);
    addNorvOptions(command, options);
}

struct Parser {
    Options options;
    Typed typed;
    CLI::App app{"norvctl finds a prime, or a safe prime, checks it and writes it in the "
                 "form that is needed.",
                 "norvctl"};
    CLI::App* generate = nullptr;
    CLI::App* dhparam = nullptr;
    CLI::App* check = nullptr;
    CLI::App* compare = nullptr;
    CLI::App* stop = nullptr;
    CLI::App* estimate = nullptr;
};

void declare(Parser& parser)
{
    Options& options = parser.options;
    Typed& typed = parser.typed;
    parser.app.require_subcommand(1);
    parser.app.allow_windows_style_options(false);
    parser.app.set_version_flag("--version", "norvctl " + norvctlVersion());

    parser.generate = parser.app.add_subcommand("generate", "find a prime");
    addGenerateOptions(*parser.generate, options, typed);
    addFlag(*parser.generate, "--safe", options.safe,
            "a safe prime: (p-1)/2 is prime, too");
    parser.generate
        ->add_option("--format", typed.format,
                     "hex (default), dec, pem, der, json, c or moduli")
        ->type_name("FORM");

    parser.dhparam = parser.app.add_subcommand(
        "dhparam", "Diffie-Hellman parameters: generate --safe --format pem");
    addGenerateOptions(*parser.dhparam, options, typed);

    parser.check = parser.app.add_subcommand(
        "check", "tell what a prime in a file is, with tests of its own");
    parser.check->add_option("FILE", options.file,
                             "hex, decimal, PEM, DER or JSON; default: standard input");
    addFlag(*parser.check, "--safe", options.safe, "it is to be a safe prime");
    addFlag(*parser.check, "--replay", options.replay,
            "repeat the search of the JSON, which must find the same");
    addVerbose(*parser.check, options);
    addNorvOptions(*parser.check, options);

    parser.compare = parser.app.add_subcommand(
        "compare", "CPU time of a prime by norv and by libcrypto's own generator");
    addBits(*parser.compare, typed);
    addFlag(*parser.compare, "--safe", options.safe, "of a safe prime");
    parser.compare
        ->add_option("--seconds", typed.seconds,
                     "begin searches for so long, and end those that have begun; "
                     "default: 30")
        ->type_name("S");
    addNorvOptions(*parser.compare, options);

    parser.stop = parser.app.add_subcommand("stop", "end a run of norv by its semaphore");
    parser.stop->add_option("NAME", options.semaphore, "default: stopPrimeGeneration");

    parser.estimate = parser.app.add_subcommand(
        "estimate", "tell how long a search takes here; without BITS, of usual sizes");
    addSearchOptions(*parser.estimate, typed);
    parser.estimate->get_option("BITS")->required(false);
    addFlag(*parser.estimate, "--safe", options.safe, "of a safe prime");
    addFlag(*parser.estimate, "--points", options.points,
            "of BITS, the whole distribution: a line for each point, "
            "with the seconds and the chance");
}

// Without --replay, check starts no norv.
void checkReplay(const CLI::App& check, const Options& options)
{
    for (const char* name : {"--norv", "--quiet", "--verbose"})
        if (given(check, name) && !options.replay)
            throw Wrong{std::string(name) +
                        " of check needs --replay; add that, or leave " + name + " out"};
    requireFile(check, "--norv", options.norv);
}

// From what was typed to what is meant.
void interpret(Parser& parser, int processors)
{
    Options& options = parser.options;
    const Typed& typed = parser.typed;
    if (parser.stop->parsed()) {
        options.command = Options::Command::stop;
        return;
    }
    if (parser.check->parsed()) {
        options.command = Options::Command::check;
        requireFile(*parser.check, "FILE", options.file);
        checkReplay(*parser.check, options);
        return;
    }
    CLI::App* command = parser.app.get_subcommands().front();
    if (given(*command, "BITS"))
        options.bits = readBits(typed.bits);
    if (parser.compare->parsed()) {
        options.command = Options::Command::compare;
        requireFile(*command, "--norv", options.norv);
        if (given(*command, "--seconds"))
            options.seconds = readSeconds("--seconds", typed.seconds);
        return;
    }
    const bool threadsGiven = given(*command, "--threads");
    options.threads = threadsGiven
                          ? wholeNumber("--threads", typed.threads, 1, mostThreads)
                          : std::min(processors, mostThreads);
    if (parser.estimate->parsed()) {
        options.command = Options::Command::estimate;
        if (options.points && options.bits == 0)
            throw Wrong{"--points is the distribution of one size; add BITS"};
        return;
    }
    if (parser.dhparam->parsed()) {
        options.safe = true;
        options.format = Format::pem;
    }
    if (command == parser.generate && given(*command, "--format"))
        options.format = readFormat(typed.format);
    if (given(*command, "--count"))
        options.count = wholeNumber("--count", typed.count, 1, mostPrimes);
    if (given(*command, "--timeout"))
        options.timeout = readSeconds("--timeout", typed.timeout);
    if (given(*command, "--base"))
        options.base = typed.base;
    if (given(*command, "--from"))
        options.from = typed.from;
    requireFile(*command, "--base-file", options.baseFile);
    requireFile(*command, "--output", options.output);
    requireFile(*command, "--norv", options.norv);
    const bool shareGiven = given(*command, "--share");
    if (shareGiven)
        options.share = readShare(typed.share);
    checkTogether(options, threadsGiven, shareGiven);
    checkShare(options);
    if (options.from)
        options.threads = 1;
}

// "generate, dhparam, ...".
std::string namesOfCommands(const CLI::App& app)
{
    std::string names;
    for (const CLI::App* command : app.get_subcommands({}))
        names += (names.empty() ? "" : ", ") + command->get_name();
    return names;
}

// What would be right, where an option stands twice, or a value is missing or too much.
std::string lineForMismatch(const CLI::App& command, const std::string& text)
{
    std::string name = text.substr(0, text.find_first_of(": "));
    // The library leaves the dashes of a flag with a value out.
    if (!name.starts_with('-'))
        name.insert(0, "--");
    const CLI::Option* option = command.get_option_no_throw(name);
    const bool isFlag = option && option->get_expected_max() == 0;
    return name + " must be given once, " +
           (isFlag ? "without a value" : "with one value");
}

// What would be right, where the library found a mistake.
std::string lineFor(const CLI::ParseError& error, const Parser& parser,
                    const std::string& typedCommand)
{
    const CLI::App* command = parser.app.get_subcommands().empty()
                                  ? nullptr
                                  : parser.app.get_subcommands().front();
    if (!command)
        return (typedCommand.empty() ? "a command is missing"
                                     : "there is no command '" + typedCommand + "'") +
               "; the commands are " + namesOfCommands(parser.app);
    const std::string help =
        "; 'norvctl " + command->get_name() + " --help' lists what is right";
    const std::string text = error.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&error)) {
        const std::vector<std::string> left = parser.app.remaining(true);
        return "'" + (left.empty() ? "" : left.front()) + "' is not expected here" + help;
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error))
        return "BITS is missing: a multiple of 8 from 64 to 65536";
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return lineForMismatch(*command, text) + help;
    return text.substr(0, text.find('\n')) + help;
}

// What to print for a request of help or of the version.
std::string textFor(const CLI::Success& success, const Parser& parser)
{
    if (success.get_name() == "CallForVersion")
        return "norvctl " + norvctlVersion() + "\n";
    const auto asked = parser.app.get_subcommands();
    return asked.empty() ? parser.app.help() : asked.front()->help("norvctl");
}

} // namespace

std::variant<Options, Leave> readOptions(const std::vector<std::string>& arguments,
                                         int processors)
{
    std::vector<const char*> pointers;
    pointers.reserve(arguments.size());
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    Parser parser;
    declare(parser);
    try {
        parser.app.parse(static_cast<int>(pointers.size()), pointers.data());
        interpret(parser, processors);
        return std::move(parser.options);
    } catch (const CLI::Success& success) {
        return Leave{0, textFor(success, parser)};
    } catch (const CLI::ParseError& error) {
        return Leave{exitUsage,
                     lineFor(error, parser, arguments.size() > 1 ? arguments[1] : "")};
    } catch (const Wrong& wrong) {
        return Leave{exitUsage, wrong.line};
    }
}
