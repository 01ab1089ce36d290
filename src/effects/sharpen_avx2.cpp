// The high boost across 8 neighbouring pixels at a time. Each lane runs one
// pixel's own float operations in the plain loop's order; _mm256_min_ps
// (a < b ? a : b) is std::min with its arguments swapped, and max/min
// before the truncating conversion is clampToByte, NaN included.
#include "effects/detail/sharpen_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

namespace {

// Byte shuffles between 8 pixels of `channels` bytes (32 bytes at most, in
// two 16-byte halves) and 8 packed bytes of one channel.
struct Lanes {
    __m128i gather[3][2];   // from pixel bytes (half h) to channel lanes
    __m128i scatter[3][2];  // from channel lanes to pixel bytes (half h)
    __m128i rest[2];        // 0xff on pixel bytes that belong to no channel
};

OX_TARGET_AVX2 Lanes lanesFor(int32_t channels, ChannelOffsets at) noexcept {
    Lanes l;
    alignas(16) int8_t rest[2][16];
    for (int32_t h = 0; h < 2; ++h)
        for (int32_t j = 0; j < 16; ++j) rest[h][j] = static_cast<int8_t>(16 * h + j < 8 * channels ? -1 : 0);
    for (int32_t c = 0; c < 3; ++c)
        for (int32_t h = 0; h < 2; ++h) {
            alignas(16) int8_t g[16], s[16];
            for (int32_t j = 0; j < 16; ++j) {
                const int32_t pos = j < 8 ? channels * j + at.at[c] - 16 * h : -1;
                g[j] = pos >= 0 && pos < 16 ? static_cast<int8_t>(pos) : static_cast<int8_t>(0x80);
                const int32_t byte = 16 * h + j - at.at[c];
                const bool mine = byte >= 0 && byte % channels == 0 && byte / channels < 8;
                s[j] = mine ? static_cast<int8_t>(byte / channels) : static_cast<int8_t>(0x80);
                if (mine) rest[h][j] = 0;
            }
            l.gather[c][h] = _mm_load_si128(reinterpret_cast<const __m128i*>(g));
            l.scatter[c][h] = _mm_load_si128(reinterpret_cast<const __m128i*>(s));
        }
    l.rest[0] = _mm_load_si128(reinterpret_cast<const __m128i*>(rest[0]));
    l.rest[1] = _mm_load_si128(reinterpret_cast<const __m128i*>(rest[1]));
    return l;
}

OX_TARGET_AVX2 inline __m256 floatsOf8(__m128i bytes) noexcept {
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes));
}

// clampToByte of 8 floats, as 8 bytes in the low half.
OX_TARGET_AVX2 inline __m128i bytesOf8(__m256 o) noexcept {
    o = _mm256_min_ps(_mm256_max_ps(o, _mm256_setzero_ps()), _mm256_set1_ps(255.0f));
    const __m256i i = _mm256_cvttps_epi32(o);
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(i), _mm256_extracti128_si256(i, 1));
    return _mm_packus_epi16(words, words);
}

// One channel: r lowered by 255 / v (no change for v = 0, where the
// quotient is infinite), then r * v as bytes.
OX_TARGET_AVX2 inline __m128i boostChannel(__m256 v, __m256& r) noexcept {
    r = _mm256_min_ps(_mm256_div_ps(_mm256_set1_ps(255.0f), v), r);
    return bytesOf8(_mm256_mul_ps(r, v));
}

OX_TARGET_AVX2 inline __m256 ratios(const uint8_t* lum, const uint8_t* mean, __m256 gain, __m256 maxRatio) noexcept {
    const __m256 b = floatsOf8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(mean)));
    __m256 r = _mm256_mul_ps(gain, floatsOf8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(lum))));
    const __m256 divided = _mm256_div_ps(r, b);
    r = _mm256_blendv_ps(divided, r, _mm256_cmp_ps(b, _mm256_setzero_ps(), _CMP_EQ_OQ));
    return _mm256_min_ps(maxRatio, r);
}

// The first `blocks` blocks of 8 pixels of one row.
OX_TARGET_AVX2 void colourRow(const uint8_t* src, int32_t srcChannels, uint8_t* dst, int32_t dstChannels,
                              const Lanes& in, const Lanes& out, const uint8_t* lum, const uint8_t* mean,
                              int64_t blocks, __m256 g, __m256 m) noexcept {
    for (int64_t x = 0; x < 8 * blocks; x += 8) {
        const uint8_t* s = src + x * srcChannels;
        uint8_t* d = dst + x * dstChannels;
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16));
        __m256 r = ratios(lum + x, mean + x, g, m);
        __m128i lo = _mm_setzero_si128(), hi = _mm_setzero_si128();
        for (int32_t c = 0; c < 3; ++c) {
            const __m128i v = _mm_or_si128(_mm_shuffle_epi8(a, in.gather[c][0]), _mm_shuffle_epi8(b, in.gather[c][1]));
            const __m128i o = boostChannel(floatsOf8(v), r);
            lo = _mm_or_si128(lo, _mm_shuffle_epi8(o, out.scatter[c][0]));
            hi = _mm_or_si128(hi, _mm_shuffle_epi8(o, out.scatter[c][1]));
        }
        if (dstChannels == 4) {
            lo = _mm_or_si128(lo, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(d)), out.rest[0]));
            hi = _mm_or_si128(hi, _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(d + 16)), out.rest[1]));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), hi);
        } else {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), hi);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), lo);
    }
}

}  // namespace

OX_TARGET_AVX2 int64_t highBoostRowsAvx2(const uint8_t* src, int64_t srcStride, int32_t srcChannels,
                                         ChannelOffsets from, uint8_t* dst, int64_t dstStride, int32_t dstChannels,
                                         ChannelOffsets to, const uint8_t* lum, const uint8_t* mean, int64_t count,
                                         int64_t rows, float gain, float maxRatio) noexcept {
    const __m256 g = _mm256_set1_ps(gain), m = _mm256_set1_ps(maxRatio);
    if (srcChannels == 1 && dstChannels == 1) {
        const int64_t done = count / 8 * 8;
        for (int64_t y = 0; y < rows; ++y, src += srcStride, dst += dstStride, lum += count, mean += count)
            for (int64_t x = 0; x < done; x += 8) {
                __m256 r = ratios(lum + x, mean + x, g, m);
                const __m256 v = floatsOf8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(src + x)));
                _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + x), boostChannel(v, r));
            }
        return done;
    }
    if (srcChannels < 3 || dstChannels < 3) return 0;
    // Two 16-byte loads per block: stop where they would pass the row.
    const int64_t blocks = count * srcChannels >= 32 ? (count * srcChannels - 32) / (8 * srcChannels) + 1 : 0;
    const Lanes in = lanesFor(srcChannels, from), out = lanesFor(dstChannels, to);
    for (int64_t y = 0; y < rows; ++y, src += srcStride, dst += dstStride, lum += count, mean += count)
        colourRow(src, srcChannels, dst, dstChannels, in, out, lum, mean, blocks, g, m);
    return 8 * blocks;
}

}  // namespace ox::detail
#endif
