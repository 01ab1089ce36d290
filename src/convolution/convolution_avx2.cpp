// The AVX2 kernels of the separable passes (see passes_avx2.hpp). Only
// these functions are built for AVX2, through their target attribute; the
// rest of the library stays baseline code.
#include "convolution/detail/passes_avx2.hpp"

#if OX_HAVE_AVX2_PATH

#include <immintrin.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace ox::detail::sep::avx2 {

namespace {

// Eight sums as samples p[0..7] of T: floats as they are, doubles widened,
// bytes by the byte rule of byteFromSum (below 0 gives 0, above 255 or NaN
// gives 255, the rest is truncated).
template <class T> OX_TARGET_AVX2 inline void put8(T* p, __m256 v) {
    if constexpr (std::is_same_v<T, float>) {
        _mm256_storeu_ps(p, v);
    } else if constexpr (std::is_same_v<T, double>) {
        _mm256_storeu_pd(p, _mm256_cvtps_pd(_mm256_castps256_ps128(v)));
        _mm256_storeu_pd(p + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)));
    } else {
        // The ordered compares are false for NaN: not below 0, not in range.
        const __m256i below = _mm256_castps_si256(_mm256_cmp_ps(v, _mm256_setzero_ps(), _CMP_LT_OQ));
        const __m256i inRange = _mm256_castps_si256(_mm256_cmp_ps(v, _mm256_set1_ps(255.0f), _CMP_LE_OQ));
        const __m256i bytes =
            _mm256_andnot_si256(below, _mm256_blendv_epi8(_mm256_set1_epi32(255), _mm256_cvttps_epi32(v), inRange));
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
    }
}

OX_TARGET_AVX2 inline __m256 addProduct(__m256 acc, __m256 s, __m256 w) {
    return _mm256_add_ps(acc, _mm256_mul_ps(s, w));
}

// Row i of a block of four vertical outputs (16 samples each, from `s`),
// added to outputs First .. Last with weight i - j.
template <int First, int Last>
OX_TARGET_AVX2 inline void rowInto(const float* s, const float* w, int32_t i, __m256 (&a)[4][2]) {
    const __m256 s0 = _mm256_loadu_ps(s), s1 = _mm256_loadu_ps(s + 8);
#pragma GCC unroll 4
    for (int j = First; j <= Last; ++j) {
        const __m256 wk = _mm256_broadcast_ss(w + (i - j));
        a[j][0] = addProduct(a[j][0], s0, wk);
        a[j][1] = addProduct(a[j][1], s1, wk);
    }
}

// The same for any i and a kernel of any length: output j takes row i
// when i - j is a tap.
OX_TARGET_AVX2 inline void edgeRow(const float* s, int32_t i, const float* w, int32_t taps, __m256 (&a)[4][2]) {
    const __m256 s0 = _mm256_loadu_ps(s), s1 = _mm256_loadu_ps(s + 8);
#pragma GCC unroll 4
    for (int32_t j = 0; j < 4; ++j) {
        const int32_t k = i - j;
        if (k < 0 || k >= taps) continue;
        const __m256 wk = _mm256_broadcast_ss(w + k);
        a[j][0] = addProduct(a[j][0], s0, wk);
        a[j][1] = addProduct(a[j][1], s1, wk);
    }
}

// Outputs x .. n-1 of one line: eight vectors at a time (each sum is a
// chain of 2r+1 adds, and eight independent chains keep both adders
// busy), then one, then single floats.
template <class T> OX_TARGET_AVX2 inline void gatherSpan(const float* const* in, const Taps& t, int64_t x, int64_t n, T* out) {
    const int32_t taps = 2 * t.r + 1;
    for (; x + 64 <= n; x += 64) {
        __m256 a[8];
#pragma GCC unroll 8
        for (int j = 0; j < 8; ++j) a[j] = _mm256_setzero_ps();
        for (int32_t k = 0; k < taps; ++k) {
            const float* s = in[k] + x;
            const __m256 w = _mm256_broadcast_ss(t.w + k);
#pragma GCC unroll 8
            for (int j = 0; j < 8; ++j) a[j] = addProduct(a[j], _mm256_loadu_ps(s + 8 * j), w);
        }
#pragma GCC unroll 8
        for (int j = 0; j < 8; ++j) put8(out + x + 8 * j, a[j]);
    }
    for (; x + 8 <= n; x += 8) {
        __m256 a = _mm256_setzero_ps();
        for (int32_t k = 0; k < taps; ++k) a = addProduct(a, _mm256_loadu_ps(in[k] + x), _mm256_broadcast_ss(t.w + k));
        put8(out + x, a);
    }
    for (; x < n; ++x) {
        float a = 0.0f;
        for (int32_t k = 0; k < taps; ++k) a = a + in[k][x] * t.w[k];
        setSample(out, x, fromSum<T>(a));
    }
}

}  // namespace

