// Saturation change that keeps each pixel's maximum channel and hue.
#include <cmath>
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "ox_simplify.h"

using namespace ox::detail;

namespace {

// Byte offsets of blue, green and red inside a pixel of `step` bytes.
struct Layout {
    int32_t at[3];
    int32_t step;
};

Layout layoutOf(int32_t encoding) {
    return {{oxGetChannelOffsetFromEncoding(encoding, 1), oxGetChannelOffsetFromEncoding(encoding, 2),
             oxGetChannelOffsetFromEncoding(encoding, 3)},
            channelCount(encoding)};
}

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

void saturatePixel(const uint8_t* s, const Layout& in, uint8_t* d, const Layout& out, float f) {
    const uint8_t v[3] = {s[in.at[0]], s[in.at[1]], s[in.at[2]]};
    const Order o = orderOf(v[0], v[1], v[2]);
    if (v[o.hi] == v[o.lo]) {
        for (int32_t c = 0; c < 3; ++c) d[out.at[c]] = v[c];
        return;
    }
    const float M = v[o.hi], m = v[o.lo], mid = v[o.mid];
    const float k = 1.0f - m / M;
    // The new minimum is truncated before the middle channel is derived from it.
    const uint8_t lo = clampToByte(std::fmaf(M, 1.0f - f, f * m));
    const float mLo = lo;
    d[out.at[o.hi]] = v[o.hi];
    d[out.at[o.lo]] = lo;
    d[out.at[o.mid]] = clampToByte((mid - m) * (1.0f - mLo / M) / k + mLo);
}

bool walkable(const oxImage* img, int64_t pixels) {
    return img->data && isValidEncoding(img->encoding) && pixels * channelCount(img->encoding) <= bufferBytes(img);
}

Status saturate(float f, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t w = src->width, h = src->height;
    if (h < 1 || w < 1) return Status::Ok;
    const int64_t pixels = static_cast<int64_t>(w) * h;
    if (!walkable(src, pixels) || !walkable(dst, pixels)) return Status::Refused;
    const Layout in = layoutOf(src->encoding), out = layoutOf(dst->encoding);
    const uint8_t* s = src->data;
    uint8_t* d = dst->data;
    for (int32_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        for (int32_t x = 0; x < w; ++x, s += in.step, d += out.step) saturatePixel(s, in, d, out, f);
    }
    return Status::Ok;
}

}  // namespace

extern "C" {

OX_API oxSaturateParams* oxSaturateParamsDefault(void) {
    auto* p = allocateRecord<oxSaturateParams>();
    if (p) p->factor = 1.0f;
    return p;
}

OX_API void oxSaturateParamsRelease(oxSaturateParams** params) {
    if (!params) return;
    std::free(*params);
    *params = nullptr;
}

OX_API int32_t oxSaturateFilter(const oxSaturateParams* params, const oxImage* src, oxImage* dst,
                                const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(saturate(params->factor, src, dst, abortFlag));
}

}  // extern "C"
