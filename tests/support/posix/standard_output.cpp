#include "tests/support/standard_output.h"

#include "tests/platform/temporary_folder.h"

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

std::string standardOutputOf(const std::function<void()>& write)
{
    const TemporaryFolder folder;
    const int file =
        open((folder / "output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const int before = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (file < 0 || before < 0 || dup2(file, STDOUT_FILENO) < 0)
        throw std::runtime_error("standard output cannot be replaced");
    close(file);
    write();
    dup2(before, STDOUT_FILENO);
    close(before);
    return contentOf(folder / "output");
}
