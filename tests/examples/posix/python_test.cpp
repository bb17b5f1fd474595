// The Python example as a module.
#include "tests/examples/posix/caller.h"

#include "tests/examples/example.h"
#include "tests/platform/temporary_folder.h"
#include "tests/support/environment.h"
#include "tests/support/posix/program_path.h"

#include <filesystem>
#include <fstream>

namespace
{

class PythonModule : public testing::Test
{
protected:
    static std::vector<std::string> command(const std::string& lines)
    {
        return {programPath("python3"), "-c", lines};
    }

    const EnvironmentVariable norv_{"NORV", NORV_PROGRAM};
    const EnvironmentVariable path_{"PYTHONPATH", PROJECT_FOLDER "/examples/python"};
    const EnvironmentVariable noFiles_{"PYTHONDONTWRITEBYTECODE", "1"};
};

TEST_F(PythonModule, ReturnsAnInt)
{
    Caller caller(command("import norv\n"
                          "p = norv.find_prime(bytes([255] * 10), threads=1)\n"
                          "assert isinstance(p, int)\n"
                          "print(f'{p:X}')\n"),
                  "");
    const Ending ending = caller.wait();
    EXPECT_EQ("", ending.errors);
    ASSERT_EQ(21U, ending.output.size());
    EXPECT_TRUE(isPrime(ending.output.substr(0, 20), false));
}

TEST_F(PythonModule, IsCancelledByAnotherThread)
{
    Caller caller(command("import norv, signal, threading\n"
                          "cancelled = threading.Event()\n"
                          "def wait():\n"
                          "    signal.sigwait([signal.SIGUSR1])\n"
                          "    cancelled.set()\n"
                          "signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGUSR1])\n"
                          "threading.Thread(target=wait).start()\n"
                          "try:\n"
                          "    norv.find_prime(bytes([255] * 512), safe=True,\n"
                          "                    cancelled=cancelled)\n"
                          "except norv.Cancelled:\n"
                          "    print('cancelled')\n"),
                  "");
    ASSERT_TRUE(caller.searches());
    caller.send(SIGUSR1);
    const Ending ending = caller.wait();
    EXPECT_EQ("", ending.errors);
    EXPECT_EQ("cancelled\n", ending.output);
    EXPECT_FALSE(caller.norvRuns());
    EXPECT_FALSE(existsForeign(caller.semaphore()));
}

// The pipe does not hold all of it, and the first turn ends before the reader begins.
TEST_F(PythonModule, WritesABaseThatIsReadLate)
{
    const TemporaryFolder folder;
    const std::string script = (folder / "norv").string();
    std::ofstream(script) << "#!/bin/sh\n"
                             "sleep 0.2\n"
                             "tr a-f A-F\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    const EnvironmentVariable norv("NORV", script);
    Caller caller(command("import norv, threading\n"
                          "base = bytes([255] * 30000)\n"
                          "p = norv.find_prime(base, cancelled=threading.Event())\n"
                          "print(p == int.from_bytes(base, 'big'))\n"),
                  "");
    const Ending ending = caller.wait();
    EXPECT_TRUE(ending.inTime);
    EXPECT_EQ("", ending.errors);
    EXPECT_EQ("True\n", ending.output);
}

TEST_F(PythonModule, RefusesNumbersOfThreadsThatNorvDoesNotTake)
{
    Caller caller(command("import norv\n"
                          "for threads in (-2, 0, 64):\n"
                          "    try:\n"
                          "        norv.find_prime(b'ab', threads=threads)\n"
                          "    except norv.Error as error:\n"
                          "        print(error)\n"),
                  "");
    const std::string line = "norv takes 1 to 63 threads\n";
    EXPECT_EQ(line + line + line, caller.wait().output);
}

TEST_F(PythonModule, RefusesAnEmptyBase)
{
    Caller caller(command("import norv\n"
                          "try:\n"
                          "    norv.find_prime(b'')\n"
                          "except norv.Error as error:\n"
                          "    print(error)\n"),
                  "");
    EXPECT_EQ("the base is empty\n", caller.wait().output);
}

} // namespace
