#include "app/command_line.h"

#include "platform/text.h"

#include <algorithm>
#include <cwchar>

namespace
{

constexpr std::int32_t notFound = -1;

// Walks `text` and calls start(position) where an argument starts, and
// end(position) at the blank or the quote that ends one.
template <typename Text, typename Start, typename End>
void walkArguments(Text* text, Start start, End end)
{
    enum class State { outside, word, quotes };
    State state = State::outside;
    for (; *text != L'\0'; ++text) {
        switch (state) {
        case State::outside:
            if (*text == L'"') {
                state = State::quotes;
                start(text + 1);
            } else if (*text != L' ') {
                state = State::word;
                start(text);
            }
            break;
        case State::word:
        case State::quotes:
            // docs/fixed-behaviour.md: plain-quotes
            if (*text == (state == State::word ? L' ' : L'"')) {
                state = State::outside;
                end(text);
            }
            break;
        }
    }
}

std::int32_t findExact(const CommandLine& commandLine, const wchar_t* name)
{
    // docs/fixed-behaviour.md: program-path
    for (std::int32_t i = commandLine.count - 1; i >= 0; --i)
        if (compareIgnoringCase(commandLine.args[static_cast<std::size_t>(i)], name) == 0)
            return i;
    return notFound;
}

std::int32_t findPrefix(const CommandLine& commandLine, const wchar_t* name)
{
    const std::size_t length = std::wcslen(name);
    for (std::int32_t i = commandLine.count - 1; i >= 0; --i)
        if (compareIgnoringCase(commandLine.args[static_cast<std::size_t>(i)], name,
                                length) == 0)
            return i;
    return notFound;
}

// Takes the argument after `index` as the value, if there is one, and removes both from
// the list. Returns 0 when there is no argument after it.
int takeNext(CommandLine& commandLine, std::int32_t index, const wchar_t*& value)
{
    if (index + 1 < commandLine.count)
        value = commandLine.args[static_cast<std::size_t>(index) + 1];
    const int removedNext = removeArg(commandLine, index + 1);
    return removeArg(commandLine, index) && removedNext;
}

} // namespace

void tokenize(CommandLine& commandLine, const wchar_t* source)
{
    const std::size_t size = std::wcslen(source) + 1;
    commandLine = {};
    commandLine.text = WipedText(new wchar_t[size], WipedTextFree{size});
    std::copy_n(source, size, commandLine.text.get());

    std::int32_t count = 0;
    const auto ignoreEnd = [](const wchar_t*) {
    };
    walkArguments(
        source, [&count](const wchar_t*) { ++count; }, ignoreEnd);
    if (count == 0)
        return;

    commandLine.args.reset(new wchar_t*[static_cast<std::size_t>(count)]);
    std::int32_t stored = 0;
    const auto store = [&](wchar_t* argument) {
        if (stored < count)
            commandLine.args[static_cast<std::size_t>(stored)] = argument;
        ++stored;
    };
    walkArguments(commandLine.text.get(), store, [](wchar_t* end) { *end = L'\0'; });
    commandLine.count = stored == count ? count : 0;
}

int removeArg(CommandLine& commandLine, std::int32_t index)
{
    if (index < 0 || index >= commandLine.count)
        return 0;
    wchar_t** removed = commandLine.args.get() + index;
    std::copy(removed + 1, commandLine.args.get() + commandLine.count, removed);
    --commandLine.count;
    return 1;
}

int getOption(CommandLine& commandLine, const wchar_t* name, const wchar_t*& value,
              const wchar_t* defaultValue)
{
    // docs/fixed-behaviour.md: exact-first, last-option, any-value
    const std::int32_t exact = findExact(commandLine, name);
    if (exact != notFound)
        return exact + 1 < commandLine.count && takeNext(commandLine, exact, value);

    value = defaultValue;
    const std::int32_t prefixed = findPrefix(commandLine, name);
    if (prefixed == notFound)
        return 0;
    const wchar_t* rest =
        commandLine.args[static_cast<std::size_t>(prefixed)] + std::wcslen(name);
    if (rest[0] == L'=' && rest[1] == L'\0')
        return takeNext(commandLine, prefixed, value);
    value = rest[0] == L'=' ? rest + 1 : rest;
    return removeArg(commandLine, prefixed);
}

std::uint8_t takeFlag(CommandLine& commandLine, const wchar_t* name)
{
    return removeArg(commandLine, findExact(commandLine, name)) ? 1 : 0;
}
