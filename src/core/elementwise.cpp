// Element-wise image operations: copy, blends, substitution, transpose.
#include <array>
#include <cstring>

#include "core/detail/core_ops.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/walk_view.hpp"
#include "ox_color.h"
#include "ox_elementwise.h"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>
#endif

using namespace ox::detail;

namespace {

// Every image of the walk must hold the first image's ROI size.
bool walkFits(const oxImage* first, std::initializer_list<const oxImage*> all) {
    for (const oxImage* img : all)
        if (!isKnownType(img->type) || !roiWalkFits(img, first->roi.width, first->roi.height)) return false;
    return true;
}

bool emptyRoi(const oxImage* img) { return img->roi.height < 1 || img->roi.width < 1; }

struct Weights {
    float u, w;  // u = 1 - w
};

constexpr Weights weightsOf(uint8_t weight) {
    const float w = static_cast<float>(weight) / 255.0f;
    return {1.0f - w, w};
}

// Both products are rounded to float before the sum (no fused multiply-add),
// so every processor gives the same bytes.
inline uint8_t mix(Weights k, uint8_t a, uint8_t b) {
    const float ua = k.u * static_cast<float>(a);
    const float wb = k.w * static_cast<float>(b);
    return clampToByte(ua + wb);
}

// Blends the ROI of `a` with `b` into `dst`; weigh(weightPixel) gives the
// weights of one pixel, `weights` walks the image they are read from.
template <class Weigh>
void blendRoi(const oxImage* a, const oxImage* b, oxImage* dst, RoiCursor weights, Weigh weigh) {
    RoiCursor pa = roiCursor(a), pb = roiCursor(b), pd = roiCursor(dst);
    if (stepsOf(a).pixel != 1) {
        const ChannelOffsets ca = channelOffsets(a), cb = channelOffsets(b), cd = channelOffsets(dst);
        walkRoi(a->roi.height, a->roi.width,
                [&](const uint8_t* sa, const uint8_t* sb, uint8_t* d, const uint8_t* m) {
                    const Weights k = weigh(m);
                    for (int c = 0; c < 3; ++c) d[cd.at[c]] = mix(k, sa[ca.at[c]], sb[cb.at[c]]);
                },
                pa, pb, pd, weights);
    } else {
        walkRoi(a->roi.height, a->roi.width,
                [&](const uint8_t* sa, const uint8_t* sb, uint8_t* d, const uint8_t* m) { *d = mix(weigh(m), *sa, *sb); },
                pa, pb, pd, weights);
    }
}

// Where the blend operations apply: every image 8-bit with one encoding, so
// that the channels sit at the same positions in each, and a grey 8-bit
// mask. Other combinations (mixed encodings, other pixel types read byte by
// byte) keep the cursor walk above.
bool sameLayout(std::initializer_list<const oxImage*> images, const oxImage* mask) {
    for (const oxImage* img : images)
        if (img->type != OX_8U || img->encoding != (*images.begin())->encoding) return false;
    return mask == nullptr || (mask->type == OX_8U && mask->encoding == OX_GRAY);
}

template <class T> View<T> walkOf(const oxImage* img, const oxImage* driver) {
    return walkView<T>(img, driver->roi.width, driver->roi.height);
}

// One row of n pixels, pixel by pixel in walk order: the reference, and the
// remainder of the vector loops. weight(x) gives pixel x's weights.
template <class Weigh>
void blendRowPlain(const uint8_t* a, const uint8_t* b, uint8_t* d, int32_t n, int32_t channels, ChannelOrder o,
                   Weigh weight) {
    if (channels == 1) {
        for (int32_t x = 0; x < n; ++x) d[x] = mix(weight(x), a[x], b[x]);
        return;
    }
    for (int32_t x = 0; x < n; ++x, a += channels, b += channels, d += channels) {
        const Weights k = weight(x);
        for (int32_t c = 0; c < 3; ++c) d[o.at[c]] = mix(k, a[o.at[c]], b[o.at[c]]);
    }
}

// Byte of a 4-channel pixel that the blends leave alone; -1 for the others.
int32_t keptChannel(int32_t channels, ChannelOrder o) {
    if (channels != 4) return -1;
    return 6 - o.at[0] - o.at[1] - o.at[2];
}

#if OX_HAVE_AVX2_PATH
// Eight bytes of a and b blended with per-byte weights: both products in
// float, then the sum, truncated. The sum is never negative or NaN and at
// most 255 plus a rounding, so the saturating packs clamp as clampToByte.
OX_TARGET_AVX2 inline __m128i blend8(const uint8_t* a, const uint8_t* b, __m256 u, __m256 w) {
    const __m256 fa = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a))));
    const __m256 fb = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(b))));
    const __m256i q = _mm256_cvttps_epi32(_mm256_add_ps(_mm256_mul_ps(u, fa), _mm256_mul_ps(w, fb)));
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(q), _mm256_extracti128_si256(q, 1));
    return _mm_packus_epi16(words, words);
}

