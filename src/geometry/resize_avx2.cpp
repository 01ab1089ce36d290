// AVX2 kernels of the bilinear resize: gathers and 16-bit multiply-adds
// across neighbouring samples for the horizontal pass, eight samples at a
// time for the vertical blend. Each sample keeps the integer arithmetic of
// the plain loop, so the bytes are the same.
#include "geometry/detail/resize_kernels.hpp"

#if OX_HAVE_AVX2_PATH

#include <immintrin.h>

#include <algorithm>

namespace ox::detail::resize {

namespace {

// Per 32-bit lane: the sample at byte 0 and its right neighbour at byte
// `channels` widened to the 16-bit pair (a, b).
OX_TARGET_AVX2 __m256i pairShuffle(int32_t channels) noexcept {
    const char n = static_cast<char>(channels), z = static_cast<char>(0x80);
    return _mm256_setr_epi8(0, z, n, z, 4, z, 4 + n, z, 8, z, 8 + n, z, 12, z, 12 + n, z, 0, z, n, z, 4, z, 4 + n, z,
                            8, z, 8 + n, z, 12, z, 12 + n, z);
}

// A large downscale reads every source row it uses from memory, and the
// gathers alone do not draw the next lines in early enough: ask for the
// bytes a little further along the row (never past its end).
OX_TARGET_AVX2 inline void prefetchAhead(const uint8_t* s, int64_t offset, int64_t rowBytes) noexcept {
    constexpr int64_t kAhead = 2048;
    _mm_prefetch(reinterpret_cast<const char*>(s + std::min(offset + kAhead, rowBytes - 1)), _MM_HINT_T0);
}

// One or two channels: one gather per eight samples, each lane reading the
// sample and (within the same four bytes) its neighbour.
OX_TARGET_AVX2 void interpolateNarrow(const uint8_t* s, const int32_t* offsets, const int32_t* pairs, int64_t count,
                                      int32_t channels, int64_t rowBytes, int32_t* out) noexcept {
    const __m256i shuffle = pairShuffle(channels);
    const auto* base = reinterpret_cast<const int*>(s);
    for (int64_t k = 0; k < count; k += 8) {
        prefetchAhead(s, offsets[k], rowBytes);
        const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(offsets + k));
        const __m256i bytes = _mm256_i32gather_epi32(base, at, 1);
        const __m256i ab = _mm256_shuffle_epi8(bytes, shuffle);
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs + k));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k), _mm256_madd_epi16(ab, w));
    }
}

// Per 128-bit lane, four (a, b) pairs of 16 bits from two 8-byte windows
// (bytes 0-7 and 8-15), each window being a pixel of three channels and its
// right neighbour: pair q takes bytes q and q + 3.
OX_TARGET_AVX2 __m256i pairsOfThree(int32_t q0, int32_t q1, int32_t q2, int32_t q3, int32_t q4, int32_t q5, int32_t q6,
                                    int32_t q7) noexcept {
    const int32_t q[8] = {q0, q1, q2, q3, q4, q5, q6, q7};
    alignas(32) int8_t bytes[32];
    for (int32_t i = 0; i < 8; ++i) {
        bytes[4 * i] = static_cast<int8_t>(q[i]);
        bytes[4 * i + 2] = static_cast<int8_t>(q[i] + 3);
        bytes[4 * i + 1] = bytes[4 * i + 3] = static_cast<int8_t>(0x80);
    }
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes));
}

OX_TARGET_AVX2 inline __m128i window(const uint8_t* s, int32_t offset) noexcept {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + offset));
}

// Three channels: eight pixels (24 samples) a step, each pixel read with
// its right neighbour as one 8-byte window; windows paired so that every
// 128-bit lane of output draws on two of them.
OX_TARGET_AVX2 void interpolateThree(const uint8_t* s, const int32_t* offsets, const int32_t* pairs, int64_t count,
                                     int64_t rowBytes, int32_t* out) noexcept {
    // Samples 0-7: p0c0 p0c1 p0c2 p1c0 | p1c1 p1c2 p2c0 p2c1; 8-15: p2c2 p3c0
    // p3c1 p3c2 | p4c0 p4c1 p4c2 p5c0; 16-23: p5c1 p5c2 p6c0 p6c1 | p6c2 p7c0
    // p7c1 p7c2. In a lane, bytes 0-7 hold the first window, 8-15 the second.
    const __m256i first = pairsOfThree(0, 1, 2, 8, 1, 2, 8, 9), second = pairsOfThree(2, 8, 9, 10, 0, 1, 2, 8),
                  third = pairsOfThree(1, 2, 8, 9, 2, 8, 9, 10);
    for (int64_t k = 0; k < count; k += 24) {
        const int32_t* o = offsets + k / 3;
        prefetchAhead(s, o[0], rowBytes);
        const __m128i w0 = window(s, o[0]), w1 = window(s, o[1]), w2 = window(s, o[2]), w3 = window(s, o[3]);
        const __m128i w4 = window(s, o[4]), w5 = window(s, o[5]), w6 = window(s, o[6]), w7 = window(s, o[7]);
        const __m256i a = _mm256_set_m128i(_mm_unpacklo_epi64(w1, w2), _mm_unpacklo_epi64(w0, w1));
        const __m256i b = _mm256_set_m128i(_mm_unpacklo_epi64(w4, w5), _mm_unpacklo_epi64(w2, w3));
        const __m256i c = _mm256_set_m128i(_mm_unpacklo_epi64(w6, w7), _mm_unpacklo_epi64(w5, w6));
        const __m256i* weights = reinterpret_cast<const __m256i*>(pairs + k);
        auto* to = reinterpret_cast<__m256i*>(out + k);
        _mm256_storeu_si256(to, _mm256_madd_epi16(_mm256_shuffle_epi8(a, first), _mm256_loadu_si256(weights)));
        _mm256_storeu_si256(to + 1, _mm256_madd_epi16(_mm256_shuffle_epi8(b, second), _mm256_loadu_si256(weights + 1)));
        _mm256_storeu_si256(to + 2, _mm256_madd_epi16(_mm256_shuffle_epi8(c, third), _mm256_loadu_si256(weights + 2)));
    }
}

