// The saturation change as an operation over views: each pixel keeps its
// maximum channel and hue, its minimum moves towards or away from the
// maximum by `factor` and the middle channel keeps its share of the spread.
#pragma once

#include <cstdint>

#include "core/detail/core_ops.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"

namespace ox::detail {

// Reads blue, green and red of src at `srcOrder` and writes them to dst at
// `dstOrder` (other bytes of a dst pixel stay). src may be a plane (order
// {0, 0, 0}). Preconditions: same width and height; dst is src itself (in
// place) or the two do not overlap, else the pixels are taken one by one in
// row order. The flag is polled before every row (Status::Aborted).
Status saturatePixels(ConstView<uint8_t> src, ChannelOrder srcOrder, View<uint8_t> dst, ChannelOrder dstOrder,
                      float factor, AbortFlag abortFlag) noexcept;

}  // namespace ox::detail
