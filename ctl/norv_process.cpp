#include "ctl/norv_process.h"

#include "platform/dependent.h"

#include <csignal>
#include <cstdint>
#include <string_view>
#include <utility>

namespace
{

constexpr std::uint64_t answerMilliseconds = 10'000;

template <typename Handle>
uv_handle_t* asHandle(Handle& handle)
{
    return reinterpret_cast<uv_handle_t*>(&handle);
}

template <typename Handle>
VersionQuestion& questionOf(const Handle* handle)
{
    return *static_cast<VersionQuestion*>(handle->data);
}

// The version in the usage text of norv; empty when it is none.
std::string versionIn(std::string_view text)
{
    constexpr std::string_view mark = ", v.";
    const std::size_t start = text.find(mark);
    if (!text.starts_with("Prime generation utility ") || start == std::string_view::npos)
        return {};
    const std::string_view version = text.substr(start + mark.size());
    return std::string(version.substr(0, version.find_first_not_of("0123456789.")));
}

void handleClosed(uv_handle_t* handle) noexcept
{
    VersionQuestion& question = questionOf(handle);
    if (--question.openHandles > 0)
        return;
    const auto answered = std::move(question.answered);
    answered(versionIn({question.text.data(), question.size}));
}

void closeHandle(uv_handle_t* handle)
{
    if (!uv_is_closing(handle))
        uv_close(handle, handleClosed);
}

void closeAll(VersionQuestion& question)
{
    closeHandle(asHandle(question.process));
    closeHandle(asHandle(question.output));
    closeHandle(asHandle(question.timer));
}

void processEnded(uv_process_t* process, std::int64_t /*exitCode*/,
                  int /*signal*/) noexcept
{
    VersionQuestion& question = questionOf(process);
    closeHandle(asHandle(question.process));
    if (uv_is_closing(asHandle(question.output)))
        closeAll(question);
}

void answerOverdue(uv_timer_t* timer) noexcept
{
    killQuestion(questionOf(timer));
}

void giveRoom(uv_handle_t* handle, std::size_t /*suggested*/, uv_buf_t* buffer) noexcept
{
    VersionQuestion& question = questionOf(handle);
    *buffer =
        uv_buf_init(question.text.data() + question.size,
                    static_cast<unsigned int>(question.text.size() - question.size));
}

void textArrived(uv_stream_t* stream, ssize_t count, const uv_buf_t* /*buffer*/) noexcept
{
    VersionQuestion& question = questionOf(stream);
    if (count > 0)
        question.size += static_cast<std::size_t>(count);
    if (question.size == question.text.size()) {
        question.size = 0;
        return killQuestion(question);
    }
    if (count >= 0)
        return;
    closeHandle(asHandle(question.output));
    if (uv_is_closing(asHandle(question.process)))
        closeAll(question);
}

} // namespace

int startNorv(uv_loop_t* loop, uv_process_t* process, uv_exit_cb ended, uv_pipe_t* input,
              uv_pipe_t* output, const std::string& norv,
              const std::vector<std::string>& arguments)
{
    const std::vector<std::string> command = dependentCommand(norv, arguments);
    std::vector<char*> pointers;
    pointers.reserve(command.size() + 1);
    for (const std::string& argument : command)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    std::array<uv_stdio_container_t, 4> streams{};
    streams[0].flags = UV_IGNORE;
    if (input) {
        streams[0].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_READABLE_PIPE);
        streams[0].data.stream = reinterpret_cast<uv_stream_t*>(input);
    }
    streams[1].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
    streams[1].data.stream = reinterpret_cast<uv_stream_t*>(output);
    streams[2].flags = UV_IGNORE;
    streams[3].flags = UV_INHERIT_FD;
    streams[3].data.fd = dependentDescriptor();

    uv_process_options_t options{};
    options.file = pointers.front();
    options.args = pointers.data();
    options.exit_cb = ended;
    options.flags = UV_PROCESS_WINDOWS_HIDE;
    options.stdio = streams.data();
    options.stdio_count = dependentDescriptor() == -1 ? 3 : 4;
    return uv_spawn(loop, process, &options);
}

void askForVersion(VersionQuestion& question, uv_loop_t* loop, const std::string& norv,
                   std::function<void(std::string)> answered)
{
    question.answered = std::move(answered);
    uv_pipe_init(loop, &question.output, 0);
    uv_timer_init(loop, &question.timer);
    question.process.data = question.output.data = question.timer.data = &question;
    question.openHandles = 3;
    if (startNorv(loop, &question.process, processEnded, nullptr, &question.output, norv,
                  {"?"}) != 0)
        return closeAll(question);
    uv_timer_start(&question.timer, answerOverdue, answerMilliseconds, 0);
    if (uv_read_start(reinterpret_cast<uv_stream_t*>(&question.output), giveRoom,
                      textArrived) != 0)
        killQuestion(question);
}

void killQuestion(VersionQuestion& question)
{
    closeHandle(asHandle(question.output));
    if (!uv_is_closing(asHandle(question.process)))
        uv_process_kill(&question.process, SIGKILL);
    else
        closeAll(question);
}
