// Byte addressing shared by the tone stages, and the checks that keep their
// walks inside the buffers. The stages read and write single bytes: pixels
// lie channel-count bytes apart, rows width times that, and channels 1-3 sit
// at the byte offsets oxImageGetChannelOffset reports, whatever the pixel
// type. For every known type these addresses stay inside the buffer the
// record describes, so a stage only has to know that the buffer is there
// and that the record's sizes describe one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/tone_kernels.hpp"
#include "ox_image.h"

namespace ox::detail {

inline bool hasPixels(const oxImage* img) noexcept { return img->height > 0 && img->width > 0; }

// True when every byte a stage may address exists: a valid encoding, and a
// known pixel type, sizes that describe a buffer and pixels behind a
// non-empty image.
inline bool walkable(const oxImage* img) noexcept {
    return isValidEncoding(img->encoding) && (!hasPixels(img) || (isKnownType(img->type) && hasBuffer(img)));
}

// True when `outer` has a pixel at every row and column of `inner`.
inline bool covers(const oxImage* outer, const oxImage* inner) noexcept {
    return !hasPixels(inner) || (outer->height >= inner->height && outer->width >= inner->width);
}

// A destination may be written at every pixel of the source.
inline bool writableFor(const oxImage* dst, const oxImage* src) noexcept { return walkable(dst) && covers(dst, src); }

inline bool isColour(const oxImage* img) noexcept { return oxImageGetNChannel(img) >= 3; }

// Channels 1-3 of an image as byte offsets, with its pixel and row steps.
struct ColourBytes {
    uint8_t* data;
    int64_t rowBytes;
    int32_t step;
    int32_t b, g, r;

    uint8_t* rowAt(int64_t y) const noexcept { return data + y * rowBytes; }
};

inline ColourBytes colourBytes(const oxImage* img) noexcept {
    const int32_t n = oxImageGetNChannel(img);
    return {img->data, static_cast<int64_t>(img->width) * n, n, oxImageGetChannelOffset(img, 1),
            oxImageGetChannelOffset(img, 2), oxImageGetChannelOffset(img, 3)};
}

// Calls f with the pixel step of a colour image as a compile-time constant
// (3 or 4), so inner loops see a fixed stride.
template <class F> decltype(auto) withColourStep(int32_t step, F&& f) {
    if (step == 4) return f(std::integral_constant<int32_t, 4>{});
    return f(std::integral_constant<int32_t, 3>{});
}

// Calls f(x, brightness) for the pixels x = 0 .. width - 1 of row y, where
// brightness is the largest of channels 1-3, in order. The brightness is
// formed a run of pixels at a time (see tone_kernels.hpp).
template <class F> void forEachBrightness(const ColourBytes& px, int64_t y, int32_t width, F&& f) {
    if (width <= 0) return;  // a header without pixels may have no buffer to point into
    constexpr int32_t kRun = 512;
    uint8_t run[kRun];
    const ChannelOffsets at{{px.b, px.g, px.r}};
    const uint8_t* p = px.rowAt(y);
    for (int32_t x0 = 0; x0 < width; x0 += kRun) {
        const int32_t n = std::min(kRun, width - x0);
        brightnessRow(p + static_cast<int64_t>(x0) * px.step, px.step, at, n, run);
        for (int32_t i = 0; i < n; ++i) f(x0 + i, run[i]);
    }
}

template <int32_t C> using ChannelIndex = std::integral_constant<int32_t, C>;

// For every pixel (x, y) of a width x height walk: channel c of `dst` =
// mapper(v, x, ChannelIndex<c - 1>) with v channel c of `src`, for
// c = 1, 2, 3, where mapper = rowMapper(y) is made once per row. All three
// are read before any is written (the destination may be the source).
// Polls the abort flag before each row.
template <class RowMapper>
int32_t mapColourRows(const ColourBytes& src, const ColourBytes& dst, int32_t width, int32_t height,
                      AbortFlag abortFlag, RowMapper&& rowMapper) {
    const bool fastLayout = !useReference() && src.step == dst.step && src.b == dst.b && src.g == dst.g && src.r == dst.r;
    for (int32_t y = 0; y < height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        if (width <= 0) continue;  // rows without pixels are still polled
        const auto map = rowMapper(y);
        if (fastLayout && src.step == 3 && src.b == 0 && src.g == 1 && src.r == 2) {
            // The common layout with constant offsets: the loop keeps its
            // pointers in registers.
            const uint8_t* sp = src.rowAt(y);
            uint8_t* dp = dst.rowAt(y);
            for (int32_t x = 0; x < width; ++x, sp += 3, dp += 3) {
                const uint8_t b = map(sp[0], x, ChannelIndex<0>{});
                const uint8_t g = map(sp[1], x, ChannelIndex<1>{});
                const uint8_t r = map(sp[2], x, ChannelIndex<2>{});
                dp[0] = b;
                dp[1] = g;
                dp[2] = r;
            }
            continue;
        }
        withColourStep(src.step, [&](auto sStep) {
            withColourStep(dst.step, [&](auto dStep) {
                const uint8_t* sp = src.rowAt(y);
                uint8_t* dp = dst.rowAt(y);
                for (int32_t x = 0; x < width; ++x, sp += sStep, dp += dStep) {
                    const uint8_t b = map(sp[src.b], x, ChannelIndex<0>{});
                    const uint8_t g = map(sp[src.g], x, ChannelIndex<1>{});
                    const uint8_t r = map(sp[src.r], x, ChannelIndex<2>{});
                    dp[dst.b] = b;
                    dp[dst.g] = g;
                    dp[dst.r] = r;
                }
            });
        });
    }
    return code(Status::Ok);
}

}  // namespace ox::detail
