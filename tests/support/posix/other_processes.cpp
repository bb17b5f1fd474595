#include "tests/support/posix/other_processes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace
{

std::string contentOfProcess(int process, const std::string& file)
{
    std::ifstream stream("/proc/" + std::to_string(process) + "/" + file,
                         std::ios::binary);
    std::ostringstream content; // empty when the process ends meanwhile
    content << stream.rdbuf();
    return content.str();
}

// The fields of its "stat" that follow the name, which ends with the last parenthesis;
// none when it has ended.
std::istringstream stateOf(int process)
{
    const std::string stat = contentOfProcess(process, "stat");
    const std::size_t nameEnd = stat.rfind(") ");
    return std::istringstream(nameEnd == std::string::npos ? ""
                                                           : stat.substr(nameEnd + 2));
}

} // namespace

std::vector<int> childrenOf(int process)
{
    // Each thread has children of its own.
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    std::vector<int> children;
    std::error_code ended;
    std::filesystem::directory_iterator task(tasks, ended);
    for (; !ended && task != std::filesystem::directory_iterator();
         task.increment(ended)) {
        std::ifstream stream(task->path() / "children");
        for (int child = 0; stream >> child;)
            if (isAlive(child))
                children.push_back(child);
    }
    std::sort(children.begin(), children.end());
    return children;
}

std::vector<std::string> argumentsOf(int process)
{
    std::vector<std::string> arguments;
    const std::string text = contentOfProcess(process, "cmdline");
    for (std::size_t begin = 0; begin < text.size();) {
        arguments.emplace_back(text.c_str() + begin);
        begin += arguments.back().size() + 1;
    }
    return arguments;
}

bool isAlive(int process)
{
    char state = 'X';
    stateOf(process) >> state;
    return state != 'Z' && state != 'X';
}

double processorSecondsOf(int process)
{
    std::istringstream fields = stateOf(process);
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}
