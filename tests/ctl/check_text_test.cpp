#include "ctl/check_text.h"

#include "ctl/dh_parameters.h"
#include "ctl/formats.h"
#include "ctl/from_text.h"
#include "ctl/number_text.h"
#include "tests/ctl/known_primes.h"
#include "tests/fakes/crypto_memory.h"
#include "tests/support/big.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace
{

// What is said about a text, with the exit code before it.
std::string check(std::string_view text, bool safe = false,
                  const RepeatSearch& repeat = {})
{
    const CheckAnswer answer = checkText(text, safe, repeat);
    return std::to_string(answer.exitCode) + " " + answer.answer + answer.error;
}

struct Text {
    const char* name;
    std::string text;
    std::string result;

    friend std::ostream& operator<<(std::ostream& out, const Text& shown)
    {
        return out << shown.name;
    }
};

class CheckText : public testing::TestWithParam<Text>
{
};

TEST_P(CheckText, Says)
{
    EXPECT_EQ(GetParam().result, check(GetParam().text));
}

std::string bytes(std::initializer_list<int> values)
{
    std::string text;
    for (const int value : values)
        text += static_cast<char>(value);
    return text;
}

// The parameters of safe64 with another generator, whose bytes begin with a bit 0.
std::string derOfSafe64(const std::string& generator)
{
    const std::string numbers = bytes({2, 9, 0, 0x80, 0, 0, 0, 0, 0, 0x0a, 0x77, 2,
                                       static_cast<int>(generator.size())}) +
                                generator;
    return bytes({0x30, static_cast<int>(numbers.size())}) + numbers;
}

std::string subgroup(const std::string& base64)
{
    return "-----BEGIN X9.42 DH PARAMETERS-----\n" + base64 +
           "\n-----END X9.42 DH PARAMETERS-----\n";
}

// What norv prints.
const std::string norvMessages = "\nGeneration is started!\n"
                                 "Safe prime 64 bits in 3 threads.\n"
                                 ".*..*!*!\n"
                                 "Generation finished 0 seconds\n"
                                 "Safe prime 64 bits in 4 threads.\n"
                                 "Result:";

const std::string unreadable = "; check reads hex, decimal, PEM, DER and norvctl's JSON";

std::string pem(const char* prime, BN_ULONG generator)
{
    return *encodeDhParameters(fromHex(prime).get(), generator, Encoding::pem);
}

const Text texts[] = {
    {"ASafePrimeInHex", safe64, "0 hex: a safe prime of 64 bits\n"},
    {"APrimeInHex", "0x80:00:00:00:00:00:00:1d\n", "0 hex: a prime of 64 bits\n"},
    {"AComposite", "8000000000000001", "1 decimal: not a prime, 53 bits\n"},
    {"ACompositeInHex", "80 00000000000001", "1 hex: not a prime, 64 bits\n"},
    {"ASafePrimeInDecimal", "9223372036854778487\r\n",
     "0 decimal: a safe prime of 64 bits\n"},
    {"Zero", "0", "1 decimal: not a prime, 0 bits\n"},
    {"One", "1", "1 decimal: not a prime, 1 bits\n"},
    {"Two", "2", "0 decimal: a prime of 2 bits\n"},
    {"AnEvenNumber", "8000000000000a76", "1 hex: not a prime, 64 bits\n"},
    {"TheOutputOfNorvWithoutMessages", "80 00 00 00 00 00 0A 77 ",
     "0 hex: a safe prime of 64 bits\n"},
    {"TheOutputOfNorvWithMessages", norvMessages + "80 00 00 00 00 00 0A 77 ",
     "0 output of norv: a safe prime of 64 bits\n"},
    {"NotTheSizeThatNorvTells", norvMessages + "07 ",
     "1 output of norv: 3 bits, not 64\n"},
    {"NotTheKindThatNorvTells", norvMessages + "80 00 00 00 00 00 00 1D ",
     "1 output of norv: a prime of 64 bits, not a safe prime\n"},
    {"TheOutputOfNorvWithoutANumber", norvMessages + "\n0 ",
     "2 cannot read this as output of norv: line 8, column 1: an odd number of hex "
     "digits, 1" +
         unreadable},
    {"TheOutputOfNorvBroken", norvMessages + "80 0z",
     "2 cannot read this as output of norv: line 7, column 12: 'z' is not a hex digit" +
         unreadable},
    {"Pem", pem(oakley1024, 2),
     "0 PEM: a safe prime of 1024 bits; generator 2 of order (p-1)/2\n"},
    {"PemOfTheWholeGroup", pem(safe64WithoutSquareTwo, 2),
     "0 PEM: a safe prime of 64 bits; generator 2 of order p-1\n"},
    {"PemWithAUselessGenerator", pem(safe64, 1),
     "1 PEM: a safe prime of 64 bits; generator 1 of order 1 or 2\n"},
    {"PemWithoutASafePrime", pem(plain64, 2),
     "1 PEM: a prime of 64 bits, not a safe prime\n"},
    {"PemWithoutAPrime", pem("8000000000000001", 2), "1 PEM: not a prime, 64 bits\n"},
    {"BrokenPem", "-----BEGIN DH PARAMETERS-----\n",
     "2 cannot read this as PEM: no Diffie-Hellman parameters" + unreadable},
    {"Der", *encodeDhParameters(fromHex(safe64).get(), 2, Encoding::der),
     "0 DER: a safe prime of 64 bits; generator 2 of order (p-1)/2\n"},
    {"LongDer", *encodeDhParameters(fromHex(oakley1024).get(), 2, Encoding::der),
     "0 DER: a safe prime of 1024 bits; generator 2 of order (p-1)/2\n"},
    {"ALargeGenerator", derOfSafe64(bytes({0, 0x80, 0, 0, 0, 0, 0, 0x0a, 0x75})),
     "0 DER: a safe prime of 64 bits; generator 9223372036854778485 of order p-1\n"},
    {"TheLargestGenerator", derOfSafe64(bytes({0, 0x80, 0, 0, 0, 0, 0, 0x0a, 0x76})),
     "1 DER: a safe prime of 64 bits; generator 9223372036854778486 of order 1 or 2\n"},
    {"AGeneratorAboveThePrime", derOfSafe64(bytes({0, 0x80, 0, 0, 0, 0, 0, 0x0a, 0x79})),
     "1 DER: a safe prime of 64 bits; generator 9223372036854778489 not from 1 to p-1\n"},
    {"AHugeGenerator", derOfSafe64(std::string(100, '\x7f')),
     "1 DER: a safe prime of 64 bits; the generator not from 1 to p-1\n"},
    {"OtherDer", bytes({0x30, 0x03, 0x02, 0x01, 0x07}),
     "2 cannot read this as DER: no Diffie-Hellman parameters" + unreadable},
    // p = 23 = 2 * 11 + 1 and p = 43 = 2 * 3 * 7 + 1
    {"ASubgroup", subgroup("MAkCARcCAQQCAQs="), // g = 4, q = 11
     "0 PEM: a safe prime of 5 bits; generator 4 of order q, a prime of 4 bits\n"},
    {"ASubgroupOfAnotherOrder", subgroup("MAkCARcCAQUCAQs="), // g = 5, q = 11
     "1 PEM: a safe prime of 5 bits; generator 5 not of order q\n"},
    {"ASubgroupOfGeneratorOne", subgroup("MAkCARcCAQECAQs="), // g = 1, q = 11
     "1 PEM: a safe prime of 5 bits; generator 1 not from 2 to p-1\n"},
    {"ASubgroupOfAGeneratorThatIsThePrime", subgroup("MAkCARcCARcCAQs="), // g = p, q = 11
     "1 PEM: a safe prime of 5 bits; generator 23 not from 2 to p-1\n"},
    {"ASubgroupThatIsNone", subgroup("MAkCARcCAQQCAQc="), // g = 4, q = 7
     "1 PEM: a safe prime of 5 bits; q does not divide p-1\n"},
    {"ASubgroupThatIsNoneOfNoPrimeOrder", subgroup("MAkCARcCAQUCAQY="), // g = 5, q = 6
     "1 PEM: a safe prime of 5 bits; q does not divide p-1\n"},
    {"ASubgroupLargerThanTheGroup", subgroup("MAkCARcCAQQCASE="), // g = 4, q = 33
     "1 PEM: a safe prime of 5 bits; q does not divide p-1\n"},
    {"ASubgroupOfOrderZero", subgroup("MAkCARcCAQQCAQA="), // g = 4, q = 0
     "1 PEM: a safe prime of 5 bits; q is not a prime\n"},
    {"ASubgroupOfOrderOne", subgroup("MAkCARcCAQQCAQE="), // g = 4, q = 1
     "1 PEM: a safe prime of 5 bits; q is not a prime\n"},
    {"ASmallSubgroup", subgroup("MAkCASsCAQQCAQc="), // g = 4, q = 7
     "0 PEM: a prime of 6 bits; generator 4 of order q, a prime of 3 bits\n"},
    {"ASubgroupOfHalfThatIsNoPrime", subgroup("MAkCASsCAQkCARU="), // g = 9, q = 21
     "1 PEM: a prime of 6 bits; q is not a prime\n"},
    {"ASubgroupOfNoPrimeOrder", subgroup("MAkCASsCAQcCAQY="), // g = 7, q = 6
     "1 PEM: a prime of 6 bits; q is not a prime\n"},
    {"BrokenJson", "{\"kind\"", "1 JSON: line 1, column 8: not valid JSON\n"},
    {"LinesOfModuli",
     "20261122000000 2 6 100 63 2 8000000000000A77\n"
     "20261122000000 2 6 100 63 5 8000000000005E83\n",
     "2 cannot read this as a line of moduli(5): 'ssh-keygen -M screen' tests those" +
         unreadable},
    {"HexInGroups", "80000000 00 0 0 0 a 77\n", "0 hex: a safe prime of 64 bits\n"},
    {"Nothing", "",
     "2 cannot read this as hex: line 1, column 1: no hex digit" + unreadable},
    {"Words", "a prime",
     "2 cannot read this as hex: line 1, column 3: 'p' is not a hex "
     "digit" +
         unreadable},
};

INSTANTIATE_TEST_SUITE_P(, CheckText, testing::ValuesIn(texts),
                         [](const auto& test) { return test.param.name; });

TEST(CheckTextForASafePrime, WantsOne)
{
    EXPECT_EQ("0 hex: a safe prime of 64 bits\n", check(safe64, true));
    EXPECT_EQ("1 hex: a prime of 64 bits, not a safe prime\n", check(plain64, true));
}

TEST(CheckTextOfManyBits, StopsAtTheLargestSize)
{
    const std::string der = *encodeDhParameters(
        fromHex("1" + std::string(16384, '0')).get(), 2, Encoding::der);
    EXPECT_EQ("1 DER: 65537 bits, more than 65536\n", check(der));
}

// The first safe prime after the base that belongs to "a text".
Found fromText()
{
    Found found;
    found.prime = SecretNumber(fromHex("808d506bf120f25944287ef6ffaa52af").release());
    found.base = SecretNumber(baseFromText("a text", 128, true).release());
    found.safe = true;
    found.bits = 128;
    found.threads = 1;
    found.seconds = 0.25;
    found.norvVersion = "1.0";
    found.fromText = "a text";
    return found;
}

std::string jsonOf(const Found& found)
{
    return *inFormat(found, Format::json);
}

TEST(CheckTextOfJson, DerivesTheBaseAnew)
{
    EXPECT_EQ("0 JSON: a safe prime of 128 bits; the base follows from the text\n",
              check(jsonOf(fromText())));
    Found found = fromText();
    found.fromText = "another text";
    EXPECT_EQ(
        "1 JSON: a safe prime of 128 bits; the base does not follow from the text\n",
        check(jsonOf(found)));
}

TEST(CheckTextOfJson, ReadsATextThatHoldsWhatOtherFormsBeginWith)
{
    Found found = fromText();
    found.fromText = "-----BEGIN a text, Result:";
    const std::string said =
        "1 JSON: a safe prime of 128 bits; the base does not follow from the text\n";
    EXPECT_EQ(said, check(jsonOf(found)));
    EXPECT_EQ(said, check(" \r\n" + jsonOf(found)));
}

TEST(CheckTextOfJson, WantsOneThreadWhereThereIsAText)
{
    Found found = fromText();
    found.threads = 2;
    EXPECT_EQ("1 JSON: a safe prime of 128 bits; a search from a text has one thread, "
              "not 2\n",
              check(jsonOf(found)));
    found.fromText.clear();
    EXPECT_EQ("0 JSON: a safe prime of 128 bits\n", check(jsonOf(found)));
}

TEST(CheckTextOfJson, NeedsNoText)
{
    Found found = fromText();
    found.fromText.clear();
    EXPECT_EQ("0 JSON: a safe prime of 128 bits\n", check(jsonOf(found)));
}

TEST(CheckTextOfJson, ChecksTheClaim)
{
    Found found = fromText();
    found.prime = SecretNumber(fromHex("8000000000000000000000000000001d").release());
    EXPECT_EQ("1 JSON: 128 bits, not above its base\n", check(jsonOf(found)));
    found.base = SecretNumber(fromHex("1").release());
    found.fromText.clear();
    EXPECT_EQ("1 JSON: a prime of 128 bits, not a safe prime\n", check(jsonOf(found)));
    found.safe = false;
    EXPECT_EQ("0 JSON: a prime of 128 bits\n", check(jsonOf(found)));
    EXPECT_EQ("1 JSON: a prime of 128 bits, not a safe prime\n",
              check(jsonOf(found), true));
    BN_add_word(found.prime.get(), 2);
    EXPECT_EQ("1 JSON: not a prime, 128 bits\n", check(jsonOf(found)));
    BN_rshift1(found.prime.get(), found.prime.get());
    EXPECT_EQ("1 JSON: 127 bits, not 128\n", check(jsonOf(found)));
}

TEST(CheckTextOfJson, FindsAnotherLetterAtEveryPlace)
{
    const std::string text = jsonOf(fromText());
    for (std::size_t position = 0; position < text.size(); ++position)
        for (const char letter : {'x', 'e', '0', '1', '"', '}', '{', '-'}) {
            std::string changed = text;
            changed[position] = letter;
            if (changed != text) {
                EXPECT_NE(0, checkText(changed, false, {}).exitCode) << changed;
            }
        }
}

// A search that notes its arguments and finds `prime`.
struct Replay {
    std::string prime;
    std::string arguments = {};

    RepeatSearch search()
    {
        return [this](const BIGNUM* base, int bits, bool safe) {
            arguments =
                toHex(base) + " " + std::to_string(bits) + (safe ? " safe" : " plain");
            return RepeatedSearch{SecretNumber(fromHex(prime).release()), 0, {}};
        };
    }
};

TEST(CheckTextWithReplay, SearchesAgainFromTheBase)
{
    Replay replay{"808d506bf120f25944287ef6ffaa52af"};
    EXPECT_EQ("0 JSON: a safe prime of 128 bits; the base follows from the text; the "
              "search made again finds the same prime\n",
              check(jsonOf(fromText()), false, replay.search()));
    EXPECT_EQ("808D506BF120F25944287EF6FFAA3F51 128 safe", replay.arguments);
}

TEST(CheckTextWithReplay, TellsAnotherPrime)
{
    Replay replay{"7"};
    EXPECT_EQ("1 JSON: a safe prime of 128 bits; the base follows from the text; the "
              "search made again finds another prime\n",
              check(jsonOf(fromText()), false, replay.search()));
}

TEST(CheckTextWithReplay, PassesOnWhyNothingWasFound)
{
    const RepeatSearch search = [](const BIGNUM*, int, bool) {
        return RepeatedSearch{nullptr, 124, "out of time"};
    };
    EXPECT_EQ("124 out of time", check(jsonOf(fromText()), false, search));
}

TEST(CheckTextWithReplay, DoesNotSearchForWhatIsWrongAnyway)
{
    Replay replay{"7"};
    Found found = fromText();
    found.fromText = "another text";
    check(jsonOf(found), false, replay.search());
    EXPECT_EQ("", replay.arguments);
}

TEST(CheckTextWithReplay, NeedsJsonOfOneThread)
{
    Replay replay{"7"};
    const std::string refused = "2 --replay needs the JSON of a search with one thread";
    EXPECT_EQ(refused, check(safe64, false, replay.search()));
    Found found = fromText();
    found.threads = 2;
    EXPECT_EQ(refused, check(jsonOf(found), false, replay.search()));
    EXPECT_EQ("", replay.arguments);
}

// How many blocks libcrypto gets back with the prime or with (p-1)/2 in them while this
// runs.
template <typename Run>
int blocksWith(const BIGNUM* prime, const Run& run)
{
    const BigNumber half = fromHex("0");
    BN_rshift1(half.get(), prime);
    int blocks = 0;
    for (const BIGNUM* secret : {prime, static_cast<const BIGNUM*>(half.get())}) {
        watchForNumber(secret);
        run();
        blocks += blocksWithTheNumber();
        watchForNumber(nullptr);
    }
    return blocks;
}

TEST(CheckTextOfASecret, LeavesNoNumberInFreedMemory)
{
    const BigNumber prime = fromHex(oakley1024);
    EXPECT_LT(0,
              blocksWith(prime.get(), [] { fromHex(oakley1024); })); // it would be seen
    Found found = fromText();
    found.prime = SecretNumber(BN_dup(prime.get()));
    found.base = SecretNumber(BN_dup(prime.get()));
    BN_sub_word(found.base.get(), 2);
    found.bits = 1024;
    found.fromText.clear();
    for (const std::string& text :
         {std::string(oakley1024), decimalText(prime.get()), jsonOf(found)})
        EXPECT_EQ(0, blocksWith(prime.get(), [&text] { EXPECT_EQ('0', check(text)[0]); }))
            << text;
}

// The parameters of a prime of 1024 bits with generator 2 and with q = (p-1)/2.
std::string derWithHalf(const BIGNUM* prime)
{
    constexpr std::size_t headerSize = 3;
    const BigNumber half = fromHex("0");
    BN_rshift1(half.get(), prime);
    std::string order(128, '\0');
    BN_bn2bin(half.get(), reinterpret_cast<unsigned char*>(order.data()));
    const std::string numbers =
        encodeDhParameters(prime, 2, Encoding::der)->substr(headerSize) +
        bytes({2, 0x81, 0x80}) + order;
    return bytes({0x30, 0x82, static_cast<int>(numbers.size() / 256),
                  static_cast<int>(numbers.size() % 256)}) +
           numbers;
}

TEST(CheckTextOfASecret, LeavesNoMoreOfParametersThanLibcryptoDoes)
{
    const BigNumber prime = fromHex(oakley1024);
    for (const std::string& der :
         {*encodeDhParameters(prime.get(), 2, Encoding::der), derWithHalf(prime.get())}) {
        const int left =
            blocksWith(prime.get(), [&der] { decodeDhParameters(der, Encoding::der); });
        EXPECT_EQ(left,
                  blocksWith(prime.get(), [&der] { EXPECT_EQ('0', check(der)[0]); }));
    }
}

} // namespace
