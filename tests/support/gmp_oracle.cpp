#include "tests/support/gmp_oracle.h"

#include "prime/events.h"

#include <array>
#include <cctype>
#include <gmp.h>
#include <random>

namespace oracle
{
namespace
{

// GMP's integer with an owner.
class Integer
{
public:
    Integer()
    {
        mpz_init(value_);
    }
    explicit Integer(const std::string& digits)
    {
        mpz_init_set_str(value_, digits.c_str(), 16);
    }
    Integer(const Integer& other)
    {
        mpz_init_set(value_, other.value_);
    }
    Integer& operator=(const Integer&) = delete;
    ~Integer()
    {
        mpz_clear(value_);
    }

    mpz_ptr get()
    {
        return value_;
    }
    mpz_srcptr get() const
    {
        return value_;
    }
    int bits() const
    {
        return static_cast<int>(mpz_sizeinbase(value_, 2));
    }
    std::string digits() const
    {
        std::string text(mpz_sizeinbase(value_, 16) + 2, '\0');
        mpz_get_str(text.data(), -16, value_);
        text.resize(text.find('\0'));
        return text;
    }

private:
    mpz_t value_;
};

void addOffset(Integer& number, long offset)
{
    if (offset < 0)
        mpz_sub_ui(number.get(), number.get(), static_cast<unsigned long>(-offset));
    else
        mpz_add_ui(number.get(), number.get(), static_cast<unsigned long>(offset));
}

constexpr int certain = 25;

bool isPrime(const Integer& number, bool safe)
{
    if (mpz_probab_prime_p(number.get(), certain) == 0)
        return false;
    if (!safe)
        return true;
    Integer half;
    mpz_fdiv_q_2exp(half.get(), number.get(), 1);
    return mpz_probab_prime_p(half.get(), certain) != 0;
}

// Where the search from this base begins: its low bits plus 2, made odd, with the
// top bit set, and 3 modulo 4 for a safe prime.
Integer startAbove(const Integer& base, const Search& search)
{
    Integer start;
    const auto bits = static_cast<mp_bitcnt_t>(search.bits);
    mpz_fdiv_r_2exp(start.get(), base.get(), bits);
    addOffset(start, 2);
    mpz_setbit(start.get(), 0);
    mpz_setbit(start.get(), bits - 1);
    if (search.safe)
        mpz_setbit(start.get(), 1);
    return start;
}

bool survivesSieve(const Integer& number, const Search& search)
{
    const int used = sievedPrimes(search.bits);
    for (int i = 1; i < used; ++i) {
        const unsigned long prime = smallPrime(i);
        if (search.bits <= 31 && mpz_cmp_ui(number.get(), prime * prime) < 0)
            return true;
        const unsigned long rest = mpz_fdiv_ui(number.get(), prime);
        if (rest == 0 || (search.safe && rest == 1))
            return false;
    }
    return true;
}

unsigned long stepOf(const Search& search)
{
    return search.safe ? 4 : 2;
}

bool passes(const Integer& number, unsigned long witness)
{
    Integer top(number);
    addOffset(top, -1);
    const mp_bitcnt_t twos = mpz_scan1(top.get(), 0);
    Integer power;
    mpz_fdiv_q_2exp(power.get(), top.get(), twos);
    Integer z;
    mpz_set_ui(z.get(), witness);
    mpz_powm(z.get(), z.get(), power.get(), number.get());
    if (mpz_cmp_ui(z.get(), 1) == 0)
        return true;
    for (mp_bitcnt_t i = 0; i < twos; ++i) {
        if (mpz_cmp(z.get(), top.get()) == 0)
            return true;
        mpz_powm_ui(z.get(), z.get(), 2, number.get());
    }
    return false;
}

// Tests the number as a plain search does; true when every iteration passed.
bool testPlain(const Integer& number, int checks, unsigned long witness,
               std::vector<Event>& events)
{
    for (int i = 0; i < checks; ++i) {
        if (!passes(number, witness))
            return false;
        events.push_back({iterationEvent, i});
    }
    return true;
}

bool testSafe(const Integer& number, int checks, unsigned long witness, int counter,
              std::vector<Event>& events)
{
    Integer half;
    mpz_fdiv_q_2exp(half.get(), number.get(), 1);
    for (int i = 0; i < checks; ++i) {
        if (!testPlain(number, 1, witness, events) ||
            !testPlain(half, 1, witness, events))
            return false;
        events.push_back({turnEvent, counter});
    }
    return true;
}

} // namespace

std::string randomNumber(int bits, std::uint32_t seed)
{
    std::mt19937 generator(seed);
    Integer number;
    mpz_set_ui(number.get(), 1);
    for (int bit = 1; bit < bits; ++bit) {
        mpz_mul_2exp(number.get(), number.get(), 1);
        addOffset(number, static_cast<long>(generator() >> 31));
    }
    return number.digits();
}

std::string sum(const std::string& number, long offset)
{
    Integer result(number);
    addOffset(result, offset);
    return result.digits();
}

std::string powerOfTwo(int exponent, long offset)
{
    Integer result;
    mpz_setbit(result.get(), static_cast<mp_bitcnt_t>(exponent));
    addOffset(result, offset);
    return result.digits();
}

unsigned long remainder(const std::string& number, unsigned long divisor)
{
    return mpz_fdiv_ui(Integer(number).get(), divisor);
}

unsigned long smallPrime(int i)
{
    static const std::vector<unsigned long> primes = [] {
        std::vector<unsigned long> found;
        Integer prime;
        while (found.size() < 2048) {
            mpz_nextprime(prime.get(), prime.get());
            found.push_back(mpz_get_ui(prime.get()));
        }
        return found;
    }();
    return primes[static_cast<std::size_t>(i)];
}

unsigned long primeAbove(unsigned long number)
{
    Integer prime;
    mpz_set_ui(prime.get(), number);
    mpz_nextprime(prime.get(), prime.get());
    return mpz_get_ui(prime.get());
}

int sievedPrimes(int bits)
{
    struct Row {
        int largestSize;
        int primes;
    };
    constexpr std::array<Row, 4> table{
        {{512, 64}, {1024, 128}, {2048, 384}, {4096, 1024}}};
    for (const Row& row : table)
        if (bits <= row.largestSize)
            return row.primes;
    return 2048;
}

std::string nextCandidate(const std::string& base, const Search& search)
{
    Integer number(base);
    do {
        mpz_set(number.get(), startAbove(number, search).get());
        while (!survivesSieve(number, search))
            mpz_add_ui(number.get(), number.get(), stepOf(search));
    } while (number.bits() != search.bits);
    return number.digits();
}

std::string firstPrime(const std::string& base, const Search& search)
{
    Integer number = startAbove(Integer(base), search);
    while (number.bits() == search.bits) {
        if (isPrime(number, search.safe))
            return number.digits();
        mpz_add_ui(number.get(), number.get(), stepOf(search));
    }
    std::string candidate = base;
    do
        candidate = nextCandidate(candidate, search);
    while (!isPrime(Integer(candidate), search.safe));
    return candidate;
}

bool passesTest(const std::string& number, unsigned long witness)
{
    return passes(Integer(number), witness);
}

Outcome searchWithWitness(const std::string& base, const Search& search, int checks,
                          unsigned long witness)
{
    Outcome outcome{{}, base};
    for (int counter = 0;; ++counter) {
        outcome.prime = nextCandidate(outcome.prime, search);
        outcome.events.push_back({candidateEvent, counter});
        const Integer number(outcome.prime);
        if (search.safe ? testSafe(number, checks, witness, counter, outcome.events)
                        : testPlain(number, checks, witness, outcome.events))
            return outcome;
    }
}

} // namespace oracle
