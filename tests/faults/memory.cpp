#include "tests/faults/memory.h"

#include "tests/faults/fault.h"
#include "tests/faults/residues.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <unordered_map>
#include <utility>

namespace
{

// The watch's own memory: not operator new, which it watches.
template <typename Value>
struct PlainAllocator {
    using value_type = Value;

    PlainAllocator() = default;
    template <typename Other>
    explicit PlainAllocator(const PlainAllocator<Other>& /*other*/)
    {
    }
    Value* allocate(std::size_t count)
    {
        // A table of pointers is what is asked for.
        // NOLINTNEXTLINE(bugprone-sizeof-expression)
        void* block = std::malloc(count * sizeof(Value));
        if (!block)
            std::abort();
        return static_cast<Value*>(block);
    }
    void deallocate(Value* block, std::size_t /*count*/)
    {
        std::free(block);
    }
    friend bool operator==(const PlainAllocator&, const PlainAllocator&) = default;
};

constexpr int freshByte = 0xA5;

struct Block {
    std::size_t size;
    bool crypto;
    bool mustBeWiped = false;
};

using Blocks =
    std::unordered_map<const void*, Block, std::hash<const void*>, std::equal_to<>,
                       PlainAllocator<std::pair<const void* const, Block>>>;

constexpr std::size_t characters = 8;

// A stretch of eight bytes, or of so many characters of wide text.
struct Stretch {
    std::array<std::uint8_t, characters * sizeof(wchar_t)> bytes;
    std::size_t size;

    bool begins(const std::uint8_t* at, std::size_t left) const
    {
        return size <= left && std::memcmp(bytes.data(), at, size) == 0;
    }
};

// With a quick answer for what is no beginning of any stretch in the set.
struct Secrets {
    std::array<Stretch, 8192> stretches{};
    std::size_t count = 0;
    std::bitset<65536> beginnings;
    bool watched = false;

    bool contain(const std::uint8_t* at, std::size_t left) const
    {
        return left >= characters && beginnings[beginningOf(at)] &&
               std::any_of(
                   stretches.begin(), stretches.begin() + count,
                   [&](const Stretch& stretch) { return stretch.begins(at, left); });
    }

    void add(const void* secret, std::size_t size)
    {
        const auto* bytes = static_cast<const std::uint8_t*>(secret);
        if (contain(bytes, size))
            return;
        if (count == stretches.size())
            std::abort(); // watched no longer, and nobody would know
        std::memcpy(stretches[count].bytes.data(), bytes, size);
        stretches[count++].size = size;
        beginnings.set(beginningOf(bytes));
    }

    // Of wide text the first character's first byte says little: two characters do.
    static std::size_t beginningOf(const std::uint8_t* at)
    {
        return at[0] | std::size_t{at[4]} << 8;
    }
};

struct Starts {
    std::array<Residues, 64> residues{};
    std::size_t count = 0;

    void add(std::span<const std::uint8_t> number)
    {
        if (count == residues.size())
            std::abort(); // as above
        residues[count++] = residuesOf(number);
    }

    template <typename Told>
    bool tells(const Told& told) const
    {
        return std::any_of(residues.begin(), residues.begin() + count, told);
    }

    bool toldBy(std::span<const std::uint8_t> block) const
    {
        return tells([&](const Residues& start) {
            return tableTells(start, block) || bitmapTells(start, block);
        });
    }

    // By a number of the library, which keeps its digits in a block of words. From two
    // words on it may tell enough; what is longer than the numbers of these searches
    // holds something else.
    bool toldByDigits(std::span<const std::uint8_t> block) const
    {
        std::array<std::uint8_t, 128> digits{};
        if (count == 0 || block.size() % sizeof(BN_ULONG) != 0 ||
            block.size() < 2 * sizeof(BN_ULONG) || block.size() > digits.size() ||
            std::all_of(block.begin(), block.end(), [](auto byte) { return byte == 0; }))
            return false;
        std::reverse_copy(block.begin(), block.end(), digits.begin());
        const Residues number = residuesOf(std::span(digits).first(block.size()));
        return tells([&](const Residues& start) { return numberTells(start, number); });
    }
};

struct Watch {
    std::mutex mutex;
    Blocks blocks;
    LiveBlocks live{};
    Secrets secrets;
    Starts starts;
    MemoryErrors errors{};
};

// Never destroyed: blocks are given back after the last static is gone.
Watch& watch()
{
    alignas(Watch) static std::byte memory[sizeof(Watch)];
    static auto* only = new (memory) Watch;
    return *only;
}

bool holdsSecret(const Watch& watched, const void* block, std::size_t size, bool crypto)
{
    const auto* bytes = static_cast<const std::uint8_t*>(block);
    for (std::size_t i = 0; i < size; ++i)
        if (watched.secrets.contain(bytes + i, size - i))
            return true;
    return crypto ? watched.starts.toldByDigits({bytes, size})
                  : watched.starts.toldBy({bytes, size});
}

bool isWiped(const void* block, std::size_t size)
{
    const auto* bytes = static_cast<const std::uint8_t*>(block);
    return std::all_of(bytes, bytes + size,
                       [](std::uint8_t byte) { return byte == 0 || byte == freshByte; });
}

void noteAllocation(void* block, std::size_t size, bool crypto)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    watched.blocks[block] = {size, crypto, false};
    ++(crypto ? watched.live.crypto : watched.live.own);
}

