#include "tests/support/standard_output.h"

#include "tests/platform/temporary_folder.h"

#include <fcntl.h>
#include <io.h>
#include <stdexcept>
#include <sys/stat.h>

std::string standardOutputOf(const std::function<void()>& write)
{
    constexpr int standardOutput = 1;
    const TemporaryFolder folder;
    // In text mode, as a program's standard output is when it starts. The runtime makes
    // the file the system's standard output, too.
    const int file = _wopen((folder / "output").c_str(), _O_WRONLY | _O_CREAT | _O_TEXT,
                            _S_IREAD | _S_IWRITE);
    const int before = _dup(standardOutput);
    if (file < 0 || before < 0 || _dup2(file, standardOutput) < 0)
        throw std::runtime_error("standard output cannot be replaced");
    _close(file);
    write();
    _dup2(before, standardOutput);
    _close(before);
    return contentOf(folder / "output");
}