template <class T> void gatherRow(const float* const* in, const Taps& t, int64_t n, T* out) {
    gatherSpan(in, t, 0, n, out);
}

// Rows i = 0 .. 2r+3 are loaded once each and added, with weight i - j,
// to each output j they reach; every output still takes its taps in order.
// Rows 3 .. 2r reach all four outputs: that stretch runs without tests,
// its four weights sliding along in registers.
template <class T> void gatherRows4(const float* const* in, const Taps& t, int64_t n, T* const* out) {
    const int32_t taps = 2 * t.r + 1;
    int64_t x = 0;
    for (; x + 16 <= n; x += 16) {
        __m256 a[4][2];
#pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) a[j][0] = a[j][1] = _mm256_setzero_ps();
        if (taps < 3) {
            for (int32_t i = 0; i < taps + 3; ++i) edgeRow(in[i] + x, i, t.w, taps, a);
        } else {
            // Rows 0 to 2 reach the outputs up to their own index, rows 2r+1
            // to 2r+3 those from theirs minus 2r.
            rowInto<0, 0>(in[0] + x, t.w, 0, a);
            rowInto<0, 1>(in[1] + x, t.w, 1, a);
            rowInto<0, 2>(in[2] + x, t.w, 2, a);
            __m256 w1 = _mm256_broadcast_ss(t.w + 2), w2 = _mm256_broadcast_ss(t.w + 1), w3 = _mm256_broadcast_ss(t.w);
            for (int32_t i = 3; i < taps; ++i) {
                const __m256 w0 = _mm256_broadcast_ss(t.w + i);
                const __m256 s0 = _mm256_loadu_ps(in[i] + x), s1 = _mm256_loadu_ps(in[i] + x + 8);
                a[0][0] = addProduct(a[0][0], s0, w0);
                a[0][1] = addProduct(a[0][1], s1, w0);
                a[1][0] = addProduct(a[1][0], s0, w1);
                a[1][1] = addProduct(a[1][1], s1, w1);
                a[2][0] = addProduct(a[2][0], s0, w2);
                a[2][1] = addProduct(a[2][1], s1, w2);
                a[3][0] = addProduct(a[3][0], s0, w3);
                a[3][1] = addProduct(a[3][1], s1, w3);
                w3 = w2;
                w2 = w1;
                w1 = w0;
            }
            rowInto<1, 3>(in[taps] + x, t.w, taps, a);
            rowInto<2, 3>(in[taps + 1] + x, t.w, taps + 1, a);
            rowInto<3, 3>(in[taps + 2] + x, t.w, taps + 2, a);
        }
#pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) {
            put8(out[j] + x, a[j][0]);
            put8(out[j] + x + 8, a[j][1]);
        }
    }
    for (int32_t j = 0; j < 4; ++j) gatherSpan(in + j, t, x, n, out[j]);
}

template <class T> void widen(const T* src, int64_t n, float* dst) {
    int64_t i = 0;
    if constexpr (std::is_same_v<T, float>) {
        std::memcpy(dst, src, static_cast<size_t>(n) * sizeof(float));
        return;
    } else if constexpr (std::is_same_v<T, double>) {
        for (; i + 8 <= n; i += 8) {
            const __m128 lo = _mm256_cvtpd_ps(_mm256_loadu_pd(src + i)), hi = _mm256_cvtpd_ps(_mm256_loadu_pd(src + i + 4));
            _mm256_storeu_ps(dst + i, _mm256_set_m128(hi, lo));
        }
    } else {
        for (; i + 16 <= n; i += 16) {
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
            _mm256_storeu_ps(dst + i, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(b)));
            _mm256_storeu_ps(dst + i + 8, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_srli_si128(b, 8))));
        }
    }
    for (; i < n; ++i) dst[i] = toFloat(sampleAt(src, i));
}

#define OX_CONVOLUTION_AVX2_KERNELS(T)                                                         \
    template void gatherRow<T>(const float* const*, const Taps&, int64_t, T*);                 \
    template void gatherRows4<T>(const float* const*, const Taps&, int64_t, T* const*);        \
    template void widen<T>(const T*, int64_t, float*);
OX_CONVOLUTION_AVX2_KERNELS(uint8_t)
OX_CONVOLUTION_AVX2_KERNELS(float)
OX_CONVOLUTION_AVX2_KERNELS(double)
#undef OX_CONVOLUTION_AVX2_KERNELS

}  // namespace ox::detail::sep::avx2

#endif  // OX_HAVE_AVX2_PATH
