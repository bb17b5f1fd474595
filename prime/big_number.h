// Owners of libcrypto's objects: each releases what it holds on every way out.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <openssl/bn.h>

// The progress callback record that every search of a run shares: version 2 of
// the library's, called by the rules of BN_GENCB_call.
using GenCallback = BN_GENCB;

struct CallbackFree {
    void operator()(GenCallback* callback) const
    {
        BN_GENCB_free(callback);
    }
};
using OwnedCallback = std::unique_ptr<GenCallback, CallbackFree>;

struct BigNumberFree {
    void operator()(BIGNUM* number) const
    {
        BN_free(number);
    }
};
using BigNumber = std::unique_ptr<BIGNUM, BigNumberFree>;

struct BigNumberClearFree {
    void operator()(BIGNUM* number) const
    {
        BN_clear_free(number);
    }
};
// For numbers made of the base or of a candidate: wiped before they are freed.
using SecretNumber = std::unique_ptr<BIGNUM, BigNumberClearFree>;

struct ContextFree {
    void operator()(BN_CTX* context) const
    {
        BN_CTX_free(context);
    }
};
using Context = std::unique_ptr<BN_CTX, ContextFree>;

struct MontgomeryFree {
    void operator()(BN_MONT_CTX* montgomery) const
    {
        BN_MONT_CTX_free(montgomery);
    }
};
using Montgomery = std::unique_ptr<BN_MONT_CTX, MontgomeryFree>;

// A frame on a context: the temporaries taken inside it go back at its end.
class ContextFrame
{
public:
    explicit ContextFrame(BN_CTX* context)
        : context_(context)
    {
        BN_CTX_start(context);
    }
    ContextFrame(const ContextFrame&) = delete;
    ContextFrame& operator=(const ContextFrame&) = delete;
    ~ContextFrame()
    {
        BN_CTX_end(context_);
    }

private:
    BN_CTX* context_;
};

// Numbers that a context lends in a frame of their own. They are wiped when they go back.
template <std::size_t count>
class LentNumbers
{
public:
    explicit LentNumbers(BN_CTX* context)
        : frame_(context)
    {
        for (BIGNUM*& number : numbers_)
            number = BN_CTX_get(context);
    }
    LentNumbers(const LentNumbers&) = delete;
    LentNumbers& operator=(const LentNumbers&) = delete;
    ~LentNumbers()
    {
        for (BIGNUM* number : numbers_)
            if (number)
                BN_clear(number);
    }

    // Whether there was memory for all. A context that failed once gives nothing more:
    // the last one tells.
    bool complete() const
    {
        return numbers_.back() != nullptr;
    }
    BIGNUM* operator[](std::size_t index) const
    {
        return numbers_[index];
    }

private:
    ContextFrame frame_;
    std::array<BIGNUM*, count> numbers_{};
};
