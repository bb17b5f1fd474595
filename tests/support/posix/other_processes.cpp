#include "tests/support/posix/other_processes.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

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
    // The state follows the name, which ends with the last parenthesis.
    const std::string status = contentOfProcess(process, "stat");
    const std::size_t nameEnd = status.rfind(") ");
    if (nameEnd == std::string::npos)
        return false;
    const char state = status[nameEnd + 2];
    return state != 'Z' && state != 'X';
}

std::size_t threadsOf(int process)
{
    std::error_code ended;
    const std::filesystem::directory_iterator tasks(
        "/proc/" + std::to_string(process) + "/task", ended);
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}
