#include "prime/secret_array.h"

#include "tests/fakes/array_memory.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>

namespace
{

constexpr std::size_t count = 100;

class SecretArrayOfWords : public testing::Test
{
protected:
    SecretArrayOfWords()
    {
        EXPECT_TRUE(allocateSecret(items, count));
        std::fill_n(items.get(), count, 0x77777777U);
    }
    ~SecretArrayOfWords() override
    {
        arrayAllocationFails = false;
    }

    // Looks at the first `watched` items when they are given back.
    void watch(std::size_t watched)
    {
        arrayWatch = {items.get(), watched * sizeof(std::uint32_t)};
    }

    SecretArray<std::uint32_t> items;
};

TEST_F(SecretArrayOfWords, WipesWhatWasWrittenBeforeItIsFreed)
{
    noteWritten(items, 40);
    watch(40);
    items.reset();
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST_F(SecretArrayOfWords, WipesNoMoreThanThat)
{
    noteWritten(items, 40);
    std::fill_n(items.get(), 40, 0U);
    watch(41);
    items.reset();
    EXPECT_FALSE(arrayWatch.wiped);
}

TEST_F(SecretArrayOfWords, RemembersTheMostThatWasWritten)
{
    noteWritten(items, count);
    noteWritten(items, 1);
    watch(count);
    items.reset();
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST_F(SecretArrayOfWords, IsWipedByItsLastOwner)
{
    noteWritten(items, count);
    watch(count);
    {
        const SecretArray<std::uint32_t> owner = std::move(items);
        EXPECT_EQ(0x77777777U, owner[count - 1]);
        EXPECT_EQ(0, arrayWatch.releases);
    }
    EXPECT_EQ(1, arrayWatch.releases);
    EXPECT_TRUE(arrayWatch.wiped);
}

TEST_F(SecretArrayOfWords, OwnsNothingWhenMemoryIsShort)
{
    SecretArray<std::uint32_t> none;
    arrayAllocationFails = true;
    EXPECT_FALSE(allocateSecret(none, count));
    EXPECT_FALSE(none);
}

} // namespace
