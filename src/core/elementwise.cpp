// Element-wise image operations: copy, blends, substitution, transpose.
#include <array>
#include <cstring>

#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_color.h"
#include "ox_elementwise.h"

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

extern "C" {

OX_API int32_t oxCopy(const oxImage* src, oxImage* dst) { return oxImageCvtColor(src, dst); }

OX_API int32_t oxAddWeigthedS(const oxImage* a, const oxImage* b, oxImage* dst, uint8_t weight) {
    if (weight == 0) return oxImageCvtColor(a, dst);
    if (weight == 255) return oxImageCvtColor(b, dst);
    if (emptyRoi(a)) return 0;
    if (!walkFits(a, {a, b, dst})) return 1;
    const Weights k = weightsOf(weight);
    // No mask: the weights cursor only shadows `a` and is never read.
    blendRoi(a, b, dst, roiCursor(a), [k](const uint8_t*) { return k; });
    return 0;
}

OX_API int32_t oxAddWeigthedM(const oxImage* a, const oxImage* b, oxImage* dst, const oxImage* mask) {
    if (emptyRoi(a)) return 0;
    if (!walkFits(a, {a, b, dst, mask})) return 1;
    std::array<Weights, 256> table;
    for (int m = 0; m < 256; ++m) table[m] = weightsOf(static_cast<uint8_t>(m));
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