// False when the block may not be given back now.
bool noteRelease(void* block, bool crypto)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    const auto found = watched.blocks.find(block);
    if (found == watched.blocks.end() || found->second.crypto != crypto) {
        ++watched.errors.foreignFrees;
        ++faultReport->foreignFrees;
        return false;
    }
    const std::size_t size = found->second.size;
    if ((found->second.mustBeWiped && !isWiped(block, size)) ||
        (watched.secrets.watched && holdsSecret(watched, block, size, crypto))) {
        ++watched.errors.secretFrees;
        ++faultReport->secretFrees;
        watched.errors.secretBlockSize = size;
    }
    watched.blocks.erase(found);
    --(crypto ? watched.live.crypto : watched.live.own);
    return true;
}

void* take(std::size_t size, bool crypto)
{
    void* block = std::malloc(size ? size : 1);
    if (!block)
        return nullptr;
    // What somebody else left there must not be taken for this block's own.
    std::memset(block, freshByte, size);
    noteAllocation(block, size, crypto);
    return block;
}

void giveBack(void* block, bool crypto)
{
    if (block && noteRelease(block, crypto))
        std::free(block);
}

void* takeForLibrary(std::size_t size, const char* /*file*/, int /*line*/)
{
    return strikes(FaultKind::libraryMemory, "CRYPTO_malloc") ? nullptr
                                                              : take(size, true);
}

void giveBackFromLibrary(void* block, const char* /*file*/, int /*line*/)
{
    giveBack(block, true);
}

// Always moves, so that a stale pointer is seen.
void* resizeForLibrary(void* block, std::size_t size, const char* /*file*/, int /*line*/)
{
    if (strikes(FaultKind::libraryMemory, "CRYPTO_realloc"))
        return nullptr;
    void* moved = take(size, true);
    if (!moved || !block)
        return moved;
    std::size_t held = 0;
    {
        Watch& watched = watch();
        const std::lock_guard guard(watched.mutex);
        const auto found = watched.blocks.find(block);
        held = found == watched.blocks.end() ? 0 : found->second.size;
    }
    std::memcpy(moved, block, std::min(held, size));
    giveBack(block, true);
    return moved;
}

// The library accepts this only before its first allocation.
const int installed =
    CRYPTO_set_mem_functions(takeForLibrary, resizeForLibrary, giveBackFromLibrary);

void* takeOrNull(std::size_t size)
{
    return strikes(FaultKind::ownMemory, "new (nothrow)") ? nullptr : take(size, false);
}

void* takeOrThrow(std::size_t size)
{
    if (strikes(FaultKind::ownMemory, "new")) {
        noteThrowing();
        throw std::bad_alloc();
    }
    void* block = take(size, false);
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

void* operator new(std::size_t size)
{
    return takeOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return takeOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return takeOrNull(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return takeOrNull(size);
}

void operator delete(void* block) noexcept
{
    giveBack(block, false);
}

void operator delete[](void* block) noexcept
{
    giveBack(block, false);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    giveBack(block, false);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    giveBack(block, false);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept
{
    giveBack(block, false);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept
{
    giveBack(block, false);
}

LiveBlocks liveBlocks()
{
    ERR_clear_error();
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    return watched.live;
}

bool seesLibraryMemory()
{
    return installed == 1;
}

void settleLibraryMemory()
{
    armFault({FaultKind::libraryMemory, {}, 1});
    BN_CTX_free(BN_CTX_new());
    disarmFault();
    ERR_clear_error();
}

void addSecret(std::span<const std::uint8_t> bytes)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    for (std::size_t i = 0; i + characters <= bytes.size(); ++i)
        watched.secrets.add(bytes.data() + i, characters);
}

void addSecretText(std::wstring_view text)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    for (std::size_t i = 0; i + characters <= text.size(); ++i)
        watched.secrets.add(text.data() + i, characters * sizeof(wchar_t));
}

void addSecretStart(std::span<const std::uint8_t> bytes)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    watched.starts.add(bytes);
}

void forgetSecrets()
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    watched.secrets.count = 0;
    watched.secrets.beginnings.reset();
    watched.starts.count = 0;
}

void watchForSecrets(bool watched)
{
    const std::lock_guard guard(watch().mutex);
    watch().secrets.watched = watched;
}

long secretCryptoBlocks()
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    return std::count_if(
        watched.blocks.begin(), watched.blocks.end(), [&](const auto& entry) {
            return entry.second.crypto &&
                   holdsSecret(watched, entry.first, entry.second.size, true);
        });
}

void expectWiped(const void* block)
{
    Watch& watched = watch();
    const std::lock_guard guard(watched.mutex);
    const auto found = watched.blocks.find(block);
    if (found != watched.blocks.end())
        found->second.mustBeWiped = true;
}

MemoryErrors takeMemoryErrors()
{
    const std::lock_guard guard(watch().mutex);
    return std::exchange(watch().errors, {});
}
