// norv as a child process.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <uv.h>
#include <vector>

// What to say where the system lacks processes, files or memory for a child.
inline constexpr char noRoom[] = "the system has no room for another process";

// Starts the program at `norv` with these arguments, as a dependent of this process, its
// standard error lost. `process` has no callback before `ended`. The pipes are open for
// this process's ends of the streams; without `input` norv reads nothing. Returns the
// library's error, or 0. Throws std::bad_alloc.
int startNorv(uv_loop_t* loop, uv_process_t* process, uv_exit_cb ended, uv_pipe_t* input,
              uv_pipe_t* output, const std::string& norv,
              const std::vector<std::string>& arguments);

// A run of norv that is asked for its usage. It belongs to who asked, and stays where it
// is until `answered` is called.
struct VersionQuestion {
    std::function<void(std::string)> answered;
    std::array<char, 4096> text = {};
    std::size_t size = 0;
    int openHandles = 0;

    uv_process_t process = {};
    uv_pipe_t output = {};
    uv_timer_t timer = {};
};

// Asks for the version that the program names when it is asked for its usage. `answered`
// is called once from the loop, with a version such as "1.0", or with an empty text when
// the program does not answer as norv does or within ten seconds. Throws std::bad_alloc.
void askForVersion(VersionQuestion& question, uv_loop_t* loop, const std::string& norv,
                   std::function<void(std::string)> answered);

// Ends the run at once; `answered` is called nevertheless.
void killQuestion(VersionQuestion& question);
