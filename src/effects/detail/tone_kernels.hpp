// Row loops shared by the tone stages, with their AVX2 forms beside the
// plain ones: the brightness of a pixel (the largest of channels 1-3).
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"

namespace ox::detail {

#if OX_HAVE_AVX2_PATH
// The brightness of the leading pixels of a row of `count` pixels of
// `channels` bytes (3 or 4) with channels 1-3 at `at`, 16 at a time, into
// out. Returns how many it did (a multiple of 16); reads no byte past the
// row.
OX_TARGET_AVX2 int64_t brightnessRowAvx2(const uint8_t* row, int32_t channels, ChannelOffsets at, int64_t count,
                                         uint8_t* out) noexcept;
#endif

// out[x] = max(channel 1, 2, 3) of pixel x of the row, for x < count.
inline void brightnessRow(const uint8_t* row, int32_t channels, const ChannelOffsets& at, int64_t count,
                          uint8_t* out) noexcept {
    int64_t x = 0;
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && (channels == 3 || channels == 4)) x = brightnessRowAvx2(row, channels, at, count, out);
#endif
    for (const uint8_t* p = row + x * channels; x < count; ++x, p += channels)
        out[x] = std::max({p[at.at[0]], p[at.at[1]], p[at.at[2]]});
}

}  // namespace ox::detail
