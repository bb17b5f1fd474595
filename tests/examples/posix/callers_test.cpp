// The lines of docs/callers.md, in a program around them.
#include "tests/examples/posix/caller.h"

#include "tests/examples/example.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/environment.h"
#include "tests/support/posix/program_path.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace
{

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

struct Language {
    const char* name;
    const char* program; // the compiler or the interpreter
    const char* mark;    // of the lines in the page
    const char* file;    // the program around them, with the comment `place` in it
    Arguments options;   // of the compiler, before the file; none: it is an interpreter
};

void PrintTo(const Language& language, std::ostream* out)
{
    *out << language.name;
}

constexpr char place[] = "// The lines.\n";

// The lines between ```MARK and ```.
std::string linesOf(const Language& language)
{
    const std::string page = contentOf(PROJECT_FOLDER "/docs/callers.md");
    const std::string begin = std::string("\n```") + language.mark + "\n";
    const std::size_t first = page.find(begin);
    const std::size_t last = page.find("\n```\n", first + 1);
    if (first == std::string::npos || last == std::string::npos)
        return {};
    return page.substr(first + begin.size(), last + 1 - first - begin.size());
}

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return static_cast<char>(std::toupper(character));
    });
    return text;
}

class Lines : public testing::TestWithParam<Language>
{
protected:
    // Makes the program. norvctl and what it needs are all that is on its path.
    void SetUp() override
    {
        const std::string language = programPath(GetParam().program);
        if (language.empty())
            GTEST_SKIP() << "there is no " << GetParam().program
                         << " here; tools/install callers installs it";
        const std::string lines = linesOf(GetParam());
        ASSERT_FALSE(lines.empty());
        std::string source =
            contentOf(std::string(PROJECT_FOLDER) + "/tests/examples/posix/callers/" +
                      GetParam().file);
        const std::size_t position = source.find(place);
        ASSERT_NE(std::string::npos, position);
        source.replace(position, sizeof place - 1, lines);
        const std::string file = (folder / GetParam().file).string();
        writeFile(file, source);
        command = {language, file};
        if (!GetParam().options.empty()) {
            const EnvironmentVariable cache("GOCACHE", BUILD_FOLDER "/go-cache");
            const EnvironmentVariable modules("GO111MODULE", "off");
            command = {(folder / "program").string()};
            Arguments options = GetParam().options;
            options.insert(options.end(), {"-o", command[0], file});
            const Ending ending = Process(language, options).wait();
            ASSERT_EQ(0, ending.exitCode) << ending.output << ending.errors;
        }
        fs::create_directory(folder / "bin");
        fs::create_symlink(programPath("setpriv"), folder / "bin" / "setpriv");
        path.emplace("PATH", (folder / "bin").string());
    }

    void provideNorvctl() const
    {
        fs::create_symlink(NORVCTL_PROGRAM, folder / "bin" / "norvctl");
    }

    // A norvctl that writes this line.
    void provideNonsense(const std::string& line) const
    {
        const fs::path script = folder / "bin" / "norvctl";
        writeFile(script, "#!/bin/sh\necho '" + line + "'\n");
        fs::permissions(script, fs::perms::owner_all);
    }

    Arguments with(const Arguments& more) const
    {
        Arguments all = command;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    Ending run(const Arguments& arguments) const
    {
        const Arguments all = with(arguments);
        return Process(all[0], {all.begin() + 1, all.end()}).wait();
    }

    TemporaryFolder folder;
    Arguments command;
    std::optional<EnvironmentVariable> path;
};

TEST_P(Lines, FindAPrimeAndASafePrime)
{
    provideNorvctl();
    for (const bool safe : {false, true}) {
        const Ending ending =
            run(safe ? Arguments{"256", "--safe"} : Arguments{"2048", "--threads", "2"});
        EXPECT_EQ(0, ending.exitCode) << ending.errors;
        const std::string digits =
            upperCase(ending.output.substr(0, ending.output.find('\n')));
        EXPECT_EQ(safe ? 64U : 512U, digits.size());
        EXPECT_EQ(digits.size() + 1, ending.output.size());
        EXPECT_TRUE(isPrime(digits, safe)) << digits;
    }
}

TEST_P(Lines, EndNorvWithTheProgram)
{
    provideNorvctl();
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        SCOPED_TRACE("signal " + std::to_string(signal));
        Caller caller(with({"4096", "--safe"}), "");
        ASSERT_TRUE(caller.searches());
        EXPECT_TRUE(caller.norvRuns());
        if (signal == SIGINT)
            caller.interrupt();
        else
            caller.send(signal);
        const Ending ending = caller.wait();
        EXPECT_TRUE(ending.inTime);
        EXPECT_NE(0, ending.exitCode);
        EXPECT_EQ("", ending.output);
        EXPECT_TRUE(comesTrue([&] { return !caller.norvRuns(); }));
        EXPECT_TRUE(comesTrue([&] { return !existsForeign(caller.semaphore()); }));
    }
}

TEST_P(Lines, SayThatThereIsNoNorvctl)
{
    const Ending ending = run({"64"});
    EXPECT_EQ(1, ending.exitCode);
    EXPECT_EQ("", ending.output);
    EXPECT_NE(std::string::npos, ending.errors.find("norvctl")) << ending.errors;
}

TEST_P(Lines, PassOnWhatNorvctlSays)
{
    provideNorvctl();
    const Ending ending = run({"100"});
    EXPECT_EQ(1, ending.exitCode);
    EXPECT_EQ("", ending.output);
    EXPECT_NE(std::string::npos, ending.errors.find("must be a multiple of 8"))
        << ending.errors;
}

TEST_P(Lines, TakeNothingElseForAPrime)
{
    for (const char* line : {"", "nonsense", "{}", R"({"prime": "fff1"})",
                             R"({"kind": "prime"})", R"({"prime": 12})"}) {
        provideNonsense(line);
        const Ending ending = run({"64"});
        EXPECT_EQ(1, ending.exitCode) << line;
        EXPECT_EQ("", ending.output) << line;
        EXPECT_NE("", ending.errors) << line;
    }
    // The lines above see nothing else.
    provideNonsense(R"({"prime": "ffffffffffffffc5"})");
    EXPECT_EQ("ffffffffffffffc5\n", run({"64"}).output);
}

INSTANTIATE_TEST_SUITE_P(
    Of, Lines,
    testing::Values(Language{"Go", "go", "go", "main.go", {"build"}},
                    Language{"Rust", "rustc", "rust", "main.rs", {"--edition=2021"}},
                    Language{"Node", "node", "js", "main.js", {}}),
    testing::PrintToStringParamName());

} // namespace