// Four channels: two pixels (eight samples) a step, each read with its
// right neighbour as one 8-byte window.
OX_TARGET_AVX2 void interpolateFour(const uint8_t* s, const int32_t* offsets, const int32_t* pairs, int64_t count,
                                    int64_t rowBytes, int32_t* out) noexcept {
    const char z = static_cast<char>(0x80);
    const __m256i shuffle = _mm256_setr_epi8(0, z, 4, z, 1, z, 5, z, 2, z, 6, z, 3, z, 7, z, 0, z, 4, z, 1, z, 5, z, 2,
                                             z, 6, z, 3, z, 7, z);
    for (int64_t k = 0; k < count; k += 8) {
        const int32_t* o = offsets + k / 4;
        prefetchAhead(s, o[0], rowBytes);
        const __m256i ab = _mm256_shuffle_epi8(_mm256_set_m128i(window(s, o[1]), window(s, o[0])), shuffle);
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs + k));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k), _mm256_madd_epi16(ab, w));
    }
}

OX_TARGET_AVX2 inline __m256i load8(const int32_t* p) noexcept {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// (a * 1024 + (b - a) * wy + 524288) >> 20 on eight samples; with the
// lower row out of play, (a * 1024 + 524288) >> 20.
template <bool Lower> OX_TARGET_AVX2 inline __m256i blend8(const int32_t* a, const int32_t* b, __m256i wy) noexcept {
    const __m256i half = _mm256_set1_epi32(524288);
    const __m256i va = load8(a);
    __m256i sum = _mm256_slli_epi32(va, 10);
    if constexpr (Lower) sum = _mm256_add_epi32(sum, _mm256_mullo_epi32(_mm256_sub_epi32(load8(b), va), wy));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, half), 20);
}

template <bool Lower>
OX_TARGET_AVX2 void blendRows(const int32_t* a, const int32_t* b, int32_t weight, uint8_t* d, int64_t n) noexcept {
    const __m256i wy = _mm256_set1_epi32(weight);
    // The packs interleave 128-bit lanes; this puts the four-byte groups
    // back in sample order.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int64_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const __m256i v0 = blend8<Lower>(a + i, b + i, wy), v1 = blend8<Lower>(a + i + 8, b + i + 8, wy);
        const __m256i v2 = blend8<Lower>(a + i + 16, b + i + 16, wy), v3 = blend8<Lower>(a + i + 24, b + i + 24, wy);
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(v0, v1), _mm256_packus_epi32(v2, v3));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_permutevar8x32_epi32(bytes, order));
    }
    for (; i + 8 <= n; i += 8) {
        const __m256i v = blend8<Lower>(a + i, b + i, wy);
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(words, words));
    }
    for (; i < n; ++i) d[i] = Lower ? blendOne(a[i], b[i], weight) : blendUpper(a[i]);
}

}  // namespace

OX_TARGET_AVX2 void interpolateAvx2(const uint8_t* s, const int32_t* offsets, const int32_t* pairs, int64_t count,
                                    int32_t channels, int64_t rowBytes, int32_t* out) noexcept {
    if (channels == 4) interpolateFour(s, offsets, pairs, count, rowBytes, out);
    else if (channels == 3) interpolateThree(s, offsets, pairs, count, rowBytes, out);
    else interpolateNarrow(s, offsets, pairs, count, channels, rowBytes, out);
}

OX_TARGET_AVX2 void blendAvx2(const int32_t* a, const int32_t* b, int32_t wy, uint8_t* d, int64_t n) noexcept {
    if (wy == 0) blendRows<false>(a, b, 0, d, n);
    else blendRows<true>(a, b, wy, d, n);
}

}  // namespace ox::detail::resize

#endif
