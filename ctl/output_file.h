// Where the results of a run go.
#pragma once

#include "ctl/secret_text.h"
#include "platform/whole_file.h"

#include <string>
#include <string_view>

// Standard output when the path is empty or "-"; else a file, which holds all results
// after each of them, or stays as it was; else a device or a pipe.
struct Output {
    std::string path;
    SecretText written = {}; // what the file holds
    OpenDevice device = {};  // open from the first use to the end of the record
};

// Adds a result. Standard output, a device and a pipe have it when the function returns;
// a file is replaced by one with all results so far (see writeWhole). Returns an empty
// text, or one line for people, without a line end, that says what could not be written
// and why. Then a file is as it was before the call, and nothing was added. Throws
// std::bad_alloc.
std::string addResult(Output& output, std::string_view result);

// To be called before a long search: the line that addResult would return if it failed
// now, or an empty text. Opens a device or a pipe, and writes nothing. Throws
// std::bad_alloc.
std::string whyNotWritable(Output& output);
