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

// Element count of a header's planes as the file format addresses it (an
// int32 product); -1 when it is negative or does not fit.
int64_t addressableCount(std::initializer_list<int64_t> sizes) {
    const int64_t n = checkedProduct(sizes);
    return n > std::numeric_limits<int32_t>::max() ? -1 : n;
}

oxVolume* loadContiguous(FILE* stream) {
    oxVolume32 h;
    if (!readHeader(stream, h)) return nullptr;
    const int64_t count = addressableCount({h.height, h.depth, h.width});
    if (count < 0) return nullptr;
    Buffer data = readExactly(stream, static_cast<size_t>(count * elementSize(h.type)), kFirstChunk);
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
        const int64_t count = addressableCount({h.width, h.height});
        if (count < 0) return nullptr;
        for (int32_t k = 0; k < h.depth; ++k) {
            Buffer b = readExactly(stream, static_cast<size_t>(count * elementSize(h.type)), kFirstChunk);
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
    if (!writeHeader(volume, stream)) return -1;
    const int64_t bytes = checkedProduct({elementSize(volume->type), volume->width, volume->depth, volume->height});
    // Nothing to write (no elements, unknown type) is a failed write too.
    if (bytes <= 0 || !volume->data) return -1;
    return std::fwrite(volume->data, static_cast<size_t>(bytes), 1, stream) == 1 ? 0 : -1;
}

OX_API int32_t oxVolumeDumpSaveWithSeparatePlanes(const oxVolume* volume, FILE* stream) {
    if (!writeHeader(volume, stream)) return -1;
    if (volume->depth < 1) return 0;
    const int64_t bytes = checkedProduct({elementSize(volume->type), volume->height, volume->width});
    if (bytes <= 0) return -1;
    for (int32_t k = 0; k < volume->depth; ++k) {
        const oxImage* plane = planeAt(volume, k);
        if (!plane || !plane->data) return -1;
        if (std::fwrite(plane->data, static_cast<size_t>(bytes), 1, stream) != 1) return -1;
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