// Stores eight result bytes, keeping the bytes of `keep` (0xff) that dst holds.
OX_TARGET_AVX2 inline void store8(uint8_t* d, __m128i v, __m128i keep, bool anyKept) {
    if (anyKept) v = _mm_blendv_epi8(v, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(d)), keep);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d), v);
}

OX_TARGET_AVX2 __m128i keptBytes(int32_t kept) {
    alignas(16) uint8_t m[16];
    for (int32_t i = 0; i < 16; ++i) m[i] = kept >= 0 && i % 4 == kept ? 0xff : 0;
    return _mm_load_si128(reinterpret_cast<const __m128i*>(m));
}

OX_TARGET_AVX2 void blendConstantAvx2(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, Weights k,
                                      ChannelOrder o) {
    const __m256 u = _mm256_set1_ps(k.u), w = _mm256_set1_ps(k.w);
    const int32_t kept = keptChannel(a.channels, o);
    const __m128i keep = keptBytes(kept);
    const int64_t n = a.rowElements();
    for (int32_t y = 0; y < a.height; ++y) {
        const uint8_t *ra = a.row(y), *rb = b.row(y);
        uint8_t* rd = dst.row(y);
        // Eight whole pixels per step: the remainder starts on a pixel, and
        // a 4-channel pattern stays in step.
        const int64_t step = 8 * int64_t{a.channels};
        int64_t i = 0;
        for (; i + step <= n; i += step)
            for (int64_t j = i; j < i + step; j += 8) store8(rd + j, blend8(ra + j, rb + j, u, w), keep, kept >= 0);
        const int32_t done = static_cast<int32_t>(i / a.channels);
        const int64_t at = int64_t{done} * a.channels;
        blendRowPlain(ra + at, rb + at, rd + at, a.width - done, a.channels, o, [k](int32_t) { return k; });
    }
}

OX_TARGET_AVX2 void blendMaskedAvx2(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst,
                                    ConstView<uint8_t> mask, ChannelOrder o, const Weights* table) {
    const int32_t c = a.channels, kept = keptChannel(c, o);
    const __m128i keep = keptBytes(kept);
    const __m256 one = _mm256_set1_ps(1.0f), scale = _mm256_set1_ps(255.0f);
    // Lane i of chunk j takes the weight of pixel (8 j + i) / c.
    __m256i spread[4];
    for (int32_t j = 0; j < c; ++j) {
        alignas(32) int32_t idx[8];
        for (int32_t i = 0; i < 8; ++i) idx[i] = (8 * j + i) / c;
        spread[j] = _mm256_load_si256(reinterpret_cast<const __m256i*>(idx));
    }
    for (int32_t y = 0; y < a.height; ++y) {
        const uint8_t *ra = a.row(y), *rb = b.row(y), *rm = mask.row(y);
        uint8_t* rd = dst.row(y);
        int32_t x = 0;
        for (; x + 8 <= a.width; x += 8) {
            // w = m / 255.0f and u = 1 - w, as weightsOf forms them.
            const __m128i m = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(rm + x));
            const __m256 w = _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(m)), scale);
            const __m256 u = _mm256_sub_ps(one, w);
            const int64_t at = int64_t{x} * c;
            if (c == 1) {
                store8(rd + at, blend8(ra + at, rb + at, u, w), keep, false);
                continue;
            }
            for (int32_t j = 0; j < c; ++j)
                store8(rd + at + 8 * j,
                       blend8(ra + at + 8 * j, rb + at + 8 * j, _mm256_permutevar8x32_ps(u, spread[j]),
                              _mm256_permutevar8x32_ps(w, spread[j])),
                       keep, kept >= 0);
        }
        const int64_t at = int64_t{x} * c;
        blendRowPlain(ra + at, rb + at, rd + at, a.width - x, c, o, [&](int32_t i) { return table[rm[x + i]]; });
    }
}
#endif

