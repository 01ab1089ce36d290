// Volume dump files through both loaders: each refuses or gives a volume
// whose buffers hold every element the header promises; what loads saves
// and loads again to the same elements, in either layout; and the
// region-driven reads stay inside the buffers and cheap whatever region the
// file carries.
#include <cstdint>
#include <cstring>

#include "fuzz_support.hpp"
#include "ox_volume.h"

using namespace oxfuzz;

namespace {

// Bytes of one plane; only asked of volumes that have planes, whose loaders
// made sure the product fits.
int64_t planeBytes(const oxVolume* v) {
    const __int128 bytes = static_cast<__int128>(v->width) * v->height * elementBytes(v->type);
    OXFUZZ_CHECK(v->depth == 0 || bytes <= INT64_MAX);
    return v->depth == 0 ? 0 : static_cast<int64_t>(bytes);
}

// Touches the first and last byte of every plane. A volume without planes
// keeps the sizes of its header, whatever they are.
void checkPlanes(const oxVolume* v) {
    OXFUZZ_CHECK(v->depth >= 0);
    if (v->depth == 0) return;
    OXFUZZ_CHECK(v->width >= 0 && v->height >= 0);
    const int64_t bytes = planeBytes(v);
    for (int32_t k = 0; k < v->depth; ++k) {
        const volatile uint8_t* p = v->planes[k]->data;
        OXFUZZ_CHECK(p != nullptr || bytes == 0);
        if (bytes == 0) continue;
        (void)p[0];
        (void)p[bytes - 1];
    }
}

bool sameElements(const oxVolume* a, const oxVolume* b) {
    if (a->type != b->type || a->width != b->width || a->height != b->height || a->depth != b->depth) return false;
    if (std::memcmp(&a->roi, &b->roi, sizeof a->roi) != 0) return false;
    const int64_t bytes = planeBytes(a);
    for (int32_t k = 0; k < a->depth; ++k)
        if (bytes > 0 && std::memcmp(a->planes[k]->data, b->planes[k]->data, static_cast<size_t>(bytes)) != 0)
            return false;
    return true;
}

// The region-driven reads with the file's own region and points from it.
void exercise(oxVolume* v) {
    double lo = 0, hi = 0;
    oxVolumeGetMinMaxValues(v, &lo, &hi);
    oxBox box;
    int32_t empty = 0;
    oxVolumeGetNonZeroROI(v, &box, &empty);
    const oxPoint p{0, v->roi.x, v->roi.y, v->roi.z};
    (void)oxVolumeGetVal(v, &p);
    const oxPoint3D q{v->roi.x + v->roi.width / 7.0, v->roi.y - v->roi.height / 3.0, v->roi.z + 0.5};
    (void)oxVolumeGetInterpolatedVal(v, &q);
}

// Saved by `save`, a volume loads again to the same elements; a file with
// planes is a contiguous dump too.
void roundTrip(const oxVolume* v, int32_t (*save)(const oxVolume*, FILE*)) {
    if (!v) return;
    MemoryStream out;
    OXFUZZ_CHECK(save(v, out.file) == 0);
    Stream in = out.reader();
    oxVolume* again = oxVolumeDumpLoadWithSeparatePlanes(in.get());
    OXFUZZ_CHECK(again && sameElements(v, again));
    oxVolumeReleaseWithSeparatePlanes(&again);
    if (save != oxVolumeDumpSaveWithSeparatePlanes || v->depth == 0 || planeBytes(v) == 0) return;
    Stream whole = readStream(reinterpret_cast<const uint8_t*>(out.buffer), out.size);
    oxVolume* loaded = oxVolumeDumpLoad(whole.get());
    OXFUZZ_CHECK(loaded && sameElements(v, loaded));
    oxVolumeRelease(&loaded);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Stream a = readStream(data, size), b = readStream(data, size);
    if (!a || !b) return 0;
    oxVolume* contiguous = oxVolumeDumpLoad(a.get());
    oxVolume* separate = oxVolumeDumpLoadWithSeparatePlanes(b.get());
    if (contiguous) {
        OXFUZZ_CHECK(contiguous->data != nullptr);
        checkPlanes(contiguous);
        exercise(contiguous);
    }
    if (separate) {
        checkPlanes(separate);
        exercise(separate);
    }
    if (contiguous && separate) OXFUZZ_CHECK(sameElements(contiguous, separate));
    roundTrip(contiguous, oxVolumeDumpSave);
    roundTrip(separate, oxVolumeDumpSaveWithSeparatePlanes);
    oxVolumeRelease(&contiguous);
    oxVolumeReleaseWithSeparatePlanes(&separate);
    return 0;
}
