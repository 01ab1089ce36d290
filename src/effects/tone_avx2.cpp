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

OX_TARGET_AVX2 void gainRowAvx2(float gain, const float* level, uint8_t* row) noexcept {
    const __m256 g = _mm256_set1_ps(gain), zero = _mm256_setzero_ps(), top = _mm256_set1_ps(255.0f);
    // Two packs leave the 4-byte groups of the four vectors interleaved by
    // 128-bit lane; this puts them back in order.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (int32_t v = 0; v < 256; v += 32) {
        __m256i q[4];
        for (int32_t k = 0; k < 4; ++k) {
            const __m256 x = _mm256_mul_ps(g, _mm256_loadu_ps(level + v + 8 * k));
            // max with 0 first: a NaN product gives the second operand, 0.
            q[k] = _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(x, zero), top));
        }
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(q[0], q[1]), _mm256_packus_epi32(q[2], q[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + v), _mm256_permutevar8x32_epi32(bytes, order));
    }
}

}  // namespace ox::detail
#endif
