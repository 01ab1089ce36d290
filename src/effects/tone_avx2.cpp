// AVX2 forms of the tone stages' row loops.
#include "core/detail/interleave_avx2.hpp"
#include "effects/detail/tone_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

namespace {

template <int32_t C>
OX_TARGET_AVX2 int64_t brightnessRows(const uint8_t* row, ChannelOffsets at, int64_t count, uint8_t* out) noexcept {
    const Shuffle16 g = gatherMasks(C, ChannelOrder{{at.at[0], at.at[1], at.at[2]}});
    int64_t x = 0;
    for (; x + 16 <= count; x += 16) {
        __m128i ch[3];
        gather16<C>(row + x * C, g, ch);
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
