// Stands in for norv, and behaves as the environment's FAKE_NORV says:
//   print TEXT   prints the text and ends
//   endless      prints digits for ever
//   hang         never ends and makes no semaphore
//   mark FILE    makes the file and hangs
//   deaf         makes its semaphore and ends at no release of it
//   obey FILE    makes its semaphore, waits for its release, makes the file and ends
//   name FILE    writes a line with the name of its semaphore to the end of the file
//   end CODE     ends with this exit code
// Its input is not read.
#include "platform/named_semaphore.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace
{

void sleepForEver()
{
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

std::wstring semaphoreOf(int count, char** arguments)
{
    for (int i = 1; i + 1 < count; ++i)
        if (std::string(arguments[i]) == "-stopSemaphoreName") {
            const std::string name = arguments[i + 1];
            return {name.begin(), name.end()};
        }
    return {};
}

} // namespace

int main(int count, char** arguments)
{
    const char* wish = std::getenv("FAKE_NORV");
    const std::string task = wish ? wish : "";
    if (task.rfind("print ", 0) == 0)
        std::fputs(task.c_str() + 6, stdout);
    if (task == "endless")
        while (std::fputs("FF ", stdout) >= 0)
            continue;
    if (task == "deaf")
        createNamedSemaphore(semaphoreOf(count, arguments).c_str(), 0, 1);
    const bool marks = task.rfind("mark ", 0) == 0;
    if (marks)
        std::ofstream(task.substr(5)) << "started";
    if (task == "hang" || task == "deaf" || marks)
        sleepForEver();
    if (task.rfind("obey ", 0) == 0) {
        const SemaphoreHandle semaphore =
            createNamedSemaphore(semaphoreOf(count, arguments).c_str(), 0, 1);
        waitForSemaphore(semaphore);
        closeSemaphore(semaphore);
        std::ofstream(task.substr(5)) << "released";
    }
    if (task.rfind("name ", 0) == 0) {
        const std::wstring name = semaphoreOf(count, arguments);
        std::ofstream(task.substr(5), std::ios::app)
            << std::string(name.begin(), name.end()) << '\n';
    }
    if (task.rfind("end ", 0) == 0)
        return std::stoi(task.substr(4));
    return 0;
}