// The portable vector path (SSE2 on x86-64, NEON on arm64), written with
// the compiler's vector extensions: the same per-byte operations as mix,
// sixteen bytes at a time. -ffp-contract=off keeps the products apart; the
// widening and narrowing are spelled as the unpack and pack shuffles that
// every target has.
using B16 = uint8_t __attribute__((vector_size(16)));
using U16 = uint16_t __attribute__((vector_size(16)));
using I4 = int32_t __attribute__((vector_size(16)));
using F4 = float __attribute__((vector_size(16)));

inline B16 load16(const uint8_t* p) {
    B16 v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline void widen(B16 x, F4 out[4]) {
    const B16 z{};
    const U16 zw{};
    const U16 lo = reinterpret_cast<U16>(
        __builtin_shufflevector(x, z, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    const U16 hi = reinterpret_cast<U16>(
        __builtin_shufflevector(x, z, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31));
    out[0] = __builtin_convertvector(reinterpret_cast<I4>(__builtin_shufflevector(lo, zw, 0, 8, 1, 9, 2, 10, 3, 11)), F4);
    out[1] = __builtin_convertvector(reinterpret_cast<I4>(__builtin_shufflevector(lo, zw, 4, 12, 5, 13, 6, 14, 7, 15)), F4);
    out[2] = __builtin_convertvector(reinterpret_cast<I4>(__builtin_shufflevector(hi, zw, 0, 8, 1, 9, 2, 10, 3, 11)), F4);
    out[3] = __builtin_convertvector(reinterpret_cast<I4>(__builtin_shufflevector(hi, zw, 4, 12, 5, 13, 6, 14, 7, 15)), F4);
}

// Values in 0..255: the low byte of each lane.
inline B16 narrow(const I4 q[4]) {
    const U16 w0 = __builtin_shufflevector(reinterpret_cast<U16>(q[0]), reinterpret_cast<U16>(q[1]), 0, 2, 4, 6, 8, 10, 12, 14);
    const U16 w1 = __builtin_shufflevector(reinterpret_cast<U16>(q[2]), reinterpret_cast<U16>(q[3]), 0, 2, 4, 6, 8, 10, 12, 14);
    return __builtin_shufflevector(reinterpret_cast<B16>(w0), reinterpret_cast<B16>(w1), 0, 2, 4, 6, 8, 10, 12, 14, 16, 18,
                                   20, 22, 24, 26, 28, 30);
}

// Sixteen bytes with per-byte weights u[k], w[k] for bytes 4k .. 4k + 3.
// The sum lies in [0, 255 plus a rounding], so the truncation is exact.
inline B16 blend16(const uint8_t* a, const uint8_t* b, const F4 u[4], const F4 w[4]) {
    F4 fa[4], fb[4];
    widen(load16(a), fa);
    widen(load16(b), fb);
    I4 q[4];
    for (int32_t k = 0; k < 4; ++k) q[k] = __builtin_convertvector(u[k] * fa[k] + w[k] * fb[k], I4);
    return narrow(q);
}

// Stores sixteen bytes; those of `keep` keep what d holds.
inline void store16(uint8_t* d, B16 v, B16 keep) {
    v = (load16(d) & keep) | (v & ~keep);
    std::memcpy(d, &v, sizeof v);
}

inline B16 keptPattern(int32_t kept) {
    B16 keep{};
    for (int32_t i = 0; i < 16; ++i) keep[i] = kept >= 0 && i % 4 == kept ? 0xff : 0;
    return keep;
}

template <class Weigh>
void blendBaseline(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, ChannelOrder o, bool constant,
                   Weigh weigh) {
    const int32_t c = a.channels;
    const B16 keep = keptPattern(keptChannel(c, o));
    for (int32_t y = 0; y < a.height; ++y) {
        const uint8_t *ra = a.row(y), *rb = b.row(y);
        uint8_t* rd = dst.row(y);
        int32_t x = 0;
        if (constant) {
            // Sixteen whole pixels per step, so that the remainder starts on
            // a pixel and a 4-channel pattern stays in step.
            const Weights k = weigh(y, 0);
            const F4 u[4] = {F4{} + k.u, F4{} + k.u, F4{} + k.u, F4{} + k.u};
            const F4 w[4] = {F4{} + k.w, F4{} + k.w, F4{} + k.w, F4{} + k.w};
            for (; x + 16 <= a.width; x += 16)
                for (int32_t j = 0; j < c; ++j) {
                    const int64_t at = int64_t{x} * c + 16 * j;
                    store16(rd + at, blend16(ra + at, rb + at, u, w), keep);
                }
        } else {
            // Each pixel's weights repeated over its channels, then whole
            // vectors of them.
            alignas(16) float u[64], w[64];
            for (; x + 16 <= a.width; x += 16) {
                for (int32_t i = 0; i < 16; ++i) {
                    const Weights k = weigh(y, x + i);
                    for (int32_t j = 0; j < c; ++j) u[i * c + j] = k.u, w[i * c + j] = k.w;
                }
                for (int32_t j = 0; j < c; ++j) {
                    F4 uj[4], wj[4];
                    std::memcpy(uj, u + 16 * j, sizeof uj);
                    std::memcpy(wj, w + 16 * j, sizeof wj);
                    const int64_t at = int64_t{x} * c + 16 * j;
                    store16(rd + at, blend16(ra + at, rb + at, uj, wj), keep);
                }
            }
        }
        const int64_t at = int64_t{x} * c;
        blendRowPlain(ra + at, rb + at, rd + at, a.width - x, c, o, [&](int32_t i) { return weigh(y, x + i); });
    }
}

std::array<Weights, 256> weightTable() {
    std::array<Weights, 256> table;
    for (int m = 0; m < 256; ++m) table[m] = weightsOf(static_cast<uint8_t>(m));
    return table;
}

// The vector loops read every source pixel before writing its destination
// pixel and nothing else, so dst may be a or b; any other overlap keeps the
// plain walk.
bool vectorSafe(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, ConstView<uint8_t> mask) {
    return !overlap(a, dst) && !overlap(b, dst) && (mask.data == nullptr || !overlap(mask, dst));
}

void substituteRoi(const oxImage* src, oxImage* dst, const oxImage* mask) {
    RoiCursor s = roiCursor(src), d = roiCursor(dst), m = roiCursor(mask);
    const ChannelOffsets cs = channelOffsets(src), cd = channelOffsets(dst), cm = channelOffsets(mask);
    const bool colourSrc = stepsOf(src).pixel != 1, colourMask = stepsOf(mask).pixel != 1;
    const int32_t rows = src->roi.height, cols = src->roi.width;
    if (colourSrc && colourMask) {
        walkRoi(rows, cols,
                [&](const uint8_t* sp, uint8_t* dp, const uint8_t* mp) {
                    for (int c = 0; c < 3; ++c)
                        if (mp[cm.at[c]] != 0) dp[cd.at[c]] = sp[cs.at[c]];
                },
                s, d, m);
    } else if (colourSrc) {
        walkRoi(rows, cols,
                [&](const uint8_t* sp, uint8_t* dp, const uint8_t* mp) {
                    if (*mp == 0) return;
                    for (int c = 0; c < 3; ++c) dp[cd.at[c]] = sp[cs.at[c]];
                },
                s, d, m);
    } else {
        walkRoi(rows, cols, [&](const uint8_t* sp, uint8_t* dp, const uint8_t* mp) { if (*mp != 0) *dp = *sp; }, s, d, m);
    }
}

// The transpose reads src pixel (row x, column y) for every dst pixel
// (x, y), so dst may be no wider than src is high and no higher than src is
// wide, and each dst pixel must take the C bytes that are moved.
bool transposeFits(const oxImage* src, const oxImage* dst) {
    if (!isKnownType(src->type) || !isKnownType(dst->type) || !hasBuffer(src) || !hasBuffer(dst)) return false;
    return dst->width <= src->height && dst->height <= src->width &&
           channelCount(src->encoding) <= stepsOf(dst).pixel;
}

void transpose(const oxImage* src, oxImage* dst) {
    const Steps ss = stepsOf(src), ds = stepsOf(dst);
    const auto bytes = static_cast<size_t>(channelCount(src->encoding));
    for (int64_t y = 0; y < dst->height; ++y) {
        uint8_t* d = dst->data + y * ds.row;
        const uint8_t* s = src->data + y * ss.pixel;
        for (int64_t x = 0; x < dst->width; ++x, d += ds.pixel, s += ss.row) std::memcpy(d, s, bytes);
    }
}

}  // namespace

namespace ox::detail {

Status blendConstant(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, uint8_t weight,
                     ChannelOrder order) noexcept {
    const Weights k = weightsOf(weight);
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && vectorSafe(a, b, dst, {})) {
        blendConstantAvx2(a, b, dst, k, order);
        return Status::Ok;
    }
#endif
    if (!useReference() && vectorSafe(a, b, dst, {})) {
        blendBaseline(a, b, dst, order, true, [k](int32_t, int32_t) { return k; });
        return Status::Ok;
    }
    for (int32_t y = 0; y < a.height; ++y)
        blendRowPlain(a.row(y), b.row(y), dst.row(y), a.width, a.channels, order, [k](int32_t) { return k; });
    return Status::Ok;
}

Status blendMasked(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, ConstView<uint8_t> mask,
                   ChannelOrder order) noexcept {
    const std::array<Weights, 256> table = weightTable();
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && vectorSafe(a, b, dst, mask)) {
        blendMaskedAvx2(a, b, dst, mask, order, table.data());
        return Status::Ok;
    }
#endif
    if (!useReference() && vectorSafe(a, b, dst, mask)) {
        blendBaseline(a, b, dst, order, false, [&](int32_t y, int32_t x) { return table[mask.row(y)[x]]; });
        return Status::Ok;
    }
    for (int32_t y = 0; y < a.height; ++y) {
        const uint8_t* m = mask.row(y);
        blendRowPlain(a.row(y), b.row(y), dst.row(y), a.width, a.channels, order,
                      [&](int32_t x) { return table[m[x]]; });
    }
    return Status::Ok;
}

}  // namespace ox::detail

