#include "ctl/formats.h"

#include "ctl/dh_parameters.h"
#include "ctl/json_form.h"
#include "tests/ctl/known_primes.h"
#include "tests/fakes/clock.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

SecretNumber secret(std::string_view digits)
{
    return SecretNumber(fromHex(digits).release());
}

Found example(const char* prime = safe64)
{
    Found found;
    found.prime = secret(prime);
    found.base = secret("A00000000000");
    found.safe = true;
    found.bits = BN_num_bits(found.prime.get());
    found.threads = 2;
    found.seconds = 0.5;
    found.norvVersion = "1.0";
    found.tried = 64;
    return found;
}

std::string written(const Found& found, Format format)
{
    return inFormat(found, format).value_or("none");
}

TEST(InFormat, WritesHexAsOneLineInLowerCase)
{
    EXPECT_EQ("8000000000000a77\n", written(example(), Format::hex));
}

TEST(InFormat, WritesDecimalAsOneLine)
{
    EXPECT_EQ("9223372036854778487\n", written(example(), Format::dec));
}

TEST(InFormat, WritesPemAndDerWithTheSmallestGenerator)
{
    EXPECT_EQ("-----BEGIN DH PARAMETERS-----\n"
              "MA4CCQCAAAAAAAAKdwIBAg==\n"
              "-----END DH PARAMETERS-----\n",
              written(example(), Format::pem));
    const std::string der = written(example(safe64WithoutSquareTwo), Format::der);
    const auto parameters = decodeDhParameters(der, Encoding::der);
    ASSERT_TRUE(parameters);
    EXPECT_EQ("8000000000005E83", toHex(parameters->prime.get()));
    EXPECT_EQ("3", toHex(parameters->generator.get()));
}

TEST(InFormat, WritesJsonWithTheBaseInItsFullSize)
{
    Found found = example();
    found.fromText = "a text";
    const auto read = readJson(written(found, Format::json));
    ASSERT_TRUE(std::holds_alternative<JsonForm>(read));
    const auto& form = std::get<JsonForm>(read);
    EXPECT_TRUE(form.safe);
    EXPECT_EQ(64, form.bits);
    EXPECT_EQ("8000000000000a77", form.prime);
    EXPECT_EQ("0000a00000000000", form.base);
    EXPECT_EQ("a text", form.from);
    EXPECT_EQ(2, form.threads);
    EXPECT_EQ(0.5, form.seconds);
    EXPECT_EQ("1.0", form.norvVersion);
    EXPECT_EQ(norvctlVersion(), form.norvctlVersion);
    EXPECT_EQ(libcryptoVersion(), form.libcryptoVersion);
}

TEST(InFormat, WritesAnArrayInC)
{
    Found found = example("800000000000000000000000000123456789ab");
    found.safe = false;
    EXPECT_EQ(
        "/* A prime of 152 bits, the most significant byte first. */\n"
        "static const unsigned char prime[19] = {\n"
        "    0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,\n"
        "    0x00, 0x01, 0x23, 0x45, 0x67, 0x89, 0xab\n"
        "};\n"
        "static const unsigned int prime_length = 19;\n",
        written(found, Format::c));
    EXPECT_EQ(0u, written(example(), Format::c).find("/* A safe prime of 64 bits"));
}

class ModuliLine : public testing::Test
{
protected:
    // A line that is written so many seconds after 1970.
    static std::string lineAt(std::int64_t seconds, const Found& found)
    {
        fakeCalendarTime = [seconds] {
            return seconds;
        };
        return written(found, Format::moduli);
    }
};

TEST_F(ModuliLine, HasItsSevenFields)
{
    EXPECT_EQ("20260102030405 2 6 64 63 2 8000000000000A77\n",
              lineAt(1767323045, example()));
}

TEST_F(ModuliLine, CountsTheTestsThatWereMade)
{
    Found found = example(safe64WithoutSquareTwo);
    found.tried = 192;
    EXPECT_EQ("19700101000000 2 6 192 63 3 8000000000005E83\n", lineAt(0, found));
}

TEST_F(ModuliLine, KnowsLeapDays)
{
    EXPECT_EQ("20240229235959", lineAt(1709251199, example()).substr(0, 14));
    EXPECT_EQ("21000301000000", lineAt(4107542400, example()).substr(0, 14));
}

TEST(NeedsSafePrime, IsSoForDhParametersAndModuli)
{
    for (const Format format : {Format::pem, Format::der, Format::moduli})
        EXPECT_TRUE(needsSafePrime(format));
    for (const Format format : {Format::hex, Format::dec, Format::json, Format::c})
        EXPECT_FALSE(needsSafePrime(format));
}

class FormatWithoutMemory : public testing::TestWithParam<Format>
{
};

// Each allocation of libcrypto fails once. Either the form is whole or there is none.
TEST_P(FormatWithoutMemory, IsWholeOrAbsent)
{
    const Found found = example(oakley1024);
    const std::string whole = written(found, GetParam());
    failCryptoAllocation(-1);
    ASSERT_EQ(whole, written(found, GetParam()));
    const int count = cryptoAllocations();
    int absent = 0;
    for (int i = 0; i < count; ++i) {
        failCryptoAllocation(i);
        const auto form = inFormat(found, GetParam());
        failCryptoAllocation(-1);
        absent += !form;
        if (form) {
            EXPECT_EQ(whole, *form) << i;
        }
    }
    if (GetParam() == Format::pem || GetParam() == Format::der) {
        EXPECT_GT(absent, 10);
    }
    const int before = cryptoBlocks();
    for (int i = 0; i < count; ++i) {
        failCryptoAllocation(i);
        inFormat(found, GetParam());
    }
    failCryptoAllocation(-1);
    // For the DH parameters libcrypto 3.0 itself loses a block at two of its calls.
    EXPECT_LE(cryptoBlocks() - before, 2);
}

constexpr const char* names[] = {"Hex", "Dec", "Pem", "Der", "Json", "C", "Moduli"};

INSTANTIATE_TEST_SUITE_P(, FormatWithoutMemory,
                         testing::Values(Format::hex, Format::dec, Format::pem,
                                         Format::der, Format::json, Format::c,
                                         Format::moduli),
                         [](const auto& test) {
                             return names[static_cast<int>(test.param)];
                         });

} // namespace
