// Colour conversion between encodings and the fixed-point grey sum.
#include <algorithm>
#include <cstring>

#include "core/detail/core_ops.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/walk_view.hpp"
#include "ox_color.h"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>
#endif

using namespace ox::detail;

namespace {

// Table index of one channel value and the grey value made from the sum S,
// per pixel type. Integer types are quantised to 8 bits of each channel
// before weighting; the float types use S whole, bias included, scaled by
// 2^-22 (so white comes out as 0.998046875: that scale is intended).
template <int32_t Code> struct Gray;

template <> struct Gray<OX_8U> {
    static int32_t index(uint8_t v) { return v; }
    static uint8_t value(int32_t s) { return static_cast<uint8_t>(s >> 14); }
};
template <> struct Gray<OX_16U> {
    static int32_t index(uint16_t v) { return v >> 8; }
    static uint16_t value(int32_t s) { return static_cast<uint16_t>(s >> 6); }
};
template <> struct Gray<OX_32S> {
    static int32_t index(int32_t v) { return v < 0 ? 0 : std::min(v >> 8, 255); }
    static int32_t value(int32_t s) { return s >> 6; }
};
template <> struct Gray<OX_32U> {
    static int32_t index(uint32_t u) {
        const auto v = static_cast<int32_t>(u);
        return v < 0 ? 0 : std::min(v >> 16, 255);
    }
    static uint32_t value(int32_t s) { return static_cast<uint32_t>(s) * 4u; }
};
template <> struct Gray<OX_32F> {
    static int32_t index(float v) { return clampTrunc<int32_t>(v * 255.0f, 0, 255); }
    static float value(int32_t s) { return static_cast<float>(s) * 2.3841858e-7f; }
};
template <> struct Gray<OX_64F> {
    static int32_t index(double v) { return clampTrunc<int32_t>(v * 255.0, 0, 255); }
    static double value(int32_t s) { return static_cast<double>(s) * 2.384185791015625e-7; }
};

template <int32_t Code> void toGray(const oxImage* src, oxImage* dst) {
    using T = PixelType<Code>;
    const ChannelOffsets o = channelOffsets(src);
    RoiCursor s = roiCursor(src), d = roiCursor(dst);
    walkRoi(src->roi.height, src->roi.width,
            [&](const uint8_t* sp, uint8_t* dp) {
                T b, g, r;
                std::memcpy(&b, sp + o.at[0], sizeof b);
                std::memcpy(&g, sp + o.at[1], sizeof g);
                std::memcpy(&r, sp + o.at[2], sizeof r);
                const int32_t sum = ox_toGray_tab[Gray<Code>::index(b)] + ox_toGray_tab[256 + Gray<Code>::index(g)] +
                                    ox_toGray_tab[512 + Gray<Code>::index(r)];
                const T out = Gray<Code>::value(sum);
                std::memcpy(dp, &out, sizeof out);
            },
            s, d);
}

// Grey into colour replicates the value; colour into colour reorders.
void regroupChannels(const oxImage* src, oxImage* dst, int32_t e) {
    const ChannelOffsets o = channelOffsets(src), t = channelOffsets(dst);
    RoiCursor s = roiCursor(src), d = roiCursor(dst);
    walkRoi(src->roi.height, src->roi.width,
            [&](const uint8_t* sp, uint8_t* dp) {
                std::memcpy(dp + t.at[0], sp + o.at[0], e);
                std::memcpy(dp + t.at[1], sp + o.at[1], e);
                std::memcpy(dp + t.at[2], sp + o.at[2], e);
            },
            s, d);
}

// The same-encoding copy moves whole pixels: a view of bytes with one
// "channel" per byte of a pixel, rows a full row step apart.
View<uint8_t> pixelBytes(const oxImage* img, int32_t cols, int32_t rows) {
    const Steps s = stepsOf(img);
    return {roiCursor(img).p, cols, rows, static_cast<int32_t>(s.pixel), s.row};
}

// The table holds i * 1868 + 8192, i * 9617 and i * 4899.
constexpr int32_t kBlueWeight = 1868, kGreenWeight = 9617, kRedWeight = 4899, kGreyBias = 8192;

void greyRowReference(const uint8_t* s, int32_t channels, ChannelOrder o, uint8_t* d, int32_t n) noexcept {
    for (int32_t x = 0; x < n; ++x, s += channels)
        d[x] = static_cast<uint8_t>((ox_toGray_tab[s[o.at[0]]] + ox_toGray_tab[256 + s[o.at[1]]] +
                                     ox_toGray_tab[512 + s[o.at[2]]]) >> 14);
}

#if OX_HAVE_AVX2_PATH
// Byte shuffles that turn four pixels (one 16-byte load) into 16-bit pairs
// (b, g) and (r, 0), ready for the multiply-add.
struct GreyPairs {
    __m256i bg, r0;
};

OX_TARGET_AVX2 GreyPairs greyPairs(int32_t channels, ChannelOrder o) noexcept {
    alignas(32) int8_t bg[32], r0[32];
    for (int32_t i = 0; i < 32; ++i) bg[i] = r0[i] = static_cast<int8_t>(0x80);
    for (int32_t lane = 0; lane < 2; ++lane)
        for (int32_t i = 0; i < 4; ++i) {
            const int32_t at = 16 * lane + 4 * i;
            bg[at] = static_cast<int8_t>(channels * i + o.at[0]);
            bg[at + 2] = static_cast<int8_t>(channels * i + o.at[1]);
            r0[at] = static_cast<int8_t>(channels * i + o.at[2]);
        }
    return {_mm256_load_si256(reinterpret_cast<const __m256i*>(bg)),
            _mm256_load_si256(reinterpret_cast<const __m256i*>(r0))};
}

// Eight pixels: four from each 16-byte load, weighted (b, g) by (1868,
// 9617) and (r, 0) by (4899, 0), plus the bias: every lane forms exactly the
// integer sum of the three table entries, then the shift.
template <int32_t Channels>
OX_TARGET_AVX2 inline __m256i grey8(const uint8_t* s, const GreyPairs& p) noexcept {
    const __m256i wBG = _mm256_set1_epi32(kBlueWeight | kGreenWeight << 16);
    const __m256i wR = _mm256_set1_epi32(kRedWeight);
    const __m256i px = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(s + 4 * Channels),
                                           reinterpret_cast<const __m128i*>(s));
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(px, p.bg), wBG),
                                         _mm256_madd_epi16(_mm256_shuffle_epi8(px, p.r0), wR));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(kGreyBias)), 14);
}

