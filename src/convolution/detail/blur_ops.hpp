// The box blur as operations over typed views: a running mean of 2r + 1
// samples along rows (when radiusX >= 1), then along columns (when
// radiusY >= 1), with mirrored borders (sample r .. 1 before the first, the
// edge not repeated), each mean the float quotient truncated to a byte.
// The exported shells check an oxImage and call these; effects call them on
// views they have already checked. Each picks its instruction-set path
// inside and gives the same bytes on every path.
#pragma once

#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"

namespace ox::detail {

// True when the mirrored borders fit: a pass with radius r >= 1 needs a line
// longer than r. The operations below require it.
constexpr bool boxBlurFits(int32_t radiusX, int32_t radiusY, int32_t width, int32_t height) noexcept {
    return (radiusX < 1 || width > radiusX) && (radiusY < 1 || height > radiusY);
}

// Blurs a one-channel plane into dst of the same size. With both radii
// below 1 nothing is written (not even a copy). src and dst may be the same
// pixels; they must not overlap otherwise. The abort flag is polled once per
// row. Ok, Refused (no memory for the line buffers) or Aborted (dst partly
// written).
Status boxBlurPlane(ConstView<uint8_t> src, View<uint8_t> dst, int32_t radiusX, int32_t radiusY,
                    AbortFlag abortFlag) noexcept;

// Blurs channels 1 to 3 of interleaved 8-bit colour (3 or 4 channels, the
// channels at `from`) into channels 1 to 3 of dst (3 or 4 channels, at
// `to`), without going through planes. A byte of dst that is no colour
// channel keeps what it holds. With both radii below 1 the three channels
// are copied. src and dst may be the same pixels with the same layout; they
// must not overlap otherwise. Statuses as for the plane.
Status boxBlurColour(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                     int32_t radiusX, int32_t radiusY, AbortFlag abortFlag) noexcept;

}  // namespace ox::detail
