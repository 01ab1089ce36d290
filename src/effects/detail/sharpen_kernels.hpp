// The high boost's AVX2 loop, beside the plain one in sharpen.cpp.
#pragma once

#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"

namespace ox::detail {

#if OX_HAVE_AVX2_PATH
// The leading pixels of every row of highBoostPixels, 8 at a time, for
// colour on both sides (3 or 4 channels each) or one channel on both; the
// per-pixel operations are those of the plain loop, in the same order, on
// the same floats. Strides are in bytes; lum and mean are packed planes of
// count x rows. Returns how many pixels of each row it did (a multiple of 8,
// the same for every row; the caller does the rest). Reads no byte past a
// row.
OX_TARGET_AVX2 int64_t highBoostRowsAvx2(const uint8_t* src, int64_t srcStride, int32_t srcChannels,
                                         ChannelOffsets from, uint8_t* dst, int64_t dstStride, int32_t dstChannels,
                                         ChannelOffsets to, const uint8_t* lum, const uint8_t* mean, int64_t count,
                                         int64_t rows, float gain, float maxRatio) noexcept;
#endif

}  // namespace ox::detail
