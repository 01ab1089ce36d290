// The pieces of the lens distortion that its plain and AVX2 paths share:
// the mapping, the per-pixel sample and the row kernels. Every path forms
// each output byte with exactly this arithmetic, in float, in this order and
// without fused multiply-adds; only the number of pixels done at once
// differs.
#pragma once

#include <cstdint>

#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/view.hpp"

namespace ox::detail::lens {

struct Point {
    float x;
    float y;
};

// p + (p - centre) * k * |p - centre|^2, every step in float and in this
// order: the outputs of the hosts depend on the exact roundings.
struct Distortion {
    float k;
    float x0;
    float y0;

    Point operator()(Point p) const noexcept {
        const float dx = p.x - x0, dy = p.y - y0;
        const float f = k * (dx * dx + dy * dy);
        return {p.x + dx * f, p.y + dy * f};
    }
};

inline Distortion distortionOf(float amount, float cx, float cy, int32_t w, int32_t h) noexcept {
    const float fw = static_cast<float>(w), fh = static_cast<float>(h);
    return {amount / (fw * fh), cx * fw, cy * fh};
}

// Pixel (x, y) of the distorted image: the bilinear blend of its source
// point, or 0 where the point has no 2 x 2 neighbourhood in `src`.
template <int32_t Channels>
inline void samplePixel(const Distortion& d, ConstView<uint8_t> src, int32_t channelCount, int32_t x, int32_t y,
                        uint8_t* out) noexcept {
    const int64_t channels = Channels > 0 ? Channels : channelCount;
    const Point s = d({static_cast<float>(x), static_cast<float>(y)});
    // Compared in float, as the sample position is: the neighbour to the
    // right and the one below must exist. floor(s) < n is s < n for a whole
    // n, so the test needs no floor; NaN and infinities fail it too.
    const float lastX = static_cast<float>(src.width - 1), lastY = static_cast<float>(src.height - 1);
    if (!(s.x >= 0.0f && s.y >= 0.0f && s.x < lastX && s.y < lastY)) {
        for (int64_t c = 0; c < channels; ++c) out[c] = 0;
        return;
    }
    // Non-negative and below the last column and row: truncation is the
    // floor and the neighbours exist.
    const int32_t left = static_cast<int32_t>(s.x), top = static_cast<int32_t>(s.y);
    const float a = s.x - static_cast<float>(left), b = s.y - static_cast<float>(top);
    const float w00 = (1.0f - a) * (1.0f - b), w01 = (1.0f - a) * b;
    const float w10 = a * (1.0f - b), w11 = a * b;
    const uint8_t* p0 = src.row(top) + left * channels;
    const uint8_t* p1 = p0 + src.stride;
    for (int64_t c = 0; c < channels; ++c) {
        const float v = w00 * p0[c] + w01 * p1[c] + w10 * p0[c + channels] + w11 * p1[c + channels];
        out[c] = clampToByte(v);
    }
}

// Pixels x0 .. x0 + n - 1 of row y of the distorted image into `out`, one
// at a time.
void distortRow(const Distortion& d, ConstView<uint8_t> src, int32_t y, int32_t x0, int32_t n, uint8_t* out) noexcept;

#if OX_HAVE_AVX2_PATH
// Whether distortRowAvx2 takes this source: 1 (at least 4 pixels wide), 3
// or 4 channels, and every byte offset from the first pixel below 2^31 (the
// gathers index with 32 bits).
bool avx2Takes(ConstView<uint8_t> src) noexcept;

// distortRow eight pixels at a time, the remainder one at a time.
OX_TARGET_AVX2 void distortRowAvx2(const Distortion& d, ConstView<uint8_t> src, int32_t y, int32_t x0, int32_t n,
                                   uint8_t* out) noexcept;
#endif

}  // namespace ox::detail::lens
