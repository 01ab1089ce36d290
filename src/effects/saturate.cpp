// Saturation change that keeps each pixel's maximum channel and hue.
#include <cmath>
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/interleave_avx2.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/status.hpp"
#include "core/detail/walk_view.hpp"
#include "effects/detail/saturate_ops.hpp"
#include "ox_simplify.h"

using namespace ox::detail;

namespace {

// Positions (0 blue, 1 green, 2 red) of the maximum, middle and minimum.
// Ties are broken by these exact comparisons: they decide which channel is
// recomputed as the middle one, and so the bytes.
struct Order {
    int32_t hi, mid, lo;
};

Order orderOf(int32_t b, int32_t g, int32_t r) {
    if (b > g) {
        if (g > r) return {0, 1, 2};
        return r > b ? Order{2, 0, 1} : Order{0, 2, 1};
    }
    if (r > g) return {2, 1, 0};
    return r > b ? Order{1, 2, 0} : Order{1, 0, 2};
}

// Everything a pixel's new channels need besides its middle value depends
// on its maximum M and minimum m alone: the old saturation k, the new
// minimum (truncated before the middle channel is derived from it) and the
// share of the old spread that the middle channel keeps.
struct PairTerms {
    float k, keep;
    uint8_t lo;
};

PairTerms pairTerms(int32_t hi, int32_t lo, float f) {
    const float M = static_cast<float>(hi), m = static_cast<float>(lo);
    // Below 0 gives 0, 255 and up 255 (255.x truncates to 255 anyway); the
    // NaN of a NaN or infinite factor gives 0.
    const uint8_t newLo = clampToByte(std::fmaf(M, 1.0f - f, f * m));
    return {1.0f - m / M, 1.0f - static_cast<float>(newLo) / M, newLo};
}

// Large images look the terms up for each of the 32640 pairs with M > m
// instead of dividing twice per pixel; small ones compute them in place.
// Both evaluate pairTerms, so the bytes are the same.
constexpr int64_t kTableFrom = 1 << 16;

class Terms {
public:
    Terms(float f, int64_t pixels) : f_(f) {
        if (pixels < kTableFrom) return;
        table_ = allocateBuffer(sizeof(PairTerms) << 16);
        auto* t = reinterpret_cast<PairTerms*>(table_.get());
        if (!t) return;  // computed per pixel then
        for (int32_t hi = 1; hi < 256; ++hi)
            for (int32_t lo = 0; lo < hi; ++lo) t[hi << 8 | lo] = pairTerms(hi, lo, f);
    }
    PairTerms operator()(int32_t hi, int32_t lo) const {
        return table_ ? reinterpret_cast<const PairTerms*>(table_.get())[hi << 8 | lo] : pairTerms(hi, lo, f_);
    }

private:
    float f_;
    Buffer table_;
};

void saturatePixel(const uint8_t* s, ChannelOrder in, uint8_t* d, ChannelOrder out, const Terms& terms) {
    const uint8_t v[3] = {s[in.at[0]], s[in.at[1]], s[in.at[2]]};
    const Order o = orderOf(v[0], v[1], v[2]);
    if (v[o.hi] == v[o.lo]) {
        for (int32_t c = 0; c < 3; ++c) d[out.at[c]] = v[c];
        return;
    }
    const PairTerms t = terms(v[o.hi], v[o.lo]);
    const float spread = static_cast<float>(v[o.mid] - v[o.lo]);  // exact, as the float difference
    d[out.at[o.hi]] = v[o.hi];
    d[out.at[o.lo]] = t.lo;
    d[out.at[o.mid]] = clampToByte(spread * t.keep / t.k + static_cast<float>(t.lo));
}

void saturateRowPlain(const uint8_t* s, int32_t inStep, ChannelOrder in, uint8_t* d, int32_t outStep,
                      ChannelOrder out, int32_t n, const Terms& terms) {
    for (int32_t x = 0; x < n; ++x, s += inStep, d += outStep) saturatePixel(s, in, d, out, terms);
}

#if OX_HAVE_AVX2_PATH
// x > y for unsigned bytes.
OX_TARGET_AVX2 inline __m128i greater(__m128i x, __m128i y) {
    return _mm_xor_si128(_mm_cmpeq_epi8(_mm_max_epu8(x, y), y), _mm_set1_epi8(-1));
}

// clampToByte of eight floats: maxps gives its second operand for a NaN,
// so NaN becomes 0 as there.
OX_TARGET_AVX2 inline __m256i clampTrunc8(__m256 v) {
    return _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(255.0f)));
}

