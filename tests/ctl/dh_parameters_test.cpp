#include "ctl/dh_parameters.h"

#include "tests/ctl/known_primes.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <string>

namespace
{

std::string encoded(std::string_view prime, BN_ULONG generator, Encoding encoding)
{
    return encodeDhParameters(fromHex(prime).get(), generator, encoding).value_or("none");
}

std::string bytes(std::string_view hexDigits)
{
    std::string result;
    for (std::size_t i = 0; i < hexDigits.size(); i += 2)
        result += static_cast<char>(
            std::stoi(std::string(hexDigits.substr(i, 2)), nullptr, 16));
    return result;
}

// By hand: a sequence of 14 bytes, a number of 9 bytes, whose first is zero since the
// next one has its top bit set, and a number of one byte.
const std::string derOfSafe64 = bytes("300e0209008000000000000a77020102");

TEST(EncodeDhParameters, WritesASequenceOfPrimeAndGenerator)
{
    EXPECT_EQ(derOfSafe64, encoded(safe64, 2, Encoding::der));
}

TEST(EncodeDhParameters, WritesTheSameAsPem)
{
    EXPECT_EQ("-----BEGIN DH PARAMETERS-----\n"
              "MA4CCQCAAAAAAAAKdwIBAg==\n"
              "-----END DH PARAMETERS-----\n",
              encoded(safe64, 2, Encoding::pem));
}

TEST(DecodeDhParameters, ReadsDer)
{
    const auto found = decodeDhParameters(derOfSafe64, Encoding::der);
    ASSERT_TRUE(found);
    EXPECT_EQ("8000000000000A77", toHex(found->prime.get()));
    EXPECT_EQ("2", toHex(found->generator.get()));
    EXPECT_FALSE(found->subgroupOrder);
}

TEST(DecodeDhParameters, ReadsPemAmongOtherLines)
{
    const std::string pem = encoded(oakley1024, 5, Encoding::pem);
    const auto found = decodeDhParameters(
        "    DH Parameters: (1024 bit)\n" + pem + "end\n", Encoding::pem);
    ASSERT_TRUE(found);
    EXPECT_EQ(toHex(fromHex(oakley1024).get()), toHex(found->prime.get()));
    EXPECT_EQ("5", toHex(found->generator.get()));
}

// A public key on a curve.
const std::string otherBlock =
    "-----BEGIN PUBLIC KEY-----\n"
    "MCowBQYDK2VwAyEAGb9ECWmEzf6FQbrBZ9w7lshQhqowtrbLDFw4rXAxZuE=\n"
    "-----END PUBLIC KEY-----\n";

TEST(DecodeDhParameters, ReadsPemAfterOtherBlocks)
{
    const auto found = decodeDhParameters(
        otherBlock + otherBlock + encoded(oakley1024, 2, Encoding::pem) + otherBlock,
        Encoding::pem);
    ASSERT_TRUE(found);
    EXPECT_EQ(toHex(fromHex(oakley1024).get()), toHex(found->prime.get()));

    const auto withQ = decodeDhParameters(
        otherBlock + "-----BEGIN X9.42 DH PARAMETERS-----\nMAkCARcCAQQCAQs=\n"
                     "-----END X9.42 DH PARAMETERS-----\n",
        Encoding::pem);
    ASSERT_TRUE(withQ);
    EXPECT_TRUE(withQ->subgroupOrder);
}

// p = 23, q = 11, g = 4, as X9.42 has them.
TEST(DecodeDhParameters, ReadsAQ)
{
    const auto found = decodeDhParameters("-----BEGIN X9.42 DH PARAMETERS-----\n"
                                          "MAkCARcCAQQCAQs=\n"
                                          "-----END X9.42 DH PARAMETERS-----\n",
                                          Encoding::pem);
    ASSERT_TRUE(found);
    EXPECT_EQ("17", toHex(found->prime.get()));
    EXPECT_EQ("4", toHex(found->generator.get()));
    ASSERT_TRUE(found->subgroupOrder);
    EXPECT_EQ("B", toHex(found->subgroupOrder.get()));
}

TEST(DecodeDhParameters, ReadsBackEverySize)
{
    // The encoding does not ask whether it is a prime.
    for (const std::size_t digits : {16u, 512u, 1024u, 2560u, 16384u}) {
        const std::string number = "F" + std::string(digits - 1, '1');
        for (const Encoding encoding : {Encoding::pem, Encoding::der}) {
            const auto found = decodeDhParameters(encoded(number, 2, encoding), encoding);
            ASSERT_TRUE(found) << digits;
            EXPECT_EQ(number, toHex(found->prime.get()));
        }
    }
}

TEST(DecodeDhParameters, ReadsNothingElse)
{
    EXPECT_FALSE(decodeDhParameters("", Encoding::pem));
    EXPECT_FALSE(decodeDhParameters("", Encoding::der));
    EXPECT_FALSE(decodeDhParameters("-----BEGIN DH PARAMETERS-----\n", Encoding::pem));
    EXPECT_FALSE(decodeDhParameters(derOfSafe64.substr(0, 12), Encoding::der));
    EXPECT_FALSE(decodeDhParameters(otherBlock, Encoding::pem));
}

TEST(DecodeDhParameters, GivesNumbersThatAreWiped)
{
    const BigNumber prime = fromHex(oakley1024);
    auto found = decodeDhParameters(encoded(oakley1024, 2, Encoding::der), Encoding::der);
    watchForNumber(prime.get());
    found.reset();
    EXPECT_EQ(0, blocksWithTheNumber());
    watchForNumber(nullptr);
}

TEST(DecodeDhParameters, LeavesNoErrorInTheQueue)
{
    decodeDhParameters("nothing", Encoding::der);
    EXPECT_EQ(0u, ERR_peek_error());
}

} // namespace
