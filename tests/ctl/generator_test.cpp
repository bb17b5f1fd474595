#include "ctl/generator.h"

#include "tests/ctl/known_primes.h"
#include "tests/support/big.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace
{

BN_ULONG smallest(std::string_view prime)
{
    return smallestGenerator(fromHex(prime).get());
}

Order order(std::string_view number, std::string_view prime)
{
    return orderModulo(fromHex(number).get(), fromHex(prime).get());
}

TEST(SmallestGenerator, IsNoneOfANumberThatIsNoSafePrime)
{
    EXPECT_EQ(0U, smallest("F"));
    EXPECT_EQ(0U, smallest("F'FFFF"));
}

TEST(SmallestGenerator, IsTwoWhereTwoIsASquare)
{
    EXPECT_EQ(2u, smallest("7"));
    EXPECT_EQ(2u, smallest(safe64));
    EXPECT_EQ(2u, smallest(oakley1024));
}

TEST(SmallestGenerator, IsThreeWhereTwoIsNotASquare)
{
    EXPECT_EQ(3u, smallest("B"));
    EXPECT_EQ(3u, smallest(safe64WithoutSquareTwo));
}

// The order by multiplication until 1.
unsigned countedOrder(unsigned number, unsigned prime)
{
    unsigned order = 1;
    for (unsigned power = number; power != 1; power = power * number % prime)
        ++order;
    return order;
}

Order expectedOrder(unsigned number, unsigned prime)
{
    switch (const unsigned counted = countedOrder(number, prime); counted) {
    case 1:
    case 2:
        return Order::trivial;
    default:
        return counted == prime - 1 ? Order::whole : Order::half;
    }
}

TEST(OrderModulo, IsThatCountedForEveryNumberOfSmallSafePrimes)
{
    for (const unsigned prime : {7u, 11u, 23u, 47u, 59u, 83u, 107u, 167u, 179u, 227u}) {
        const BigNumber modulus(BN_new());
        BN_set_word(modulus.get(), prime);
        for (unsigned number = 1; number < prime; ++number) {
            const BigNumber tested(BN_new());
            BN_set_word(tested.get(), number);
            EXPECT_EQ(expectedOrder(number, prime),
                      orderModulo(tested.get(), modulus.get()))
                << number << " modulo " << prime;
        }
    }
}

TEST(OrderModulo, DoesNotExistOutsideOfTheGroup)
{
    EXPECT_EQ(Order::invalid, order("0", "17"));
    EXPECT_EQ(Order::invalid, order("17", "17"));
    EXPECT_EQ(Order::invalid, order("18", "17"));
    EXPECT_EQ(Order::invalid, order("-1", "17"));
}

TEST(OrderModulo, IsTrivialForOneAndMinusOneOfALargePrime)
{
    EXPECT_EQ(Order::trivial, order("1", safe64));
    EXPECT_EQ(Order::trivial, order("8000000000000a76", safe64));
}

} // namespace
