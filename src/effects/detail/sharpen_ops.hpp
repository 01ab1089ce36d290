// High boost as operations over typed views: every pixel scaled by the
// ratio of its luminance to the box-blurred luminance around it. The
// exported shell checks an oxImage and calls these; the Simplify effect
// calls them on views it has already checked. Each picks its
// instruction-set path inside and gives the same bytes on every path.
#pragma once

#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_sharpen.h"

namespace ox::detail {

// For every pixel i of the walk, in row order, with L = lum[i] and B =
// mean[i] read as packed planes of src's size: r = gain * L in float,
// divided by B when B is not 0, capped by maxRatio; then for channels 1, 2,
// 3 in that order (the bytes at `from` in src, written at `to` in dst),
// each non-zero value v lowers r to at most 255 / v for itself and the
// channels after it, and the channel becomes r * v clamped to 0..255 and
// truncated. A one-channel src has one channel, at offset 0 of both sides
// (`from` and `to` are then ignored). Bytes of dst that are no channel keep
// what they hold. dst has src's width and height and may be src itself
// (same pixels and layout); the views may not overlap otherwise.
Status highBoostPixels(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                       const uint8_t* lum, const uint8_t* mean, float gain, float maxRatio) noexcept;

// The whole high boost of a colour source (3 or 4 channels, blue, green
// and red at `from`): its grey luminance, the box blur of that with
// p.blur, and, when p.enabled is not 0, highBoostPixels into dst. The
// luminance and its mean are allocated once. Ok, or Refused (no memory, a
// failed conversion, or any failure of the blur, abort included) with dst
// untouched.
Status highBoost(ConstView<uint8_t> src, ChannelOffsets from, View<uint8_t> dst, ChannelOffsets to,
                 const oxHighBoostParams& p, AbortFlag abortFlag) noexcept;

}  // namespace ox::detail
