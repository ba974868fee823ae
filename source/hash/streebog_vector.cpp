#include "hash/streebog_core.h"

#if ICT_STREEBOG_VECTOR

#include <immintrin.h>

// LPS on one 512-bit register. S is a 256-byte table lookup done as two
// 128-byte permutations (VBMI). P and L are folded together: after S, row w
// of the input of L is column w of the state, so byte i of every output row
// is the XOR over j of an 8x8 bit matrix M(i, j) times byte w of state word
// j. Broadcasting state word j to all eight lanes and applying lane i's
// matrix M(i, j) to it (GFNI affine transform) gives all of these at once,
// with output byte i of row w landing in lane i, byte w; one byte permutation
// puts them back in place.

namespace integrity_check_tool::vorn::streebog {
namespace {

using Matrices = std::array<std::array<std::uint64_t, 8>, 8>;

// kMatrices[j][i] is M(i, j) in the affine instruction's layout: byte 7 - b
// selects the input bits that make output bit b.
constexpr Matrices MakeMatrices()
{
    Matrices matrices{};
    for (unsigned j = 0; j < 8; ++j) {
        for (unsigned i = 0; i < 8; ++i) {
            std::uint64_t matrix = 0;
            for (unsigned b = 0; b < 8; ++b) {
                std::uint64_t rowMask = 0;
                for (unsigned t = 0; t < 8; ++t) {
                    rowMask |= ((kA[63 - (8 * j + t)] >> (8 * i + b)) & 1U) << t;
                }
                matrix |= rowMask << (8 * (7 - b));
            }
            matrices[j][i] = matrix;
        }
    }
    return matrices;
}

constexpr Matrices kMatrices = MakeMatrices();

// Byte 8w + i of the result comes from byte 8i + w of the transposed one.
constexpr std::array<std::uint8_t, 64> MakeTranspose()
{
    std::array<std::uint8_t, 64> index{};
    for (unsigned w = 0; w < 8; ++w) {
        for (unsigned i = 0; i < 8; ++i) {
            index[8 * w + i] = static_cast<std::uint8_t>(8 * i + w);
        }
    }
    return index;
}

constexpr std::array<std::uint8_t, 64> kTranspose = MakeTranspose();

#define ICT_VECTOR_TARGET __attribute__((target("avx512f,avx512bw,avx512vbmi,gfni")))

// The zero-masked forms of the permutations are used throughout: the plain
// ones start from an "undefined" register that GCC 12 warns about.

struct Tables {
    __m512i pi[4];
    __m512i matrices[8];
    __m512i transpose;
};

ICT_VECTOR_TARGET inline __m512i Lps(__m512i x, const Tables& tables)
{
    const __m512i low = _mm512_permutex2var_epi8(tables.pi[0], x, tables.pi[1]);
    const __m512i high = _mm512_permutex2var_epi8(tables.pi[2], x, tables.pi[3]);
    const __m512i s = _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high);

    __m512i sum = _mm512_setzero_si512();
    for (int j = 0; j < 8; ++j) {
        const __m512i row = _mm512_maskz_permutexvar_epi64(0xFF, _mm512_set1_epi64(j), s);
        sum = _mm512_xor_si512(sum, _mm512_gf2p8affine_epi64_epi8(row, tables.matrices[j], 0));
    }
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, tables.transpose, sum);
}

ICT_VECTOR_TARGET void CompressVector(Block& h, const Block& m, const Block& n)
{
    Tables tables;
    for (int i = 0; i < 4; ++i) {
        tables.pi[i] = _mm512_loadu_si512(kPi + 64 * i);
    }
    for (int j = 0; j < 8; ++j) {
        tables.matrices[j] = _mm512_loadu_si512(kMatrices[j].data());
    }
    tables.transpose = _mm512_loadu_si512(kTranspose.data());

    const __m512i hv = _mm512_loadu_si512(h.data());
    const __m512i mv = _mm512_loadu_si512(m.data());
    __m512i key = Lps(_mm512_xor_si512(hv, _mm512_loadu_si512(n.data())), tables);
    __m512i state = _mm512_xor_si512(mv, key);
    for (const Block& constant : kRoundConstants) {
        state = Lps(state, tables);
        key = Lps(_mm512_xor_si512(key, _mm512_loadu_si512(constant.data())), tables);
        state = _mm512_xor_si512(state, key);
    }
    _mm512_storeu_si512(h.data(), _mm512_xor_si512(hv, _mm512_xor_si512(state, mv)));
}

}  // namespace

CompressFunction VectorCompress()
{
    __builtin_cpu_init();
    const bool supported = __builtin_cpu_supports("avx512f") &&
                           __builtin_cpu_supports("avx512bw") &&
                           __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("gfni");
    return supported ? CompressVector : nullptr;
}

}  // namespace integrity_check_tool::vorn::streebog

#endif
