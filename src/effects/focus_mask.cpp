// Focus mask: the elliptical sharpness mask of the tilt-shift effect, and its
// parameter record.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_tiltshift.h"

using namespace ox::detail;

namespace {

// A box edge in pixels: the fraction times the size in float, truncated. A
// NaN or far-out fraction saturates instead of overflowing.
int64_t boxEdge(float fraction, int32_t size) { return saturateTrunc<int32_t>(fraction * static_cast<float>(size)); }

// Centre and half-axes in whole pixels, halved with arithmetic shifts (so
// -3 >> 1 is -2). Sums are formed in 64 bits: saturated edges must not
// overflow, and every result still fits an int32.
struct Ellipse {
    int64_t cx, cy;
    float rx, ry;
};

Ellipse ellipseOf(const oxFocusMaskParams& p, int32_t w, int32_t h) {
    const int64_t x0 = boxEdge(p.x0, w), y0 = boxEdge(p.y0, h);
    const int64_t x1 = boxEdge(p.x1, w), y1 = boxEdge(p.y1, h);
    return {(x0 + x1) >> 1, (y0 + y1) >> 1, static_cast<float>((x1 - x0) >> 1), static_cast<float>((y1 - y0) >> 1)};
}

// Normalised offset from the centre along one axis. A zero half-axis gives
// +-inf, or NaN at the centre itself; both end up as byte 0.
float offset(int64_t i, int64_t centre, float radius) { return static_cast<float>(i - centre) / radius; }

// (1 - sqrt(dx*dx + dy*dy)) * 255 with the sum as one fused multiply-add,
// truncated; negative and NaN values give 0.
uint8_t maskByte(float dx, float dy2) { return clampToByte((1.0f - std::sqrt(std::fmaf(dx, dx, dy2))) * 255.0f); }

// Only offsets below 1 in magnitude can give a non-zero byte: with |d| >= 1
// (or NaN) the fused sum is at least 1 and the byte is 0. Rows and columns
// outside the ellipse's bounding box are therefore cleared without the
// square root; every byte equals the one the formula gives.
void fill(const oxFocusMaskParams& p, uint8_t* out, int32_t w, int32_t h) {
    const Ellipse e = ellipseOf(p, w, h);
    for (int32_t y = 0; y < h; ++y) {
        uint8_t* row = out + static_cast<int64_t>(y) * w;
        const float dy = offset(y, e.cy, e.ry);
        if (!(std::fabs(dy) < 1.0f)) {
            std::memset(row, 0, static_cast<size_t>(w));
            continue;
        }
        const float dy2 = dy * dy;
        for (int32_t x = 0; x < w; ++x) {
            const float dx = offset(x, e.cx, e.rx);
            row[x] = std::fabs(dx) < 1.0f ? maskByte(dx, dy2) : 0;
        }
    }
}

}  // namespace

extern "C" {

OX_API oxFocusMaskParams* oxFocusMaskParamsDefault(void) {
    auto* p = allocateRecord<oxFocusMaskParams>();
    if (p) *p = {0.0f, 0.1f, 1.0f, 0.9f};
    return p;
}

OX_API void oxFocusMaskParamsRelease(oxFocusMaskParams** params) {
    if (!params || !*params) return;
    std::free(*params);
    *params = nullptr;
}

OX_API int32_t oxFocusMaskFill(const oxFocusMaskParams* params, oxImage* image) {
    if (!params || !image) return 1;
    if (image->height < 1 || image->width < 1) return 0;
    // One byte per pixel fits every image of a known type and encoding.
    if (!image->data || !isValidEncoding(image->encoding) || !isKnownType(image->type)) return 1;
    fill(*params, image->data, image->width, image->height);
    return 0;
}

}  // extern "C"
