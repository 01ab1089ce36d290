// AVX2 forms of the tone stages' row loops.
#include "effects/detail/tone_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

namespace {

template <int32_t C>
OX_TARGET_AVX2 int64_t brightnessRows(const uint8_t* row, ChannelOffsets at, int64_t count, uint8_t* out) noexcept {
    // mask[k][c] moves the bytes of channel c held by 16-byte block k of 16
    // pixels to their lanes.
    __m128i mask[C][3];
    for (int32_t k = 0; k < C; ++k)
        for (int32_t c = 0; c < 3; ++c) {
            alignas(16) int8_t m[16];
            for (int32_t i = 0; i < 16; ++i) {
                const int32_t pos = i * C + at.at[c] - 16 * k;
                m[i] = pos >= 0 && pos < 16 ? static_cast<int8_t>(pos) : static_cast<int8_t>(0x80);
            }
            mask[k][c] = _mm_load_si128(reinterpret_cast<const __m128i*>(m));
        }
    int64_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const uint8_t* p = row + x * C;
        __m128i ch[3] = {_mm_setzero_si128(), _mm_setzero_si128(), _mm_setzero_si128()};
#pragma GCC unroll 4
        for (int32_t k = 0; k < C; ++k) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * k));
#pragma GCC unroll 3
            for (int32_t c = 0; c < 3; ++c) ch[c] = _mm_or_si128(ch[c], _mm_shuffle_epi8(block, mask[k][c]));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_max_epu8(_mm_max_epu8(ch[0], ch[1]), ch[2]));
    }
    return x;
}

}  // namespace

OX_TARGET_AVX2 int64_t brightnessRowAvx2(const uint8_t* row, int32_t channels, ChannelOffsets at, int64_t count,
                                         uint8_t* out) noexcept {
    return channels == 4 ? brightnessRows<4>(row, at, count, out) : brightnessRows<3>(row, at, count, out);
}

}  // namespace ox::detail
#endif
