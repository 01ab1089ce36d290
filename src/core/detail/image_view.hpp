// Views over an oxImage that every pixel-walking routine uses instead of
// repeating the address arithmetic: the derived steps, the ROI walk and
// bounds tests that keep a walk inside its buffer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/detail/pixel_types.hpp"
#include "core/detail/size.hpp"
#include "ox_image.h"

namespace ox::detail {

// Derived members in 64-bit arithmetic. For an invalid encoding the channel
// count is -1, so the steps come out negative, as the exported accessor
// reports them; callers that walk pixels reject such images first.
struct Steps {
    int64_t pixel;    // channels * element size
    int64_t row;      // width * pixel
    int64_t roiSkip;  // (width - roi.width) * pixel
};

inline Steps stepsOf(const oxImage* img) noexcept {
    const int64_t pixel = static_cast<int64_t>(channelCount(img->encoding)) * elementSize(img->type);
    return {pixel, img->width * pixel, (static_cast<int64_t>(img->width) - img->roi.width) * pixel};
}

// Bytes in the whole buffer: height * width * channels * element size;
// nullopt when the record describes no buffer that can exist (a negative
// size, an invalid encoding, or a count that would wrap). Every walk tests
// this before it forms an address, so a header with absurd sizes is
// refused instead of followed.
inline Count bufferBytes(const oxImage* img) noexcept {
    return checkedProduct({img->height, img->width, channelCount(img->encoding), elementSize(img->type)});
}

// Pixels behind the record, and sizes that describe a buffer.
inline bool hasBuffer(const oxImage* img) noexcept { return img->data != nullptr && bufferBytes(img).has_value(); }

// True when a cols x rows block starting at the ROI origin of `img` lies
// inside the image. The walks that advance every image by its own steps
// test each image with the source's ROI size before touching a byte, so a
// mismatched ROI is refused instead of running off a buffer.
inline bool roiBlockFits(const oxImage* img, int64_t cols, int64_t rows) noexcept {
    const oxRect& r = img->roi;
    return hasBuffer(img) && r.x >= 0 && r.y >= 0 && cols >= 0 && rows >= 0 && r.x + cols <= img->width &&
           r.y + rows <= img->height;
}

inline bool roiInside(const oxImage* img) noexcept { return roiBlockFits(img, img->roi.width, img->roi.height); }

// True when the ROI is the whole image (origin 0, 0 and the image's sizes).
inline bool roiIsWhole(const oxImage* img) noexcept {
    return img->roi.x == 0 && img->roi.y == 0 && img->roi.width == img->width && img->roi.height == img->height;
}

// True when the ROI walk of `rows` x `cols` pixels over `img` (from its ROI
// origin, by its own pixel step and its own ROI row skip) stays inside its
// buffer. A ROI narrower than the walk has a larger row skip, so the walk
// drifts further right on every row; this tests where it really ends.
inline bool roiWalkFits(const oxImage* img, int64_t cols, int64_t rows) noexcept {
    if (!roiInside(img) || cols < 0 || rows < 0) return false;
    if (cols == 0 || rows == 0) return true;
    const Steps s = stepsOf(img);
    const Count origin = checkedSum({img->roi.y * s.row, img->roi.x * s.pixel});
    const Count perRow = checkedSum({cols * s.pixel, s.roiSkip});
    const Count drift = perRow ? checkedProduct({rows - 1, *perRow}) : std::nullopt;
    const Count end = origin && drift ? checkedSum({*origin, *drift, cols * s.pixel}) : std::nullopt;
    return end && *end <= *bufferBytes(img);
}

// A pointer that walks an image's ROI: it starts at the first ROI pixel,
// advances by the pixel step within a row and by the ROI row skip after
// `roi.width` pixels, exactly as every ROI-walking operation does.
struct RoiCursor {
    uint8_t* p;
    int64_t pixelStep;
    int64_t rowSkip;

    void nextPixel() noexcept { p += pixelStep; }
    void nextRow() noexcept { p += rowSkip; }
};

inline RoiCursor roiCursor(const oxImage* img) noexcept {
    const Steps s = stepsOf(img);
    return {img->data + img->roi.y * s.row + img->roi.x * s.pixel, s.pixel, s.roiSkip};
}

// Walks `rows` x `cols` pixels with every cursor in step and calls
// f(p0, p1, ...) with the current pixel address of each image.
template <class F, class... Cursors> void walkRoi(int32_t rows, int32_t cols, F&& f, Cursors&... cursors) {
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            f(cursors.p...);
            (cursors.nextPixel(), ...);
        }
        (cursors.nextRow(), ...);
    }
}

// Byte offsets of channels 1-3 inside a pixel; all 0 for a one-channel
// image (or an encoding without channels).
struct ChannelOffsets {
    int32_t at[3];
};

inline ChannelOffsets channelOffsets(const oxImage* img) noexcept {
    if (channelCount(img->encoding) <= 1) return {{0, 0, 0}};
    return {{oxImageGetChannelOffset(img, 1), oxImageGetChannelOffset(img, 2), oxImageGetChannelOffset(img, 3)}};
}

// Typed row access over the whole buffer (ROI ignored): element (x, c) of
// row y is row<T>(img, y)[x * channels + c].
template <class T> inline T* row(const oxImage* img, int64_t y) noexcept {
    return reinterpret_cast<T*>(img->data + y * stepsOf(img).row);
}

}  // namespace ox::detail