extern "C" {

OX_API int32_t oxCopy(const oxImage* src, oxImage* dst) { return oxImageCvtColor(src, dst); }

OX_API int32_t oxAddWeigthedS(const oxImage* a, const oxImage* b, oxImage* dst, uint8_t weight) {
    if (weight == 0) return oxImageCvtColor(a, dst);
    if (weight == 255) return oxImageCvtColor(b, dst);
    if (emptyRoi(a)) return 0;
    if (!walkFits(a, {a, b, dst})) return 1;
    if (sameLayout({a, b, dst}, nullptr))
        return code(blendConstant(walkOf<const uint8_t>(a, a), walkOf<const uint8_t>(b, a), walkOf<uint8_t>(dst, a),
                                  weight, channelOrderOf(a->encoding)));
    const Weights k = weightsOf(weight);
    // No mask: the weights cursor only shadows `a` and is never read.
    blendRoi(a, b, dst, roiCursor(a), [k](const uint8_t*) { return k; });
    return 0;
}

OX_API int32_t oxAddWeigthedM(const oxImage* a, const oxImage* b, oxImage* dst, const oxImage* mask) {
    if (emptyRoi(a)) return 0;
    if (!walkFits(a, {a, b, dst, mask})) return 1;
    if (sameLayout({a, b, dst}, mask))
        return code(blendMasked(walkOf<const uint8_t>(a, a), walkOf<const uint8_t>(b, a), walkOf<uint8_t>(dst, a),
                                walkOf<const uint8_t>(mask, a), channelOrderOf(a->encoding)));
    const std::array<Weights, 256> table = weightTable();
    blendRoi(a, b, dst, roiCursor(mask), [&table](const uint8_t* m) { return table[*m]; });
    return 0;
}

OX_API int32_t oxSubstitute(const oxImage* src, oxImage* dst, const oxImage* mask) {
    if (emptyRoi(src)) return 0;
    if (!walkFits(src, {src, dst, mask})) return 1;
    substituteRoi(src, dst, mask);
    return 0;
}

OX_API int32_t oxTranspose(const oxImage* src, oxImage* dst) {
    if (dst->width < 1 || dst->height < 1) return 0;
    if (!transposeFits(src, dst)) return 1;
    transpose(src, dst);
    return 0;
}

}  // extern "C"
