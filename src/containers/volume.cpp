// The volume record: constructors for both layouts, release, the data
// assignment and the 32-bit form of the record.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "containers/detail/volume_layout.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_volume.h"

using namespace ox::detail;

namespace {

// Record, planes array and plane headers; everything made so far is
// released again when one allocation fails.
oxVolume* createHeader(int32_t width, int32_t height, int32_t depth, int32_t type, int32_t encoding) {
    if (depth < 0) return nullptr;  // the array of a negative count cannot be allocated
    auto* v = allocateRecord<oxVolume>();
    if (!v) return nullptr;
    v->type = type;
    v->depth = depth;
    v->width = width;
    v->height = height;
    v->roi = {0, 0, 0, width, height, depth};
    // At least one slot, so that a volume without planes still has an
    // array and a null result always means exhausted memory.
    v->planes = static_cast<oxImage**>(std::calloc(std::max(depth, 1), sizeof(oxImage*)));
    if (!v->planes) {
        std::free(v);
        return nullptr;
    }
    for (int32_t k = 0; k < depth; ++k) {
        v->planes[k] = oxImageCreateHeaderWithType(width, height, encoding, type);
        if (!v->planes[k]) {
            while (k > 0) oxImageReleaseHeader(&v->planes[--k]);
            std::free(v->planes);
            std::free(v);
            return nullptr;
        }
    }
    return v;
}

// Header plus one zeroed buffer of `bytes` (nullopt: no such buffer, so
// no volume).
oxVolume* createContiguous(int32_t width, int32_t height, int32_t depth, int32_t type, int32_t encoding, Count bytes) {
    if (!bytes) return nullptr;
    VolumeHeaderPtr v(createHeader(width, height, depth, type, encoding));
    if (!v) return nullptr;
    // An unknown type asks for zero bytes; one byte keeps the pointer
    // non-null on every C library.
    uint8_t* data = static_cast<uint8_t*>(std::calloc(static_cast<size_t>(std::max<int64_t>(*bytes, 1)), 1));
    if (!data) return nullptr;
    oxVolumeAssignData(v.get(), data);
    return v.release();
}

}  // namespace

extern "C" {

OX_API oxVolume* oxVolumeCreateHeaderWithTypeAndEncoding(int32_t width, int32_t height, int32_t depth, int32_t type,
                                                         int32_t encoding) {
    return createHeader(width, height, depth, type, encoding);
}

OX_API oxVolume* oxVolumeCreateHeader(int32_t width, int32_t height, int32_t depth) {
    return createHeader(width, height, depth, OX_8U, OX_GRAY);
}

OX_API oxVolume* oxVolumeCreateHeaderWithType(int32_t width, int32_t height, int32_t depth, int32_t type) {
    return createHeader(width, height, depth, type, OX_GRAY);
}

OX_API oxVolume* oxVolumeCreateHeaderWithEncoding(int32_t width, int32_t height, int32_t depth, int32_t encoding) {
    return createHeader(width, height, depth, OX_8U, encoding);
}

OX_API oxVolume* oxVolumeCreateWithType(int32_t width, int32_t height, int32_t depth, int32_t type) {
    return createContiguous(width, height, depth, type, OX_GRAY,
                            checkedProduct({width, height, elementSize(type), depth}));
}

OX_API oxVolume* oxVolumeCreate(int32_t width, int32_t height, int32_t depth) {
    return oxVolumeCreateWithType(width, height, depth, OX_8U);
}

OX_API oxVolume* oxVolumeCreateWithEncoding(int32_t width, int32_t height, int32_t depth, int32_t encoding) {
    return createContiguous(width, height, depth, OX_8U, encoding,
                            checkedProduct({channelCount(encoding), width, height, depth}));
}

OX_API oxVolume* oxVolumeCreateAs(const oxVolume* volume) {
    return oxVolumeCreateWithType(volume->width, volume->height, volume->depth, volume->type);
}

OX_API oxVolume* oxVolumeCreateWithTypeWithSeparatePlanes(int32_t width, int32_t height, int32_t depth, int32_t type) {
    // The planes together are one volume's elements; a count no memory can
    // hold is refused before a plane is made.
    if (depth > 0 && !checkedProduct({width, height, depth, elementSize(type)})) return nullptr;
    SeparateVolumePtr v(createHeader(width, height, depth, type, OX_GRAY));
    if (!v) return nullptr;
    for (int32_t k = 0; k < depth; ++k) {
        // The image's buffer moves into the plane header; on failure the
        // release frees the buffers moved so far.
        ImagePtr img(oxImageCreateWithType(width, height, OX_GRAY, type));
        if (!img) return nullptr;
        std::memset(img->data, 0, static_cast<size_t>(*bufferBytes(img.get())));
        v->planes[k]->data = img->data;
        img->data = nullptr;
    }
    return v.release();
}

OX_API oxVolume* oxVolumeCreateWithSeparatePlanes(int32_t width, int32_t height, int32_t depth) {
    return oxVolumeCreateWithTypeWithSeparatePlanes(width, height, depth, OX_8U);
}

OX_API int32_t oxVolumeAssignData(oxVolume* volume, uint8_t* buffer) {
    volume->data = buffer;
    // A stride that cannot be formed (invalid encoding of plane 0) points
    // every plane at the start rather than before the buffer.
    const int64_t stride = planeStride(volume).value_or(0);
    for (int32_t k = 0; k < volume->depth && volume->planes; ++k) {
        if (volume->planes[k]) volume->planes[k]->data = buffer ? buffer + k * stride : nullptr;
    }
    return planeChannels(volume);
}

OX_API void oxVolumeReleaseHeader(oxVolume** volume) {
    if (!volume || !*volume) return;
    oxVolume* v = *volume;
    if (v->planes) {
        for (int32_t k = v->depth - 1; k >= 0; --k) oxImageReleaseHeader(&v->planes[k]);
        std::free(v->planes);
    }
    releaseRecord(volume);
}

OX_API void oxVolumeRelease(oxVolume** volume) {
    if (!volume || !*volume) return;
    std::free((*volume)->data);
    oxVolumeReleaseHeader(volume);
}

OX_API void oxVolumeReleaseWithSeparatePlanes(oxVolume** volume) {
    if (!volume || !*volume) return;
    oxVolume* v = *volume;
    if (v->planes) {
        for (int32_t k = v->depth - 1; k >= 0; --k) oxImageRelease(&v->planes[k]);
        std::free(v->planes);
    }
    releaseRecord(volume);
}

OX_API const oxVolume* oxVolumeCvtTo32(const oxVolume* volume, oxVolume32* out32) {
    out32->type = volume->type;
    out32->depth = volume->depth;
    out32->width = volume->width;
    out32->height = volume->height;
    out32->data = 0;
    out32->planes = 0;
    out32->roi = volume->roi;
    return volume;
}

OX_API const oxVolume32* oxVolumeCvtFrom32(const oxVolume32* in32, oxVolume* outVolume) {
    outVolume->type = in32->type;
    outVolume->depth = in32->depth;
    outVolume->width = in32->width;
    outVolume->height = in32->height;
    outVolume->data = nullptr;
    outVolume->planes = nullptr;
    outVolume->roi = in32->roi;
    return in32;
}

}  // extern "C"
