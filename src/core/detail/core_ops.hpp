// The image core's hot operations over typed views: grey conversion, copy,
// fill, inversion, the 8-bit to float conversion and the two blends. The
// exported shells check an oxImage and call these; effects call them
// directly on views they have already checked. Each one picks its
// instruction-set path inside (see isa.hpp) and gives the same bytes on
// every path.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/detail/status.hpp"
#include "core/detail/view.hpp"

namespace ox::detail {

// Positions of blue, green and red inside an interleaved pixel.
struct ChannelOrder {
    int32_t at[3];
};

// The order of a valid colour encoding (BGR, RGB, ARGB or RGBA).
constexpr ChannelOrder channelOrderOf(int32_t encoding) noexcept {
    switch (encoding) {
    case OX_RGB:
    case OX_RGBA: return {{2, 1, 0}};
    case OX_ARGB: return {{3, 2, 1}};
    default: return {{0, 1, 2}};
    }
}

// The grey value of 8-bit colour: (1868 b + 9617 g + 4899 r + 8192) >> 14,
// the sum of the three entries of ox_toGray_tab. Preconditions: src has 3 or
// 4 channels, `order` lies inside its pixel, dst is a plane of src's size;
// dst does not overlap src.
Status greyFromColor(ConstView<uint8_t> src, ChannelOrder order, View<uint8_t> dst) noexcept;

// n bytes from s into d, which do not overlap, with stores around the
// caches when n is large enough for that to pay and the AVX2 path is in use;
// false (nothing written) otherwise.
bool copyBytesStreaming(const uint8_t* s, uint8_t* d, int64_t n) noexcept;

// Copies the rows of src into dst (same width, height and channels), with
// the semantics of one memmove per row in row order.
template <class T> Status copyPixels(ConstView<T> src, View<T> dst) noexcept {
    const auto rowBytes = static_cast<size_t>(src.rowElements()) * sizeof(T);
    const auto total = static_cast<size_t>(src.height) * rowBytes;
    const auto* s = reinterpret_cast<const uint8_t*>(src.data);
    auto* d = reinterpret_cast<uint8_t*>(dst.data);
    // Packed rows on both sides and no partial overlap: one run.
    const bool packed = src.packed() && dst.packed();
    if (packed && (s == d || s + total <= d || d + total <= s)) {
        if (s != d && copyBytesStreaming(s, d, static_cast<int64_t>(total))) return Status::Ok;
        std::memmove(d, s, total);
        return Status::Ok;
    }
    for (int32_t y = 0; y < src.height; ++y) std::memmove(dst.row(y), src.row(y), rowBytes);
    return Status::Ok;
}

// Sets every element of the view to `value`.
Status fillPixels(View<uint8_t> dst, uint8_t value) noexcept;

// dst = ~src byte by byte (channels included); dst may be src.
Status invertPixels(ConstView<uint8_t> src, View<uint8_t> dst) noexcept;

// dst = src / 255.0f element by element; same width, height and channels.
Status bytesToFloats(ConstView<uint8_t> src, View<float> dst) noexcept;

// dst = the low byte of src * 255.0f truncated toward zero (NaN gives 0,
// values beyond int64 saturate first): deliberately not clamped, so 1.5
// gives 126. Same width, height and channels.
Status floatsToBytes(ConstView<float> src, View<uint8_t> dst) noexcept;

// dst = clampTrunc(u * a + w * b) with w = weight / 255.0f and u = 1 - w,
// both products rounded to float before the sum. All views have the same
// size and channel count (1, 3 or 4); in a colour pixel the bytes at
// `order` are blended in that order and a fourth byte is not written (order
// is ignored for planes). dst may be a or b; any other overlap is
// processed pixel by pixel in walk order.
Status blendConstant(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, uint8_t weight,
                     ChannelOrder order) noexcept;

// As blendConstant, with each pixel's weight read from a one-channel mask
// of the same size.
Status blendMasked(ConstView<uint8_t> a, ConstView<uint8_t> b, View<uint8_t> dst, ConstView<uint8_t> mask,
                   ChannelOrder order) noexcept;

}  // namespace ox::detail
