// The command line: how it is split, and how options are looked up in it.
//
// Every lookup removes what it consumes, so later lookups cannot see it. All
// comparisons ignore the case of ASCII letters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <openssl/crypto.h>

// A wide string of `size` characters that is wiped before it is freed: the
// base number may be in it.
struct WipedTextFree {
    std::size_t size = 0;
    void operator()(wchar_t* text) const
    {
        OPENSSL_cleanse(text, size * sizeof(wchar_t));
        delete[] text;
    }
};
using WipedText = std::unique_ptr<wchar_t[], WipedTextFree>;

// A split command line.
struct CommandLine {
    WipedText text;                   // the whole line, cut into its arguments
    std::int32_t count = 0;           // arguments in the list
    std::unique_ptr<wchar_t*[]> args; // each points into text; 0 is the program
};

// Splits `source` into `commandLine`. Only the blank separates. A double quote
// where an argument may start begins one that runs to the next quote, or to the
// end of the line; anywhere else it is a character like any other. There are no
// escapes. Throws std::bad_alloc.
void tokenize(CommandLine& commandLine, const wchar_t* source);

// Takes the argument at `index` out of the list. Returns 1, or 0 when there is
// none.
int removeArg(CommandLine& commandLine, std::int32_t index);

// Looks for the option `name` (its "-" included) and takes its value: the last
// argument that equals the name, with the next one as value; if there is none,
// the last that starts with it, with what follows as value ("-name=value",
// "-namevalue", "-name= value").
// Returns 1 with `value` set and the arguments removed. Returns 0 with `value`
// set to `defaultValue` (a "-name=" that stands last is removed), or, when the
// name itself stands last, with nothing touched, so that the caller's preset
// holds. `value` points into the command line.
int getOption(CommandLine& commandLine, const wchar_t* name, const wchar_t*& value,
              const wchar_t* defaultValue);

// Looks for the last argument that equals `name` and removes it. Returns 1 when
// there was one, 0 otherwise.
std::uint8_t takeFlag(CommandLine& commandLine, const wchar_t* name);
