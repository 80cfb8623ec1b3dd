/// Random bytes from a key, by the ChaCha20 stream cipher.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <emmintrin.h>

#include <cstring>

namespace QV::Impl {

/// Four blocks of the cipher's stream at once, for the counters 0 to 3 and the nonce 0: word i of block j is
/// `words[i][j]`.
struct ChaChaBlocks {
    static constexpr UInt32 BlockWords = 16;
    static constexpr UInt32 Blocks = 4;

    void Fill(const UInt32 (&key)[8]) noexcept
    {
        __m128i start[BlockWords];
        // "expand 32-byte k"
        constexpr UInt32 constants[4] = {0x61707865, 0x3320646E, 0x79622D32, 0x6B206574};
        for (int i = 0; i < 4; ++i) {
            start[i] = _mm_set1_epi32(static_cast<int>(constants[i]));
        }
        for (int i = 0; i < 8; ++i) {
            start[4 + i] = _mm_set1_epi32(static_cast<int>(key[i]));
        }
        start[12] = _mm_set_epi32(3, 2, 1, 0);
        start[13] = start[14] = start[15] = _mm_setzero_si128();
        __m128i x[BlockWords];
        std::memcpy(x, start, sizeof(x));
        for (int round = 0; round < 20; round += 2) {
            for (int i = 0; i < 4; ++i) {
                Quarter(x[i], x[4 + i], x[8 + i], x[12 + i]);
            }
            for (int i = 0; i < 4; ++i) {
                Quarter(x[i], x[4 + (i + 1) % 4], x[8 + (i + 2) % 4], x[12 + (i + 3) % 4]);
            }
        }
        for (UInt32 i = 0; i < BlockWords; ++i) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(words[i]), _mm_add_epi32(x[i], start[i]));
        }
    }

    UInt32 words[BlockWords][Blocks];

private:
    template <int Bits>
    static __m128i Rotate(__m128i x) noexcept
    {
        return _mm_or_si128(_mm_slli_epi32(x, Bits), _mm_srli_epi32(x, 32 - Bits));
    }

    static void Quarter(__m128i& a, __m128i& b, __m128i& c, __m128i& d) noexcept
    {
        a = _mm_add_epi32(a, b);
        d = Rotate<16>(_mm_xor_si128(d, a));
        c = _mm_add_epi32(c, d);
        b = Rotate<12>(_mm_xor_si128(b, c));
        a = _mm_add_epi32(a, b);
        d = Rotate<8>(_mm_xor_si128(d, a));
        c = _mm_add_epi32(c, d);
        b = Rotate<7>(_mm_xor_si128(b, c));
    }
};

/// Random bytes 16 at a time. What was taken is not kept, and each stock begins with the key of the next one,
/// so that nobody who sees this memory learns what was handed out before. All bits zero is the start value: a
/// stream that must be seeded first.
class RandomStream {
public:
    static constexpr UInt32 KeyWords = 8;

    bool IsEmpty() const noexcept { return left_ == 0; }

    /// Adds to the key.
    void Mix(const UInt32 (&seed)[KeyWords]) noexcept
    {
        for (UInt32 i = 0; i < KeyWords; ++i) {
            key_[i] ^= seed[i];
        }
    }

    void Refill() noexcept
    {
        stock_.Fill(key_);
        std::memcpy(key_, stock_.words, sizeof(key_));
        std::memset(stock_.words, 0, sizeof(key_));
        left_ = rows - KeyWords / ChaChaBlocks::Blocks;
    }

    void Take(UInt64 (&image)[2]) noexcept
    {
        UInt32(&row)[ChaChaBlocks::Blocks] = stock_.words[rows - left_--];
        std::memcpy(image, row, sizeof(row));
        std::memset(row, 0, sizeof(row));
    }

private:
    static constexpr UInt32 rows = ChaChaBlocks::BlockWords;

    UInt32 left_;
    UInt32 key_[KeyWords];
    ChaChaBlocks stock_;
};

} // namespace QV::Impl
