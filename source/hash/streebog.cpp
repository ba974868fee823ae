#include "hash/streebog.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "hash/streebog_core.h"

// GOST R 34.11-2012. The standard writes 512-bit vectors as numbers with the
// most significant byte first; a message in memory is that number's bytes
// from the least significant up. Blocks hold it as little-endian words, so
// message blocks are plain little-endian loads and additions carry from
// word 0 upwards.

namespace integrity_check_tool::vorn {
namespace streebog {
namespace {

// LPS as table lookups: P moves byte r of input word c to byte c of output
// word r, so output word r is the XOR over c of l(pi(byte) << 8c), and l of
// one byte at one position is precomputed: 8 tables of 256 words.
using LpsTables = std::array<std::array<std::uint64_t, 256>, 8>;

constexpr LpsTables MakeLpsTables()
{
    LpsTables tables{};
    for (unsigned position = 0; position < 8; ++position) {
        for (unsigned value = 0; value < 256; ++value) {
            const unsigned substituted = kPi[value];
            std::uint64_t row = 0;
            for (unsigned bit = 0; bit < 8; ++bit) {
                if ((substituted >> bit) & 1U) {
                    row ^= kA[63 - (8 * position + bit)];
                }
            }
            tables[position][value] = row;
        }
    }
    return tables;
}

constexpr LpsTables kLps = MakeLpsTables();

inline std::uint64_t LoadLittleEndian(const std::uint8_t* bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    if constexpr (std::endian::native == std::endian::big) {
        value = __builtin_bswap64(value);
    }
    return value;
}

inline void StoreLittleEndian(std::uint64_t value, std::uint8_t* bytes)
{
    if constexpr (std::endian::native == std::endian::big) {
        value = __builtin_bswap64(value);
    }
    std::memcpy(bytes, &value, sizeof value);
}

inline Block LoadBlock(const std::uint8_t* bytes)
{
    Block block;
    for (std::size_t i = 0; i < 8; ++i) {
        block[i] = LoadLittleEndian(bytes + 8 * i);
    }
    return block;
}

inline std::uint64_t LpsWord(const Block& x, unsigned row)
{
    const unsigned shift = 8 * row;
    return kLps[0][(x[0] >> shift) & 0xFF] ^ kLps[1][(x[1] >> shift) & 0xFF] ^
           kLps[2][(x[2] >> shift) & 0xFF] ^ kLps[3][(x[3] >> shift) & 0xFF] ^
           kLps[4][(x[4] >> shift) & 0xFF] ^ kLps[5][(x[5] >> shift) & 0xFF] ^
           kLps[6][(x[6] >> shift) & 0xFF] ^ kLps[7][(x[7] >> shift) & 0xFF];
}

inline Block Xor(const Block& a, const Block& b)
{
    Block result;
    for (std::size_t i = 0; i < 8; ++i) {
        result[i] = a[i] ^ b[i];
    }
    return result;
}

inline Block Lps(const Block& x)
{
    Block result;
    for (unsigned row = 0; row < 8; ++row) {
        result[row] = LpsWord(x, row);
    }
    return result;
}

/// a += b mod 2^512.
inline void Add(Block& a, const Block& b)
{
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const std::uint64_t sum = a[i] + b[i];
        const std::uint64_t withCarry = sum + carry;
        carry =
            static_cast<std::uint64_t>(sum < a[i]) | static_cast<std::uint64_t>(withCarry < sum);
        a[i] = withCarry;
    }
}

/// a += small mod 2^512.
inline void Add(Block& a, std::uint64_t small)
{
    for (std::size_t i = 0; i < 8 && small != 0; ++i) {
        a[i] += small;
        small = a[i] < small ? 1 : 0;
    }
}

}  // namespace

void CompressPortable(Block& h, const Block& m, const Block& n)
{
    // E(K, m) with K_1 = LPS(h XOR N) and K_i+1 = LPS(K_i XOR C_i). The key
    // schedule and the state are independent chains within a round, which
    // lets the processor overlap their table lookups.
    Block key = Lps(Xor(h, n));
    Block state = Xor(m, key);
    for (const Block& constant : kRoundConstants) {
        state = Lps(state);
        key = Lps(Xor(key, constant));
        state = Xor(state, key);
    }
    h = Xor(h, Xor(state, m));
}

#if !ICT_STREEBOG_VECTOR
CompressFunction VectorCompress()
{
    return nullptr;
}
#endif

}  // namespace streebog

using streebog::Add;
using streebog::LoadBlock;
using streebog::StoreLittleEndian;

Streebog::Streebog(StreebogSize size) : size_(size)
{
    // Chosen once per process: the processor does not change under us.
    static const streebog::CompressFunction compress = streebog::VectorCompress() != nullptr
                                                           ? streebog::VectorCompress()
                                                           : streebog::CompressPortable;
    compress_ = compress;
    Reset();
}

void Streebog::Reset()
{
    // The initialisation vector is all zero bits for 512 and 0x01 bytes for 256.
    h_.fill(size_ == StreebogSize::Bits512 ? 0 : 0x0101010101010101ULL);
    n_.fill(0);
    sigma_.fill(0);
    pendingSize_ = 0;
}

void Streebog::ProcessBlock(const Words& message)
{
    compress_(h_, message, n_);
    Add(n_, 512);
    Add(sigma_, message);
}

void Streebog::Update(std::span<const std::uint8_t> data)
{
    // A full block is compressed at once: the standard's stage 2 also takes a
    // final complete block and pads an empty remainder afterwards.
    if (pendingSize_ != 0) {
        const std::size_t take = std::min(data.size(), pending_.size() - pendingSize_);
        std::memcpy(pending_.data() + pendingSize_, data.data(), take);
        pendingSize_ += take;
        data = data.subspan(take);
        if (pendingSize_ < pending_.size()) {
            return;
        }
        ProcessBlock(LoadBlock(pending_.data()));
        pendingSize_ = 0;
    }
    while (data.size() >= pending_.size()) {
        ProcessBlock(LoadBlock(data.data()));
        data = data.subspan(pending_.size());
    }
    if (!data.empty()) {
        std::memcpy(pending_.data(), data.data(), data.size());
        pendingSize_ = data.size();
    }
}

Blob Streebog::Finish()
{
    // Stage 3: pad the remainder with one 1 bit and zeros above it.
    std::fill(pending_.begin() + static_cast<std::ptrdiff_t>(pendingSize_), pending_.end(), 0);
    pending_[pendingSize_] = 0x01;
    const Words last = LoadBlock(pending_.data());
    compress_(h_, last, n_);
    Add(n_, 8 * static_cast<std::uint64_t>(pendingSize_));
    Add(sigma_, last);
    const Words zero{};
    compress_(h_, n_, zero);
    compress_(h_, sigma_, zero);

    // The 256-bit digest is the most significant half of h.
    const std::size_t firstWord = size_ == StreebogSize::Bits512 ? 0 : 4;
    Blob digest(8 * (8 - firstWord));
    for (std::size_t i = firstWord; i < 8; ++i) {
        StoreLittleEndian(h_[i], digest.data() + 8 * (i - firstWord));
    }
    Reset();
    return digest;
}

Blob Streebog::Digest(StreebogSize size, std::span<const std::uint8_t> data)
{
    Streebog hash(size);
    hash.Update(data);
    return hash.Finish();
}

}  // namespace integrity_check_tool::vorn
