// The volume dump file: the 48-byte 32-bit form of the record, then the
// elements plane after plane. Loading never trusts the header: its sizes
// are checked for overflow, and a body is allocated only as far as the
// stream can deliver it.
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

#include "containers/detail/volume_layout.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/stream_read.hpp"
#include "ox_volume.h"

using namespace ox::detail;

namespace {

static_assert(sizeof(oxVolume32) == 48, "the dump header is the 48-byte record");

// First piece of a stream of unknown length; each further piece doubles
// the buffer, so memory follows the bytes that really arrive.
constexpr size_t kFirstChunk = size_t{1} << 14;

bool writeHeader(const oxVolume* v, FILE* stream) {
    oxVolume32 header;
    oxVolumeCvtTo32(v, &header);
    return std::fwrite(&header, sizeof header, 1, stream) == 1;
}

bool readHeader(FILE* stream, oxVolume32& header) { return std::fread(&header, sizeof header, 1, stream) == 1; }

// Bytes of `count` elements of a header's type, when the count is one the
// file format can address (an int32 product); nullopt otherwise.
Count bodyBytes(int32_t type, std::initializer_list<int64_t> sizes) {
    const Count n = checkedProduct(sizes);
    if (!n || *n > std::numeric_limits<int32_t>::max()) return std::nullopt;
    return checkedProduct({*n, elementSize(type)});
}

// Sizes that are not negative but whose elements no buffer can hold: a
// save refuses them before it writes anything.
bool tooLarge(const oxVolume* v) {
    return v->width >= 0 && v->height >= 0 && v->depth >= 0 && !elementBytes(v);
}

oxVolume* loadContiguous(FILE* stream) {
    oxVolume32 h;
    if (!readHeader(stream, h)) return nullptr;
    const Count bytes = bodyBytes(h.type, {h.height, h.depth, h.width});
    if (!bytes) return nullptr;
    Buffer data = readExactly(stream, static_cast<size_t>(*bytes), kFirstChunk);
    if (!data) return nullptr;
    oxVolume* v = oxVolumeCreateHeaderWithTypeAndEncoding(h.width, h.height, h.depth, h.type, OX_GRAY);
    if (!v) return nullptr;
    v->roi = h.roi;
    oxVolumeAssignData(v, data.release());
    return v;
}

oxVolume* loadSeparate(FILE* stream) {
    oxVolume32 h;
    if (!readHeader(stream, h) || h.depth < 0) return nullptr;
    // The buffers are read before the volume is built, so that a header
    // with a huge depth costs memory only for the planes really present.
    std::vector<Buffer> buffers;
    if (h.depth > 0) {
        const Count bytes = bodyBytes(h.type, {h.width, h.height});
        if (!bytes) return nullptr;
        for (int32_t k = 0; k < h.depth; ++k) {
            Buffer b = readExactly(stream, static_cast<size_t>(*bytes), kFirstChunk);
            if (!b) return nullptr;
            buffers.push_back(std::move(b));
        }
    }
    oxVolume* v = oxVolumeCreateHeaderWithTypeAndEncoding(h.width, h.height, h.depth, h.type, OX_GRAY);
    if (!v) return nullptr;
    v->roi = h.roi;
    for (int32_t k = 0; k < h.depth; ++k) v->planes[k]->data = buffers[k].release();
    return v;
}

}  // namespace

extern "C" {

OX_API int32_t oxVolumeDumpSave(const oxVolume* volume, FILE* stream) {
    if (tooLarge(volume) || !writeHeader(volume, stream)) return -1;
    const Count bytes = elementBytes(volume);
    // Nothing to write (no elements, unknown type) is a failed write too.
    if (!bytes || *bytes == 0 || !volume->data) return -1;
    return std::fwrite(volume->data, static_cast<size_t>(*bytes), 1, stream) == 1 ? 0 : -1;
}

OX_API int32_t oxVolumeDumpSaveWithSeparatePlanes(const oxVolume* volume, FILE* stream) {
    if ((volume->depth >= 1 && tooLarge(volume)) || !writeHeader(volume, stream)) return -1;
    if (volume->depth < 1) return 0;
    const Count bytes = checkedProduct({elementSize(volume->type), volume->height, volume->width});
    if (!bytes || *bytes == 0) return -1;
    for (int32_t k = 0; k < volume->depth; ++k) {
        const oxImage* plane = planeAt(volume, k);
        if (!plane || !plane->data) return -1;
        if (std::fwrite(plane->data, static_cast<size_t>(*bytes), 1, stream) != 1) return -1;
    }
    return 0;
}

OX_API oxVolume* oxVolumeDumpLoad(FILE* stream) {
    try {
        return loadContiguous(stream);
    } catch (...) {
        return nullptr;
    }
}

OX_API oxVolume* oxVolumeDumpLoadWithSeparatePlanes(FILE* stream) {
    try {
        return loadSeparate(stream);
    } catch (...) {
        return nullptr;  // the plane list could not grow
    }
}

}  // extern "C"
