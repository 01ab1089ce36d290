// Gathering the colour channels of 16 interleaved 8-bit pixels into one
// register per channel, and scattering them back, with byte shuffles built
// once per call from the pixel size and the channel positions. The masks
// are plain data; only the functions that use them are AVX2 code.
#pragma once

#include "core/detail/core_ops.hpp"
#include "core/detail/isa.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

// mask[k][c] moves the bytes of channel c found in 16-byte block k of the
// pixels to or from their lanes (0x80 where block k holds none of them).
struct Shuffle16 {
    __m128i mask[4][3];
    __m128i rest[4];  // 0xff on the bytes of block k that belong to no channel
};

// For pixels of `channels` bytes (3 or 4) with blue, green and red at `o`.
inline Shuffle16 gatherMasks(int32_t channels, ChannelOrder o) noexcept {
    Shuffle16 g;
    for (int32_t k = 0; k < channels; ++k)
        for (int32_t c = 0; c < 3; ++c) {
            alignas(16) int8_t m[16];
            for (int32_t i = 0; i < 16; ++i) {
                const int32_t at = i * channels + o.at[c] - 16 * k;
                m[i] = at >= 0 && at < 16 ? static_cast<int8_t>(at) : static_cast<int8_t>(0x80);
            }
            g.mask[k][c] = _mm_load_si128(reinterpret_cast<const __m128i*>(m));
        }
    return g;
}

inline Shuffle16 scatterMasks(int32_t channels, ChannelOrder o) noexcept {
    Shuffle16 s;
    for (int32_t k = 0; k < channels; ++k) {
        alignas(16) int8_t rest[16];
        for (int32_t j = 0; j < 16; ++j) rest[j] = -1;
        for (int32_t c = 0; c < 3; ++c) {
            alignas(16) int8_t m[16];
            for (int32_t j = 0; j < 16; ++j) {
                const int32_t byte = 16 * k + j;
                const bool mine = byte % channels == o.at[c];
                m[j] = mine ? static_cast<int8_t>(byte / channels) : static_cast<int8_t>(0x80);
                if (mine) rest[j] = 0;
            }
            s.mask[k][c] = _mm_load_si128(reinterpret_cast<const __m128i*>(m));
        }
        s.rest[k] = _mm_load_si128(reinterpret_cast<const __m128i*>(rest));
    }
    return s;
}

// Channels 0..2 of the 16 pixels at p.
template <int32_t Channels>
OX_TARGET_AVX2 inline void gather16(const uint8_t* p, const Shuffle16& g, __m128i out[3]) noexcept {
    __m128i block[Channels];
    for (int32_t k = 0; k < Channels; ++k) block[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
    for (int32_t c = 0; c < 3; ++c) {
        __m128i v = _mm_shuffle_epi8(block[0], g.mask[0][c]);
        for (int32_t k = 1; k < Channels; ++k) v = _mm_or_si128(v, _mm_shuffle_epi8(block[k], g.mask[k][c]));
        out[c] = v;
    }
}

// Writes channels 0..2 of 16 pixels at p; bytes of no channel keep what p
// holds.
template <int32_t Channels>
OX_TARGET_AVX2 inline void scatter16(uint8_t* p, const Shuffle16& s, const __m128i in[3]) noexcept {
    for (int32_t k = 0; k < Channels; ++k) {
        __m128i v = _mm_or_si128(_mm_shuffle_epi8(in[0], s.mask[k][0]), _mm_shuffle_epi8(in[1], s.mask[k][1]));
        v = _mm_or_si128(v, _mm_shuffle_epi8(in[2], s.mask[k][2]));
        if (Channels == 4)
            v = _mm_or_si128(v, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k)), s.rest[k]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16 * k), v);
    }
}

// The same for 32 pixels, two runs of 16 side by side: lane half h of
// out[c] holds channel c of pixels 16h .. 16h + 15.
template <int32_t Channels>
OX_TARGET_AVX2 inline void gather32(const uint8_t* p, const Shuffle16& g, __m256i out[3]) noexcept {
    __m256i block[Channels];
    for (int32_t k = 0; k < Channels; ++k)
        block[k] = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k))),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * (Channels + k))), 1);
    for (int32_t c = 0; c < 3; ++c) {
        __m256i v = _mm256_shuffle_epi8(block[0], _mm256_broadcastsi128_si256(g.mask[0][c]));
        for (int32_t k = 1; k < Channels; ++k)
            v = _mm256_or_si256(v, _mm256_shuffle_epi8(block[k], _mm256_broadcastsi128_si256(g.mask[k][c])));
        out[c] = v;
    }
}

template <int32_t Channels>
OX_TARGET_AVX2 inline void scatter32(uint8_t* p, const Shuffle16& s, const __m256i in[3]) noexcept {
    for (int32_t k = 0; k < Channels; ++k) {
        __m256i v = _mm256_or_si256(_mm256_shuffle_epi8(in[0], _mm256_broadcastsi128_si256(s.mask[k][0])),
                                    _mm256_shuffle_epi8(in[1], _mm256_broadcastsi128_si256(s.mask[k][1])));
        v = _mm256_or_si256(v, _mm256_shuffle_epi8(in[2], _mm256_broadcastsi128_si256(s.mask[k][2])));
        auto* lo = reinterpret_cast<__m128i*>(p + 16 * k);
        auto* hi = reinterpret_cast<__m128i*>(p + 16 * (Channels + k));
        __m128i low = _mm256_castsi256_si128(v), high = _mm256_extracti128_si256(v, 1);
        if (Channels == 4) {
            low = _mm_or_si128(low, _mm_and_si128(_mm_loadu_si128(lo), s.rest[k]));
            high = _mm_or_si128(high, _mm_and_si128(_mm_loadu_si128(hi), s.rest[k]));
        }
        _mm_storeu_si128(lo, low);
        _mm_storeu_si128(hi, high);
    }
}

}  // namespace ox::detail
#endif
