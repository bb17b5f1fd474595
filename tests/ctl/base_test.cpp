#include "ctl/base.h"

#include "tests/platform/temporary_folder.h"
#include "tests/support/big.h"

namespace
{

std::string spread(const char* base, int bits, Share share)
{
    return toHex(spreadBase(fromHex(base).get(), bits, share).get());
}

TEST(SpreadBase, LeavesTheFirstAsItIs)
{
    EXPECT_EQ("1", spread("1", 64, {0, 3}));
    EXPECT_EQ("FFFFFFFFFFFFFFFF", spread("FFFF'FFFF'FFFF'FFFF", 64, {0, 1}));
}

TEST(SpreadBase, PutsTheOthersEvenlyAbove)
{
    EXPECT_EQ("A000000000000001", spread("1", 64, {1, 4}));
    EXPECT_EQ("E000000000000001", spread("1", 64, {3, 4}));
    EXPECT_EQ("A000000000000001", spread("8000'0000'0000'0001", 64, {1, 4}));
}

TEST(SpreadBase, WrapsAroundWithinTheSize)
{
    EXPECT_EQ("9FFFFFFFFFFFFFFF", spread("FFFF'FFFF'FFFF'FFFF", 64, {1, 4}));
    EXPECT_EQ("A000000000000000", spread("E000'0000'0000'0000", 64, {2, 4}));
}

TEST(RandomBase, LiesInItsShare)
{
    for (int i = 0; i < 16; ++i)
        for (int round = 0; round < 20; ++round) {
            const std::string base = toHex(randomBase(64, {i, 16}).get());
            ASSERT_EQ(16U, base.size());
            const int top = std::stoi(base.substr(0, 2), nullptr, 16);
            EXPECT_EQ(i, (top - 0x80) / 8) << base;
        }
}

TEST(RandomBase, HasTheSizeAndIsAnotherOneEachTime)
{
    const std::string one = toHex(randomBase(512, {0, 1}).get());
    const std::string other = toHex(randomBase(512, {0, 1}).get());
    EXPECT_EQ(128U, one.size());
    EXPECT_LE('8', one[0]);
    EXPECT_NE(one, other);
    // Each bit below the highest one is drawn.
    BigNumber all = fromHex("0");
    for (int i = 0; i < 64; ++i) {
        const SecretNumber base = randomBase(64, {0, 1});
        for (int bit = 0; bit < 63; ++bit)
            if (BN_is_bit_set(base.get(), bit))
                BN_set_bit(all.get(), bit);
    }
    EXPECT_EQ("7FFFFFFFFFFFFFFF", toHex(all.get()));
}

std::string described(const std::variant<SecretNumber, std::string>& base)
{
    const std::string* wrong = std::get_if<std::string>(&base);
    return wrong ? *wrong : toHex(std::get<SecretNumber>(base).get());
}

TEST(BaseFromHex, HasExactlyTheDigitsOfTheSize)
{
    EXPECT_EQ("12", described(baseFromHex("0000000000000012", 64)));
    EXPECT_EQ("14 hex digits, but BITS 64 needs 16",
              described(baseFromHex("00000000000012", 64)));
    EXPECT_EQ("18 hex digits, but BITS 64 needs 16",
              described(baseFromHex("000000000000000012", 64)));
}

TEST(BaseFromFile, IsThatOfItsText)
{
    const TemporaryFolder folder;
    writeFile(folder / "base", "0x80:00:00:00\n00 00 00 12\r\n");
    EXPECT_EQ("8000000000000012",
              described(baseFromFile((folder / "base").string(), 64)));
    EXPECT_EQ("No such file or directory",
              described(baseFromFile((folder / "none").string(), 64)));
    writeFile(folder / "long", std::string((1 << 20) + 1, ' '));
    EXPECT_EQ("it has more than 1048576 bytes",
              described(baseFromFile((folder / "long").string(), 64)));
}

} // namespace
