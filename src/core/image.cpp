// The image record: creation, release, code lookups, ROI/COI accessors and
// channel extraction/insertion.
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_image.h"

using namespace ox::detail;

namespace {

// Channel index inside a pixel per encoding, channels 1..4; -1 = invalid.
constexpr int32_t kChannelIndex[5][4] = {
    {0, 0, 0, 0},   // OX_GRAY: every channel is the one value
    {0, 1, 2, -1},  // OX_BGR
    {2, 1, 0, -1},  // OX_RGB
    {3, 2, 1, 0},   // OX_ARGB
    {2, 1, 0, 3},   // OX_RGBA
};

int32_t channelIndex(int32_t encoding, int32_t channel) {
    if (!isValidEncoding(encoding)) return -1;
    if (encoding == OX_GRAY) return 0;
    if (channel < 1 || channel > 4) return -1;
    return kChannelIndex[encoding][channel - 1];
}

template <int32_t Bytes> void copyValues(const oxImage* walker, RoiCursor from, RoiCursor to) {
    walkRoi(walker->roi.height, walker->roi.width, [](uint8_t* f, uint8_t* t) { std::memcpy(t, f, Bytes); }, from, to);
}

// Copies E(src) bytes per pixel between `from` and `to`, walking the ROI of
// `walker` (the source of the copy drives the walk in both directions). A
// fixed-size copy per element size keeps the per-pixel work to one load and
// one store.
void copyChannelValues(const oxImage* walker, RoiCursor from, RoiCursor to, int32_t bytes) {
    switch (bytes) {
    case 1: return copyValues<1>(walker, from, to);
    case 2: return copyValues<2>(walker, from, to);
    case 4: return copyValues<4>(walker, from, to);
    case 8: return copyValues<8>(walker, from, to);
    default: return;
    }
}

}  // namespace

extern "C" {

OX_API int32_t oxGetNChannelFromEncoding(int32_t encoding) { return channelCount(encoding); }

OX_API int32_t oxGetChannelOffsetFromEncoding(int32_t encoding, int32_t channel) {
    return channelIndex(encoding, channel);
}

OX_API oxImage* oxImageCreateHeaderWithType(int32_t width, int32_t height, int32_t encoding, int32_t type) {
    auto* img = static_cast<oxImage*>(std::calloc(1, sizeof(oxImage)));
    if (!img) return nullptr;
    img->type = type;
    img->encoding = encoding;
    img->height = height;
    img->width = width;
    img->roi = {0, 0, width, height};
    return img;
}

OX_API oxImage* oxImageCreateHeader(int32_t width, int32_t height, int32_t encoding) {
    return oxImageCreateHeaderWithType(width, height, encoding, OX_8U);
}

OX_API oxImage* oxImageCreateWithType(int32_t width, int32_t height, int32_t encoding, int32_t type) {
    if (!isValidEncoding(encoding)) return nullptr;
    oxImage* img = oxImageCreateHeaderWithType(width, height, encoding, type);
    if (!img) return nullptr;
    // Sizes are not validated (callers may pass anything), but a byte count
    // that is negative or would wrap is no buffer: null, not a short one.
    const Count bytes = bufferBytes(img);
    img->data = bytes ? static_cast<uint8_t*>(std::malloc(static_cast<size_t>(*bytes))) : nullptr;
    if (!img->data) {
        std::free(img);
        return nullptr;
    }
    return img;
}

OX_API oxImage* oxImageCreate(int32_t width, int32_t height, int32_t encoding) {
    return oxImageCreateWithType(width, height, encoding, OX_8U);
}

OX_API oxImage* oxImageCreateAs(const oxImage* image) {
    return oxImageCreateWithType(image->width, image->height, image->encoding, image->type);
}

OX_API void oxImageReleaseHeader(oxImage** image) { releaseRecord(image); }

OX_API void oxImageRelease(oxImage** image) {
    if (!image || !*image) return;
    std::free((*image)->data);
    releaseRecord(image);
}

OX_API int32_t oxImageHaveUncompatibleEncodings(const oxImage* a, const oxImage* b) {
    if (!isValidEncoding(a->encoding) || !isValidEncoding(b->encoding)) return 1;
    return (a->encoding == OX_GRAY) != (b->encoding == OX_GRAY) ? 1 : 0;
}

OX_API int32_t oxImageGetNChannel(const oxImage* image) { return channelCount(image->encoding); }

OX_API int32_t oxImageGetEncoding(const oxImage* image) { return image->encoding; }

OX_API int32_t oxImageGetChannelOffset(const oxImage* image, int32_t channel) {
    return channelIndex(image->encoding, channel) * elementSize(image->type);
}

OX_API void oxImageSetROI(oxImage* image, const oxRect* roi) { image->roi = *roi; }

OX_API void oxImageResetROI(oxImage* image) { image->roi = {0, 0, image->width, image->height}; }

OX_API void oxImageSetCOI(oxImage* image, int32_t channel) { image->coi = channel; }

OX_API void oxImageResetCOI(oxImage* image) { image->coi = 0; }

OX_API void oxImageExtractDerivedMembers(const oxImage* image, int32_t out[3]) {
    const Steps s = stepsOf(image);
    out[0] = static_cast<int32_t>(s.pixel);
    out[1] = static_cast<int32_t>(s.row);
    out[2] = static_cast<int32_t>(s.roiSkip);
}

OX_API oxSize oxImageSize(const oxImage* image) { return {image->width, image->height}; }

// An invalid channel of a wider type gives a negative offset other than -1;
// it is refused like -1, because the copy would read before the pixel.
OX_API int32_t oxImageExtractChannel(const oxImage* src, oxImage* dst, int32_t channel) {
    const int32_t o = oxImageGetChannelOffset(src, channel);
    if (o < 0) return 1;
    if (src->roi.height < 1 || src->roi.width < 1) return 0;
    if (!roiInside(src) || !roiWalkFits(dst, src->roi.width, src->roi.height) ||
        stepsOf(dst).pixel < elementSize(src->type))
        return 1;
    RoiCursor from = roiCursor(src);
    from.p += o;
    copyChannelValues(src, from, roiCursor(dst), elementSize(src->type));
    return 0;
}

OX_API int32_t oxImageInsertChannel(const oxImage* src, oxImage* dst, int32_t channel) {
    const int32_t o = oxImageGetChannelOffset(dst, channel);
    if (o < 0) return 1;
    if (src->roi.height < 1 || src->roi.width < 1) return 0;
    if (!roiInside(src) || !roiWalkFits(dst, src->roi.width, src->roi.height) ||
        o + elementSize(src->type) > stepsOf(dst).pixel)
        return 1;
    RoiCursor to = roiCursor(dst);
    to.p += o;
    copyChannelValues(src, roiCursor(src), to, elementSize(src->type));
    return 0;
}

}  // extern "C"
