#include "ctl/output_file.h"

#include "ctl/message.h"
namespace
{

bool isStandardOutput(const Output& output)
{
    return output.path.empty() || output.path == "-";
}

std::string failure(const std::string& name, const std::error_code& error)
{
    return error ? "cannot write " + name + ": " + errorText(error) : std::string();
}

// Opens the path where it is a device or a pipe.
std::error_code openOnce(Output& output)
{
    return output.device ? std::error_code() : openDevice(output.path, output.device);
}

std::error_code addToFile(Output& output, std::string_view result)
{
    SecretText all;
    all.text.reserve(output.written.text.size() + result.size());
    all.text += output.written.text;
    all.text += result;
    const std::error_code error = writeWhole(output.path, all.text);
    if (!error)
        output.written = std::move(all);
    return error;
}

} // namespace

std::string addResult(Output& output, std::string_view result)
{
    if (isStandardOutput(output))
        return failure("standard output", writeStandardOutput(result));
    if (const std::error_code error = openOnce(output))
        return failure(output.path, error);
    return failure(output.path, output.device ? writeDevice(*output.device, result)
                                              : addToFile(output, result));
}

std::string whyNotWritable(Output& output)
{
    if (isStandardOutput(output))
        return failure("standard output", tryStandardOutput());
    const std::error_code error = openOnce(output);
    if (error || output.device)
        return failure(output.path, error);
    return failure(output.path, tryToWrite(output.path));
}