OX_TARGET_AVX2 inline __m128i bytes16(__m256i a, __m256i b) {
    const __m128i wa = _mm_packus_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
    const __m128i wb = _mm_packus_epi32(_mm256_castsi256_si128(b), _mm256_extracti128_si256(b, 1));
    return _mm_packus_epi16(wa, wb);
}

OX_TARGET_AVX2 inline __m256 floats8(__m128i bytes) { return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)); }

// New minimum and middle value of eight pixels from their maximum, minimum
// and middle, with pairTerms and the middle formula evaluated in the same
// order and precision (the fused multiply-add where pairTerms has fmaf).
struct NewValues {
    __m256i lo, mid;
};

OX_TARGET_AVX2 inline NewValues newValues8(__m128i hi, __m128i lo, __m128i mid, __m256 f, __m256 oneMinusF) {
    const __m256 one = _mm256_set1_ps(1.0f);
    const __m256 M = floats8(hi), m = floats8(lo);
    const __m256 k = _mm256_sub_ps(one, _mm256_div_ps(m, M));
    const __m256i newLo = clampTrunc8(_mm256_fmadd_ps(M, oneMinusF, _mm256_mul_ps(f, m)));
    const __m256 newLoF = _mm256_cvtepi32_ps(newLo);
    const __m256 keep = _mm256_sub_ps(one, _mm256_div_ps(newLoF, M));
    const __m256 spread = _mm256_sub_ps(floats8(mid), m);
    const __m256 v = _mm256_add_ps(_mm256_div_ps(_mm256_mul_ps(spread, keep), k), newLoF);
    return {newLo, clampTrunc8(v)};
}

// Sixteen pixels at a time. The roles (maximum, middle, minimum) of the
// three channels follow orderOf's comparisons lane by lane, ties included.
template <int32_t In, int32_t Out>
OX_TARGET_AVX2 void saturateRowAvx2(const uint8_t* s, ChannelOrder in, uint8_t* d, ChannelOrder out, int32_t n,
                                    const Shuffle16& gather, const Shuffle16& scatter, const Terms& terms, float factor) {
    const __m256 f = _mm256_set1_ps(factor), oneMinusF = _mm256_set1_ps(1.0f - factor);
    int32_t x = 0;
    for (; x + 16 <= n; x += 16, s += 16 * In, d += 16 * Out) {
        __m128i v[3];
        gather16<In>(s, gather, v);
        const __m128i b = v[0], g = v[1], r = v[2];
        const __m128i hi = _mm_max_epu8(b, _mm_max_epu8(g, r)), lo = _mm_min_epu8(b, _mm_min_epu8(g, r));
        const __m128i c1 = greater(b, g), c2 = greater(g, r), c3 = greater(r, b), c4 = greater(r, g);
        const __m128i A = c1;  // b > g
        const __m128i aC2 = _mm_and_si128(A, c2), aN2 = _mm_andnot_si128(c2, A);
        const __m128i bC4 = _mm_andnot_si128(A, c4), bN4 = _mm_andnot_si128(_mm_or_si128(A, c4), _mm_set1_epi8(-1));
        const __m128i isLo[3] = {_mm_andnot_si128(A, _mm_or_si128(c4, c3)), aN2,
                                 _mm_or_si128(aC2, _mm_andnot_si128(c3, bN4))};
        const __m128i isMid[3] = {_mm_or_si128(_mm_and_si128(aN2, c3), _mm_andnot_si128(c3, bN4)),
                                  _mm_or_si128(aC2, bC4),
                                  _mm_or_si128(_mm_andnot_si128(c3, aN2), _mm_and_si128(bN4, c3))};
        const __m128i mid = _mm_or_si128(_mm_or_si128(_mm_and_si128(isMid[0], b), _mm_and_si128(isMid[1], g)),
                                         _mm_and_si128(isMid[2], r));
        const NewValues first = newValues8(hi, lo, mid, f, oneMinusF);
        const NewValues second =
            newValues8(_mm_srli_si128(hi, 8), _mm_srli_si128(lo, 8), _mm_srli_si128(mid, 8), f, oneMinusF);
        const __m128i newLo = bytes16(first.lo, second.lo), newMid = bytes16(first.mid, second.mid);
        // Grey pixels (maximum equal to minimum) keep their channels.
        const __m128i grey = _mm_cmpeq_epi8(hi, lo);
        __m128i res[3];
        for (int32_t c = 0; c < 3; ++c) {
            __m128i o = _mm_blendv_epi8(v[c], newMid, isMid[c]);
            o = _mm_blendv_epi8(o, newLo, isLo[c]);
            res[c] = _mm_blendv_epi8(o, v[c], grey);
        }
        scatter16<Out>(d, scatter, res);
    }
    saturateRowPlain(s, In, in, d, Out, out, n - x, terms);
}

