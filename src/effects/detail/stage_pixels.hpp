// Byte addressing shared by the tone stages, and the checks that keep their
// walks inside the buffers. The stages read and write single bytes: pixels
// lie channel-count bytes apart, rows width times that, and channels 1-3 sit
// at the byte offsets oxImageGetChannelOffset reports, whatever the pixel
// type. For every known type these addresses stay inside the buffer the
// record describes, so a stage only has to know that the buffer is there.
#pragma once

#include <cstdint>

#include "core/detail/pixel_types.hpp"
#include "ox_image.h"

namespace ox::detail {

inline bool hasPixels(const oxImage* img) noexcept { return img->height > 0 && img->width > 0; }

// True when every byte a stage may address exists: a valid encoding, and a
// known pixel type and pixels behind a non-empty image.
inline bool walkable(const oxImage* img) noexcept {
    return isValidEncoding(img->encoding) && (!hasPixels(img) || (isKnownType(img->type) && img->data != nullptr));
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

}  // namespace ox::detail
