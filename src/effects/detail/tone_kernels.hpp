// Row loops shared by the tone stages, with their AVX2 forms beside the
// plain ones: the brightness of a pixel (the largest of channels 1-3), the
// brightness histogram, the transfer gains and their lookup.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"

namespace ox::detail {

#if OX_HAVE_AVX2_PATH
// The brightness of the leading pixels of a row of `count` pixels of
// `channels` bytes (3 or 4) with channels 1-3 at `at`, 16 at a time, into
// out. Returns how many it did (a multiple of 16); reads no byte past the
// row.
OX_TARGET_AVX2 int64_t brightnessRowAvx2(const uint8_t* row, int32_t channels, ChannelOffsets at, int64_t count,
                                         uint8_t* out) noexcept;

// row[v] = clampToByte(gain * level[v]) for v = 0 .. 255.
OX_TARGET_AVX2 void gainRowAvx2(float gain, const float* level, uint8_t* row) noexcept;
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

// How often each brightness occurs. Neighbouring values count into four
// separate tables, so that runs of equal brightness do not wait on one
// counter.
struct BrightnessCounts {
    uint64_t lane[4][256] = {};

    void add(const uint8_t* values, int64_t count) noexcept {
        int64_t x = 0;
        for (; x + 4 <= count; x += 4) {
            ++lane[0][values[x]];
            ++lane[1][values[x + 1]];
            ++lane[2][values[x + 2]];
            ++lane[3][values[x + 3]];
        }
        for (; x < count; ++x) ++lane[x & 3][values[x]];
    }
    uint64_t total(int32_t value) const noexcept {
        return lane[0][value] + lane[1][value] + lane[2][value] + lane[3][value];
    }
};

// The byte values as floats: the levels of a gain row that maps v itself.
struct ByteLevels {
    float v[256];
    constexpr ByteLevels() noexcept : v() {
        for (int32_t i = 0; i < 256; ++i) v[i] = static_cast<float>(i);
    }
};
inline constexpr ByteLevels kByteLevels{};

// row[v] = clampToByte(gain * level[v]): trunc of the single-precision
// product capped at 255, 0 for a negative or NaN product.
inline void gainRow(float gain, const float* level, uint8_t* row) noexcept {
#if OX_HAVE_AVX2_PATH
    if (useAvx2()) return gainRowAvx2(gain, level, row);
#endif
    for (int32_t v = 0; v < 256; ++v) row[v] = clampToByte(gain * level[v]);
}

// Packed three-byte pixels through a gain table of 256 rows of 256 bytes:
// dst[3x + c] = table[levels[x] * 256 + src[3x + c]]. dst may be src, and
// then each byte is read before it is written; neither may overlap the
// table or the levels. Each byte is stored as soon as it is looked up, so
// that the compiler does not assemble the three into one store through
// partial registers (twice as slow). Plain loads on every path: AVX2
// gathers of the 24 entries of 8 pixels took half as long again.
inline void gainLookupRow(const uint8_t* src, const uint8_t* levels, const uint8_t* table, uint8_t* dst,
                          int64_t count) noexcept {
    for (int64_t x = 0; x < count; ++x, src += 3, dst += 3) {
        const uint8_t* gains = table + (static_cast<uint32_t>(levels[x]) << 8);
        dst[0] = gains[src[0]];
        dst[1] = gains[src[1]];
        dst[2] = gains[src[2]];
    }
}

}  // namespace ox::detail
