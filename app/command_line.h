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

// Splits `source` into `commandLine`. Only the blank separates. An argument that begins
// with a double quote runs to the next quote, or to the end of the line. Anywhere else a
// double quote is an ordinary character. There are no escapes. Throws std::bad_alloc.
void tokenize(CommandLine& commandLine, const wchar_t* source);

// Removes the argument at `index` from the list. Returns 1, or 0 when no argument has
// that index.
int removeArg(CommandLine& commandLine, std::int32_t index);

// Looks for the option `name` (its "-" included) and takes its value. The last argument
// that equals the name is the option, and the next argument is its value. When no
// argument equals the name, the last one that starts with it is the option. Its value is
// the rest ("-name=value", "-namevalue"), or the next argument ("-name= value").
// Returns 1 with `value` set and the arguments removed. `value` points into the command
// line. Returns 0 when there is no value to take:
//  - the name itself is the last argument: `value` and the list stay as they are;
//  - "-name=" is the last argument: it is removed, and `value` is `defaultValue`;
//  - there is no such option: `value` is `defaultValue`.
int getOption(CommandLine& commandLine, const wchar_t* name, const wchar_t*& value,
              const wchar_t* defaultValue);

// Looks for the last argument that equals `name` and removes it. Returns 1 when
// there was one, 0 otherwise.
std::uint8_t takeFlag(CommandLine& commandLine, const wchar_t* name);
