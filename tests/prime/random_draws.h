// Random bytes by script, for tests that link the fake of random_bytes.
#pragma once

#include "tests/fakes/random_bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

// Answers each draw with the next bytes of the script, put at the end of the
// buffer behind zeros; the last ones serve all further draws. As long as it lives.
class RandomDraws
{
public:
    using Bytes = std::vector<std::uint8_t>;
    using Script = std::vector<Bytes>;

    explicit RandomDraws(Script script)
        : script_(std::move(script))
        , before_(fakeRandomBytes)
    {
        fakeRandomBytes = [this](std::uint8_t* buffer, std::int32_t count) {
            return draw(buffer, count);
        };
    }
    RandomDraws(const RandomDraws&) = delete;
    RandomDraws& operator=(const RandomDraws&) = delete;
    ~RandomDraws()
    {
        fakeRandomBytes = before_;
    }

    // How many bytes each draw asked for.
    std::vector<int> counts;
    // From this draw on, counted from 0, the source gives `failure` and no bytes.
    int failsFrom = -1;
    std::int32_t failure = 0;
    // Called with each buffer before it is filled.
    std::function<void(std::uint8_t* buffer, std::int32_t count)> sees;

private:
    std::int32_t draw(std::uint8_t* buffer, std::int32_t count)
    {
        const std::size_t number = counts.size();
        counts.push_back(count);
        if (sees)
            sees(buffer, count);
        if (failsFrom >= 0 && number >= static_cast<std::size_t>(failsFrom))
            return failure;
        const Bytes& bytes = script_[std::min(number, script_.size() - 1)];
        const auto size = static_cast<std::size_t>(count);
        const std::size_t used = std::min(size, bytes.size());
        std::fill_n(buffer, size - used, std::uint8_t{0});
        std::copy_n(bytes.data(), used, buffer + (size - used));
        return count;
    }

    Script script_;
    std::function<std::int32_t(std::uint8_t*, std::int32_t)> before_;
};
