// Volume resampling and copy: the trilinear resize into an 8-bit volume
// and the plane by plane copy of a region of interest.
#include <cstring>

#include "containers/detail/volume_layout.hpp"
#include "containers/detail/volume_read.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_color.h"
#include "ox_volume.h"

using namespace ox::detail;

namespace {

double clampToExtent(double v, int32_t size) {
    if (v < 0.0) v = 0.0;
    if (v > size - 1.0) v = size - 1.0;
    return v;
}

int32_t resize(const oxVolume* src, oxVolume* dst) {
    if (dst->depth < 1 || !dst->planes) return 0;
    const Count count = elementCount(dst);
    if (!count) return 1;
    const int64_t n = *count;
    if (n == 0) return 0;
    // Bytes are stored into `data`, which a zero-size type does not have.
    if (!dst->data || !isKnownType(dst->type)) return 1;
    // Each ratio is a double division, and the position divides by it.
    const double rx = static_cast<double>(dst->width) / src->width;
    const double ry = static_cast<double>(dst->height) / src->height;
    const double rz = static_cast<double>(dst->depth) / src->depth;
    uint8_t* out = dst->data;
    visitType(src->type, [&](auto tag) {
        const VolumeReader reader(src);
        for (int32_t z = 0; z < dst->depth; ++z) {
            const double pz = clampToExtent(z / rz, src->depth);
            for (int32_t y = 0; y < dst->height; ++y) {
                const double py = clampToExtent(y / ry, src->height);
                for (int32_t x = 0; x < dst->width; ++x) {
                    const double px = clampToExtent(x / rx, src->width);
                    *out++ = wrapTrunc32<uint8_t>(trilinear<decltype(tag)::code>(reader, px, py, pz));
                }
            }
        }
    });
    // An unknown source type reads 0.0 everywhere.
    if (!isKnownType(src->type)) std::memset(dst->data, 0, static_cast<size_t>(n));
    return 0;
}

int32_t copy(const oxVolume* src, oxVolume* dst) {
    const oxBox &s = src->roi, &d = dst->roi;
    if (s.depth != d.depth || s.height != d.height || s.width != d.width) return 1;
    for (int64_t k = 0; k < s.depth; ++k)
        if (!planeAt(src, s.z + k) || !planeAt(dst, d.z + k)) return 1;
    for (int64_t k = 0; k < s.depth; ++k) {
        oxImage* sp = src->planes[s.z + k];
        oxImage* dp = dst->planes[d.z + k];
        const oxRect savedS = sp->roi, savedD = dp->roi;
        sp->roi = {s.x, s.y, s.width, s.height};
        dp->roi = {d.x, d.y, d.width, d.height};
        // On failure both planes keep the volume roi: that is deliberate.
        if (const int32_t r = oxImageCvtColor(sp, dp); r != 0) return r;
        sp->roi = savedS;
        dp->roi = savedD;
    }
    return 0;
}

}  // namespace

extern "C" {

OX_API int32_t oxResize3D(const oxVolume* src, oxVolume* dst, int32_t mode) {
    if (mode != 0) return 1;
    return resize(src, dst);
}

OX_API int32_t oxCopy3D(const oxVolume* src, oxVolume* dst) { return copy(src, dst); }

}  // extern "C"