// 32 pixels per step. Each load reads 16 bytes from the first of four
// pixels, 4 more than three-channel pixels use, so the loop stops while
// those bytes still lie in the row.
template <int32_t Channels>
OX_TARGET_AVX2 void greyRowAvx2(const uint8_t* s, ChannelOrder o, uint8_t* d, int32_t n, const GreyPairs& p) noexcept {
    constexpr int32_t kSpare = Channels == 3 ? 2 : 0;
    int32_t x = 0;
    for (; x + 32 + kSpare <= n; x += 32, s += 32 * Channels) {
        const __m256i a = grey8<Channels>(s, p), b = grey8<Channels>(s + 8 * Channels, p);
        const __m256i c = grey8<Channels>(s + 16 * Channels, p), e = grey8<Channels>(s + 24 * Channels, p);
        // The packs work within 128-bit lanes; one permutation restores
        // the pixel order.
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(a, b), _mm256_packus_epi32(c, e));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + x),
                            _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
    }
    greyRowReference(s, Channels, o, d + x, n - x);
}
#endif

}  // namespace

namespace ox::detail {

Status greyFromColor(ConstView<uint8_t> src, ChannelOrder order, View<uint8_t> dst) noexcept {
#if OX_HAVE_AVX2_PATH
    if (useAvx2()) {
        const GreyPairs g = greyPairs(src.channels, order);
        for (int32_t y = 0; y < src.height; ++y) {
            if (src.channels == 3) greyRowAvx2<3>(src.row(y), order, dst.row(y), src.width, g);
            else greyRowAvx2<4>(src.row(y), order, dst.row(y), src.width, g);
        }
        return Status::Ok;
    }
#endif
    // Without AVX2 the table loop is as fast as any scalar rewrite measured.
    for (int32_t y = 0; y < src.height; ++y) greyRowReference(src.row(y), src.channels, order, dst.row(y), src.width);
    return Status::Ok;
}

}  // namespace ox::detail

// The table is spelled out by macros so that it is a constant array in the
// library's data, readable by the host as a plain C global.
#define OX_R4(f, i) f(i), f(i + 1), f(i + 2), f(i + 3)
#define OX_R16(f, i) OX_R4(f, i), OX_R4(f, i + 4), OX_R4(f, i + 8), OX_R4(f, i + 12)
#define OX_R64(f, i) OX_R16(f, i), OX_R16(f, i + 16), OX_R16(f, i + 32), OX_R16(f, i + 48)
#define OX_R256(f) OX_R64(f, 0), OX_R64(f, 64), OX_R64(f, 128), OX_R64(f, 192)
#define OX_BLUE(i) ((i) * 1868 + 8192)
#define OX_GREEN(i) ((i) * 9617)
#define OX_RED(i) ((i) * 4899)

extern "C" {

const int32_t ox_toGray_tab[768] = {OX_R256(OX_BLUE), OX_R256(OX_GREEN), OX_R256(OX_RED)};

OX_API int32_t oxImageCvtColor(const oxImage* src, oxImage* dst) {
    if (src->type != dst->type) return 1;
    if (src->roi.height < 1 || src->roi.width < 1) return 0;
    if (!roiInside(src)) return 1;
    if (src->encoding == dst->encoding) {
        // Rows advance by full row steps here, so only the destination's
        // origin and the block size matter.
        if (!roiBlockFits(dst, src->roi.width, src->roi.height)) return 1;
        const int32_t cols = src->roi.width, rows = src->roi.height;
        return code(copyPixels<uint8_t>(pixelBytes(src, cols, rows), pixelBytes(dst, cols, rows)));
    }
    if (!roiWalkFits(dst, src->roi.width, src->roi.height)) return 1;
    if (channelCount(dst->encoding) > 1) {
        regroupChannels(src, dst, elementSize(src->type));
        return 0;
    }
    if (src->type == OX_8U && channelCount(src->encoding) >= 3) {
        const View<const uint8_t> s = walkView<const uint8_t>(src, src->roi.width, src->roi.height);
        const View<uint8_t> d = walkView<uint8_t>(dst, src->roi.width, src->roi.height);
        // A grey header over the colour pixels themselves keeps the plain walk.
        if (!overlap(s, d)) return code(greyFromColor(s, channelOrderOf(src->encoding), d));
    }
    visitType(src->type, [&](auto tag) { toGray<decltype(tag)::code>(src, dst); });
    return 0;
}

}  // extern "C"
