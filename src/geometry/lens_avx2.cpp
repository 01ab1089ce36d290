// The AVX2 row kernel of the lens distortion: eight neighbouring pixels at
// a time, each with the plain path's float operations in the same order
// and no fused multiply-add, so every byte equals the plain one. The 2 x 2
// neighbours come in through 32-bit gathers that never reach outside the
// two source rows they belong to.
#include "geometry/detail/lens_kernels.hpp"

#if OX_HAVE_AVX2_PATH

#include <immintrin.h>

#include <cstdint>
#include <cstring>

namespace ox::detail::lens {

bool avx2Takes(ConstView<uint8_t> src) noexcept {
    const bool channels = src.channels == 3 || src.channels == 4 || (src.channels == 1 && src.width >= 4);
    // Offsets from the first pixel, up to the end of the last row.
    const int64_t end = (static_cast<int64_t>(src.height) - 1) * src.stride + src.rowElements();
    return channels && end < INT32_MAX;
}

namespace {

// Byte `Shift / 8` of every lane, as a float (one shuffle moves it to the
// bottom of its lane and clears the rest).
template <int Shift> OX_TARGET_AVX2 inline __m256 byteAt(__m256i v) noexcept {
    // Shuffle indices count from the start of each 128-bit half.
    constexpr int32_t kClear = static_cast<int32_t>(0xFFFFFF00u), kByte = Shift / 8;
    const __m256i pick = _mm256_setr_epi32(kClear | kByte, kClear | (4 + kByte), kClear | (8 + kByte),
                                           kClear | (12 + kByte), kClear | kByte, kClear | (4 + kByte),
                                           kClear | (8 + kByte), kClear | (12 + kByte));
    return _mm256_cvtepi32_ps(_mm256_shuffle_epi8(v, pick));
}

OX_TARGET_AVX2 inline __m256i gather(const uint8_t* base, __m256i offsets) noexcept {
    return _mm256_i32gather_epi32(reinterpret_cast<const int*>(base), offsets, 1);
}

// The four neighbours of channel c, one lane per pixel, as 32-bit words
// whose byte `shift` holds the sample (upper-left, upper-right, lower-left,
// lower-right).
struct Neighbours {
    __m256i upper, upperRight, lower, lowerRight;
};

// Channel `C` of the bilinear blend: the weights times the neighbours,
// summed left to right as the plain loop does, clamped to 0..255 and
// truncated. `RightShift` is where the right neighbour's channel sits.
template <int Shift, int RightShift>
OX_TARGET_AVX2 inline __m256i blend(const Neighbours& n, __m256 w00, __m256 w01, __m256 w10, __m256 w11) noexcept {
    __m256 v = _mm256_mul_ps(w00, byteAt<Shift>(n.upper));
    v = _mm256_add_ps(v, _mm256_mul_ps(w01, byteAt<Shift>(n.lower)));
    v = _mm256_add_ps(v, _mm256_mul_ps(w10, byteAt<RightShift>(n.upperRight)));
    v = _mm256_add_ps(v, _mm256_mul_ps(w11, byteAt<RightShift>(n.lowerRight)));
    // Every weight and sample is non-negative, so the sum is too: only the
    // upper clamp can bite.
    return _mm256_cvttps_epi32(_mm256_min_ps(v, _mm256_set1_ps(255.0f)));
}

// Offset of the first byte each lane reads for its upper-left word, and
// the offset of its upper-right word from there. One channel reads 4 bytes
// from min(left, w - 4) and shifts them down to the sample, so the last
// columns never read past their row; three channels read the right pixel
// from one byte before it, so both reads end inside the pair.
template <int32_t C> constexpr int32_t kRightWord = C == 1 ? 0 : C == 3 ? 2 : 4;

// The gathers: four 32-bit loads per lane.
template <int32_t C>
OX_TARGET_AVX2 inline Neighbours gathered(ConstView<uint8_t> src, __m256i left, __m256i top) noexcept {
    const __m256i stride = _mm256_set1_epi32(static_cast<int32_t>(src.stride));
    const __m256i rowStart = _mm256_mullo_epi32(top, stride);
    Neighbours nb;
    if constexpr (C == 1) {
        const __m256i from = _mm256_min_epi32(left, _mm256_set1_epi32(src.width - 4));
        const __m256i shift = _mm256_slli_epi32(_mm256_sub_epi32(left, from), 3);
        const __m256i at = _mm256_add_epi32(rowStart, from);
        nb.upper = _mm256_srlv_epi32(gather(src.data, at), shift);
        nb.lower = _mm256_srlv_epi32(gather(src.data, _mm256_add_epi32(at, stride)), shift);
        nb.upperRight = nb.upper;
        nb.lowerRight = nb.lower;
    } else {
        const __m256i at = _mm256_add_epi32(rowStart, _mm256_mullo_epi32(left, _mm256_set1_epi32(C)));
        const __m256i atRight = _mm256_add_epi32(at, _mm256_set1_epi32(kRightWord<C>));
        nb.upper = gather(src.data, at);
        nb.upperRight = gather(src.data, atRight);
        nb.lower = gather(src.data, _mm256_add_epi32(at, stride));
        nb.lowerRight = gather(src.data, _mm256_add_epi32(atRight, stride));
    }
    return nb;
}

// 32 bytes of a row held as both 16-byte halves, to pick any of them by
// index with in-lane byte shuffles.
struct Window {
    __m256i low, high;
};

OX_TARGET_AVX2 inline Window windowAt(const uint8_t* p) noexcept {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    return {_mm256_permute2x128_si256(bytes, bytes, 0x00), _mm256_permute2x128_si256(bytes, bytes, 0x11)};
}

// Lane i gets the window's bytes index_i .. index_i + 3 (indices below 32).
OX_TARGET_AVX2 inline __m256i wordsAt(const Window& w, __m256i index) noexcept {
    const __m256i fromHigh = _mm256_slli_epi16(index, 3);  // bit 4 of each index to bit 7
    return _mm256_blendv_epi8(_mm256_shuffle_epi8(w.low, index), _mm256_shuffle_epi8(w.high, index), fromHigh);
}

// wordsAt from `y` in the lanes of `fromY`, from `x` elsewhere.
OX_TARGET_AVX2 inline __m256i pick(const Window& x, const Window& y, __m256i index, __m256i fromY) noexcept {
    return _mm256_blendv_epi8(wordsAt(x, index), wordsAt(y, index), fromY);
}

// The smallest of the eight lanes.
OX_TARGET_AVX2 inline int32_t smallest(__m256i v) noexcept {
    __m256i m = _mm256_min_epi32(v, _mm256_permute2x128_si256(v, v, 1));
    m = _mm256_min_epi32(m, _mm256_shuffle_epi32(m, _MM_SHUFFLE(1, 0, 3, 2)));
    m = _mm256_min_epi32(m, _mm256_shuffle_epi32(m, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm256_cvtsi256_si32(m);
}

OX_TARGET_AVX2 inline bool allAtMost(__m256i v, int32_t limit) noexcept {
    const __m256i l = _mm256_set1_epi32(limit);
    return _mm256_movemask_epi8(_mm256_cmpeq_epi32(_mm256_max_epu32(v, l), l)) == -1;
}

// The neighbours of eight samples. Where all eight lie inside, their upper
// rows are one or two neighbouring rows, and their pixels lie in a 32-byte
// stretch from the leftmost one, row loads and byte shuffles give the same
// words the gathers would; elsewhere the gathers run.
template <int32_t C>
OX_TARGET_AVX2 inline Neighbours neighbours(ConstView<uint8_t> src, __m256i left, __m256i top, bool allInside) noexcept {
    // Highest lane offset, in pixels, whose last word still ends in the window.
    constexpr int32_t kMaxRel = (28 - kRightWord<C>) / C;
    if (!allInside) return gathered<C>(src, left, top);
    const int32_t left0 = smallest(left), top0 = smallest(top);
    const __m256i rel = _mm256_sub_epi32(left, _mm256_set1_epi32(left0));
    const __m256i relTop = _mm256_sub_epi32(top, _mm256_set1_epi32(top0));
    if (!allAtMost(rel, kMaxRel) || !allAtMost(relTop, 1) || static_cast<int64_t>(left0) * C + 32 > src.rowElements())
        return gathered<C>(src, left, top);
    const uint8_t* p = src.row(top0) + static_cast<int64_t>(left0) * C;
    const __m256i first = _mm256_mullo_epi32(rel, _mm256_set1_epi32(C * 0x01010101));
    const __m256i index = _mm256_add_epi8(first, _mm256_set1_epi32(0x03020100));
    const __m256i indexRight = _mm256_add_epi8(index, _mm256_set1_epi8(kRightWord<C>));
    const Window a = windowAt(p), b = windowAt(p + src.stride);
    if (_mm256_testz_si256(relTop, relTop))
        return {wordsAt(a, index), wordsAt(a, indexRight), wordsAt(b, index), wordsAt(b, indexRight)};
    // Some lanes sit one row lower: their rows are the next pair.
    const Window c = windowAt(p + 2 * src.stride);
    const __m256i lower = _mm256_cmpeq_epi32(relTop, _mm256_set1_epi32(1));
    return {pick(a, b, index, lower), pick(a, b, indexRight, lower), pick(b, c, index, lower),
            pick(b, c, indexRight, lower)};
}

template <int32_t C>
OX_TARGET_AVX2 void rowAvx2(const Distortion& d, ConstView<uint8_t> src, int32_t y, int32_t x0, int32_t n,
                            uint8_t* out) noexcept {
    // The row's own terms are the same for every pixel of it; formed once
    // in scalar float they round exactly as they do per pixel.
    const float fy = static_cast<float>(y), dyS = fy - d.y0, dy2S = dyS * dyS;
    const __m256 k = _mm256_set1_ps(d.k), cx = _mm256_set1_ps(d.x0);
    const __m256 py = _mm256_set1_ps(fy), dy = _mm256_set1_ps(dyS), dy2 = _mm256_set1_ps(dy2S);
    const __m256 lastX = _mm256_set1_ps(static_cast<float>(src.width - 1));
    const __m256 lastY = _mm256_set1_ps(static_cast<float>(src.height - 1));
    const __m256 zero = _mm256_setzero_ps(), one = _mm256_set1_ps(1.0f);
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8, out += 8 * C) {
        const __m256 x = _mm256_cvtepi32_ps(_mm256_add_epi32(_mm256_set1_epi32(x0 + i), lanes));
        const __m256 dx = _mm256_sub_ps(x, cx);
        const __m256 f = _mm256_mul_ps(k, _mm256_add_ps(_mm256_mul_ps(dx, dx), dy2));
        const __m256 sx = _mm256_add_ps(x, _mm256_mul_ps(dx, f));
        const __m256 sy = _mm256_add_ps(py, _mm256_mul_ps(dy, f));
        // Ordered comparisons: NaN fails them, as in the plain test.
        const __m256 inside = _mm256_and_ps(
            _mm256_and_ps(_mm256_cmp_ps(sx, zero, _CMP_GE_OQ), _mm256_cmp_ps(sy, zero, _CMP_GE_OQ)),
            _mm256_and_ps(_mm256_cmp_ps(sx, lastX, _CMP_LT_OQ), _mm256_cmp_ps(sy, lastY, _CMP_LT_OQ)));
        if (_mm256_movemask_ps(inside) == 0) {
            std::memset(out, 0, 8 * C);
            continue;
        }
        // Lanes outside sample at (0, 0), which always exists, and are
        // zeroed at the end; the others keep their exact position.
        const __m256 px = _mm256_and_ps(sx, inside), qy = _mm256_and_ps(sy, inside);
        const __m256i left = _mm256_cvttps_epi32(px), top = _mm256_cvttps_epi32(qy);
        const __m256 a = _mm256_sub_ps(px, _mm256_cvtepi32_ps(left));
        const __m256 b = _mm256_sub_ps(qy, _mm256_cvtepi32_ps(top));
        const __m256 ia = _mm256_sub_ps(one, a), ib = _mm256_sub_ps(one, b);
        const __m256 w00 = _mm256_mul_ps(ia, ib), w01 = _mm256_mul_ps(ia, b);
        const __m256 w10 = _mm256_mul_ps(a, ib), w11 = _mm256_mul_ps(a, b);
        const __m256i keep = _mm256_castps_si256(inside);
        const Neighbours nb = neighbours<C>(src, left, top, _mm256_movemask_ps(inside) == 0xFF);
        if constexpr (C == 1) {
            const __m256i v = _mm256_and_si256(blend<0, 8>(nb, w00, w01, w10, w11), keep);
            const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(v, v), _mm256_setzero_si256());
            const __m256i packed = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 1, 1, 1, 1, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(packed));
        } else if constexpr (C == 3) {
            const __m256i c0 = blend<0, 8>(nb, w00, w01, w10, w11);
            const __m256i c1 = blend<8, 16>(nb, w00, w01, w10, w11);
            const __m256i c2 = blend<16, 24>(nb, w00, w01, w10, w11);
            __m256i pixels = _mm256_or_si256(c0, _mm256_or_si256(_mm256_slli_epi32(c1, 8), _mm256_slli_epi32(c2, 16)));
            pixels = _mm256_and_si256(pixels, keep);
            // Four 3-byte pixels per 128-bit half, then the halves joined:
            // 24 bytes in a row.
            const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4,
                                                     5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
            pixels = _mm256_shuffle_epi8(pixels, squeeze);
            pixels = _mm256_permutevar8x32_epi32(pixels, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(pixels));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(pixels, 1));
        } else {
            const __m256i c0 = blend<0, 0>(nb, w00, w01, w10, w11);
            const __m256i c1 = blend<8, 8>(nb, w00, w01, w10, w11);
            const __m256i c2 = blend<16, 16>(nb, w00, w01, w10, w11);
            const __m256i c3 = blend<24, 24>(nb, w00, w01, w10, w11);
            __m256i pixels = _mm256_or_si256(_mm256_or_si256(c0, _mm256_slli_epi32(c1, 8)),
                                             _mm256_or_si256(_mm256_slli_epi32(c2, 16), _mm256_slli_epi32(c3, 24)));
            pixels = _mm256_and_si256(pixels, keep);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), pixels);
        }
    }
    if (i < n) distortRow(d, src, y, x0 + i, n - i, out);
}

}  // namespace

OX_TARGET_AVX2 void distortRowAvx2(const Distortion& d, ConstView<uint8_t> src, int32_t y, int32_t x0, int32_t n,
                                   uint8_t* out) noexcept {
    switch (src.channels) {
    case 1: return rowAvx2<1>(d, src, y, x0, n, out);
    case 3: return rowAvx2<3>(d, src, y, x0, n, out);
    default: return rowAvx2<4>(d, src, y, x0, n, out);  // avx2Takes admits 1, 3 and 4
    }
}

}  // namespace ox::detail::lens

#endif
