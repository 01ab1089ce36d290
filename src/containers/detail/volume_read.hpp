// Element reads through a volume's plane headers, shared by the exact and
// trilinear reads and the volume resize. Every read is checked against the
// volume's extents; a read outside clears `ok`, and the callers then answer
// 0.0 instead of the value.
#pragma once

#include <cstdint>

#include "containers/detail/volume_layout.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_volume.h"

namespace ox::detail {

struct VolumeReader {
    const oxVolume* v;
    // A plane of these sizes is a buffer that can exist; otherwise no
    // element is read at all.
    bool planesFit;
    mutable bool ok = true;

    explicit VolumeReader(const oxVolume* volume) noexcept
        : v(volume), planesFit(checkedProduct({volume->width, volume->height, elementSize(volume->type)}).has_value()) {}

    // Element (x, y) of plane z, read as type Code.
    template <int32_t Code> double read(int64_t x, int64_t y, int64_t z) const noexcept {
        const oxImage* plane = planeAt(v, z);
        if (!planesFit || !plane || !plane->data || x < 0 || x >= v->width || y < 0 || y >= v->height) {
            ok = false;
            return 0.0;
        }
        return readAsDouble<Code>(plane->data + (x + y * v->width) * static_cast<int64_t>(sizeof(PixelType<Code>)));
    }
};

// The bilinear value of the image reads, in plane z at (ix + fx, iy + fy):
// a neighbour is read only on a side whose fraction is not zero, so the
// last row and column can be read without stepping past them.
template <int32_t Code>
double bilinearInPlane(const VolumeReader& r, int64_t ix, int64_t iy, int64_t z, double fx, double fy) noexcept {
    const double p00 = r.read<Code>(ix, iy, z);
    if (fx != 0.0 && fy != 0.0) {
        const double p10 = r.read<Code>(ix + 1, iy, z), p01 = r.read<Code>(ix, iy + 1, z);
        const double p11 = r.read<Code>(ix + 1, iy + 1, z);
        const double top = p00 + fx * (p10 - p00);
        const double bottom = p01 + fx * (p11 - p01);
        return top + fy * (bottom - top);
    }
    if (fx != 0.0) return p00 + (r.read<Code>(ix + 1, iy, z) - p00) * fx;
    if (fy != 0.0) return p00 + fy * (r.read<Code>(ix, iy + 1, z) - p00);
    return p00;
}

// Trilinear value at (x, y, z): bilinear in plane trunc(z), and in the next
// plane only when z has a fraction. Coordinates truncate toward zero, so a
// small negative one extrapolates from element 0 (kept: the reads stay
// inside). 0.0 when an element it needs lies outside the volume.
template <int32_t Code> double trilinear(const VolumeReader& r, double x, double y, double z) noexcept {
    const int32_t ix = saturateTrunc<int32_t>(x), iy = saturateTrunc<int32_t>(y), iz = saturateTrunc<int32_t>(z);
    const double fx = x - ix, fy = y - iy, fz = z - iz;
    r.ok = true;
    const double q0 = bilinearInPlane<Code>(r, ix, iy, iz, fx, fy);
    double out = q0;
    if (fz != 0.0) {
        const double q1 = bilinearInPlane<Code>(r, ix, iy, int64_t{iz} + 1, fx, fy);
        out = q0 + (q1 - q0) * fz;
    }
    return r.ok ? out : 0.0;
}

}  // namespace ox::detail