using RowFn = void (*)(const uint8_t*, ChannelOrder, uint8_t*, ChannelOrder, int32_t, const Shuffle16&,
                       const Shuffle16&, const Terms&, float);

RowFn rowAvx2(int32_t in, int32_t out) {
    if (in == 3) return out == 3 ? saturateRowAvx2<3, 3> : saturateRowAvx2<3, 4>;
    return out == 3 ? saturateRowAvx2<4, 3> : saturateRowAvx2<4, 4>;
}
#endif

bool walkable(const oxImage* img, int64_t pixels) {
    const Count bytes = checkedProduct({pixels, channelCount(img->encoding)});
    return hasBuffer(img) && bytes && *bytes <= *bufferBytes(img);
}

// The first w * h pixels of the buffer, packed, in src's shape.
template <class T> View<T> packedView(const oxImage* img, int32_t w, int32_t h) {
    const int32_t channels = channelCount(img->encoding);
    return {reinterpret_cast<T*>(img->data), w, h, channels, int64_t{w} * channels};
}

Status saturate(float f, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t w = src->width, h = src->height;
    if (h < 1 || w < 1) return Status::Ok;
    const int64_t pixels = static_cast<int64_t>(w) * h;
    if (!walkable(src, pixels) || !walkable(dst, pixels)) return Status::Refused;
    // A grey source reads its one value as all three channels.
    const auto orderOfImage = [](const oxImage* img) {
        return img->encoding == OX_GRAY ? ChannelOrder{{0, 0, 0}} : channelOrderOf(img->encoding);
    };
    return saturatePixels(packedView<const uint8_t>(src, w, h), orderOfImage(src), packedView<uint8_t>(dst, w, h),
                          orderOfImage(dst), f, abortFlag);
}

}  // namespace

namespace ox::detail {

Status saturatePixels(ConstView<uint8_t> src, ChannelOrder srcOrder, View<uint8_t> dst, ChannelOrder dstOrder,
                      float factor, AbortFlag abortFlag) noexcept {
#if OX_HAVE_AVX2_PATH
    // Both sides with colour pixels; a grey destination takes three writes
    // per pixel in a fixed order, which the plain loop keeps.
    if (useAvx2() && src.channels >= 3 && dst.channels >= 3 && !overlap(src, dst)) {
        const RowFn row = rowAvx2(src.channels, dst.channels);
        const Terms terms(factor, 0);  // only the last pixels of a row use them: no table
        const Shuffle16 gather = gatherMasks(src.channels, srcOrder), scatter = scatterMasks(dst.channels, dstOrder);
        for (int32_t y = 0; y < src.height; ++y) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            row(src.row(y), srcOrder, dst.row(y), dstOrder, src.width, gather, scatter, terms, factor);
        }
        return Status::Ok;
    }
#endif
    const Terms terms(factor, int64_t{src.width} * src.height);
    for (int32_t y = 0; y < src.height; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        saturateRowPlain(src.row(y), src.channels, srcOrder, dst.row(y), dst.channels, dstOrder, src.width, terms);
    }
    return Status::Ok;
}

}  // namespace ox::detail

extern "C" {

OX_API oxSaturateParams* oxSaturateParamsDefault(void) {
    auto* p = allocateRecord<oxSaturateParams>();
    if (p) p->factor = 1.0f;
    return p;
}

OX_API void oxSaturateParamsRelease(oxSaturateParams** params) { releaseRecord(params); }

OX_API int32_t oxSaturateFilter(const oxSaturateParams* params, const oxImage* src, oxImage* dst,
                                const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(saturate(params->factor, src, dst, abortFlag));
}

}  // extern "C"
