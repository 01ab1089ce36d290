// Saturation change that keeps each pixel's maximum channel and hue.
#include <cmath>
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/status.hpp"
#include "core/detail/walk_view.hpp"
#include "effects/detail/saturate_kernels.hpp"
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
        const Terms terms(factor, 0);  // only the last pixels of a row use them: no table
        const Shuffle16 gather = gatherMasks(src.channels, srcOrder), scatter = scatterMasks(dst.channels, dstOrder);
        // Packed rows follow one another in memory: the pixels the vector
        // loop leaves at the end of a row start the next row's run instead,
        // and only the image's last few take the plain loop.
        const bool packed = src.packed() && dst.packed();
        int32_t carried = 0;
        const auto finish = [&](int32_t y, int32_t count) {  // the last `count` pixels of row y
            saturateRowPlain(src.row(y) + int64_t{src.width - count} * src.channels, src.channels, srcOrder,
                             dst.row(y) + int64_t{src.width - count} * dst.channels, dst.channels, dstOrder, count,
                             terms);
        };
        for (int32_t y = 0; y < src.height; ++y) {
            if (abortRequested(abortFlag)) {
                if (carried > 0) finish(y - 1, carried);  // the rows before an abort are whole
                return Status::Aborted;
            }
            const int32_t n = src.width + carried;
            const int32_t done = saturateRowAvx2(src.row(y) - int64_t{carried} * src.channels, src.channels, gather,
                                                 dst.row(y) - int64_t{carried} * dst.channels, dst.channels, scatter, n,
                                                 factor);
            carried = n - done;
            if (!packed || y == src.height - 1) {
                finish(y, carried);
                carried = 0;
            }
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
