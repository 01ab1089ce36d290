// Element-level volume operations: size and region, non-zero box, plane by
// plane type conversion, exact and trilinear reads, min/max, slices, fills
// and inversion. Every read and write is checked against the volume's
// buffers: a position or region outside them is refused (status 1) or
// reads as 0.0, never followed into foreign memory.
#include <algorithm>
#include <cstring>
#include <limits>

#include "containers/detail/volume_layout.hpp"
#include "containers/detail/volume_read.hpp"
#include "core/detail/invert.hpp"
#include "core/detail/minmax.hpp"
#include "core/detail/nonzero.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_convert.h"
#include "ox_volume.h"

using namespace ox::detail;

namespace {

// int32 arithmetic of the box extents: an empty scan gives 3, on purpose.
int32_t wrappedExtent(int32_t mx, int32_t mn) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(mx) - mn + 1));
}

template <int32_t Code> void nonZeroBox(const oxVolume* v, oxBox* out, int32_t* empty) {
    using T = PixelType<Code>;
    const int32_t w = v->width, h = v->height, d = v->depth;
    int32_t minX = std::numeric_limits<int32_t>::max(), minY = minX, minZ = minX;
    int32_t maxX = -std::numeric_limits<int32_t>::max(), maxY = maxX, maxZ = maxX;
    const uint8_t* row = v->data;
    for (int32_t z = 0; z < d; ++z) {
        for (int32_t y = 0; y < h; ++y, row += static_cast<int64_t>(w) * int64_t{sizeof(T)}) {
            int32_t first = 0, last = 0;
            if (!nonZeroSpan<T>(row, w, first, last)) continue;
            minX = std::min(minX, first);
            maxX = std::max(maxX, last);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
            minZ = std::min(minZ, z);
            maxZ = std::max(maxZ, z);
            *empty = 0;
        }
    }
    *out = {minX, minY, minZ, wrappedExtent(maxX, minX), wrappedExtent(maxY, minY), wrappedExtent(maxZ, minZ)};
}

// Element index of the min/max walk: plane p, row r, column c of the roi.
// Later planes are shifted by p * (width - roi.width) elements; that shift
// is deliberate and kept.
__int128 minMaxIndex(const oxVolume* v, int64_t p, int64_t r, int64_t c) {
    const oxBox& b = v->roi;
    const __int128 w = v->width, plane = w * v->height;
    return (b.z + p) * plane + b.y * w + b.x + p * (w - b.width) + r * w + c;
}

// The index is affine in (p, r, c), so the walk stays inside the buffer
// when its eight corners do. A region of more elements than the buffer
// holds cannot lie inside it without visiting some elements again and
// again (the plane shift can fold every plane onto the same few); such a
// region is refused, so the cost of a walk is bounded by the buffer, not
// by what a header claims.
bool minMaxWalkFits(const oxVolume* v) {
    const Count total = elementCount(v);
    if (!total || !elementBytes(v)) return false;
    const oxBox& b = v->roi;
    const Count visits = checkedProduct({b.depth, b.height, b.width});
    if (!visits || *visits > *total) return false;
    for (int64_t p : {0, b.depth - 1})
        for (int64_t r : {0, b.height - 1})
            for (int64_t c : {0, b.width - 1}) {
                const __int128 i = minMaxIndex(v, p, r, c);
                if (i < 0 || i >= *total) return false;
            }
    return true;
}

template <int32_t Code> void minMaxWalk(const oxVolume* v, double& mn, double& mx) {
    constexpr int64_t E = sizeof(PixelType<Code>);
    const oxBox& b = v->roi;
    for (int32_t p = 0; p < b.depth; ++p) {
        const uint8_t* plane = v->data + static_cast<int64_t>(minMaxIndex(v, p, 0, 0)) * E;
        for (int32_t r = 0; r < b.height; ++r) {
            const uint8_t* row = plane + static_cast<int64_t>(r) * v->width * E;
            for (int32_t c = 0; c < b.width; ++c) updateMinMax(readAsDouble<Code>(row + c * E), mn, mx);
        }
    }
}

// Gathers a section that crosses the planes: image element (r, c) comes
// from plane planeOf(r, c) at element indexOf(r, c).
template <class T, class PlaneOf, class IndexOf>
void gather(const oxVolume* v, oxImage* image, PlaneOf planeOf, IndexOf indexOf) {
    T* out = reinterpret_cast<T*>(image->data);
    for (int32_t r = 0; r < image->height; ++r)
        for (int32_t c = 0; c < image->width; ++c)
            *out++ = reinterpret_cast<const T*>(v->planes[planeOf(r, c)]->data)[indexOf(r, c)];
}

int32_t slice(const oxVolume* v, int32_t axis, int32_t index, oxImage* image) {
    if (image->encoding != OX_GRAY || image->type != v->type) return 1;
    int32_t extent, width, height;
    switch (axis) {
    case 2: extent = v->depth, width = v->width, height = v->height; break;
    case 0: extent = v->width, width = v->height, height = v->depth; break;
    case 1: extent = v->height, width = v->depth, height = v->width; break;
    default: return 1;
    }
    if (index < 0 || index >= extent || image->width != width || image->height != height) return 1;
    const Count n = elementBytes(v);
    if (!isKnownType(v->type) || !n) return 1;
    if (*n == 0) return 0;
    // Axis 2 reads one plane, the others every plane.
    const int32_t firstPlane = axis == 2 ? index : 0, lastPlane = axis == 2 ? index : v->depth - 1;
    for (int32_t k = firstPlane; k <= lastPlane; ++k) {
        const oxImage* plane = planeAt(v, k);
        if (!plane || !plane->data) return 1;
    }
    if (!image->data) return 1;
    const int64_t w = v->width;
    if (axis == 2) {
        std::memcpy(image->data, v->planes[index]->data, static_cast<size_t>(w * v->height * elementSize(v->type)));
        return 0;
    }
    visitType(v->type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (axis == 0)  // row r = z, column c = y
            gather<T>(v, image, [](int32_t r, int32_t) { return r; }, [&](int32_t, int32_t c) { return index + w * c; });
        else  // row r = x, column c = z
            gather<T>(v, image, [](int32_t, int32_t c) { return c; }, [&](int32_t r, int32_t) { return r + w * index; });
    });
    return 0;
}

// Plane by plane conversion; refused before any plane is touched when a
// plane the loop needs is missing.
template <class Convert> int32_t convertPlanes(const oxVolume* src, oxVolume* dst, Convert convert) {
    if (src->depth < 1) return 0;
    if (dst->depth < src->depth || !src->planes || !dst->planes) return 1;
    for (int32_t k = 0; k < src->depth; ++k)
        if (!src->planes[k] || !dst->planes[k]) return 1;
    for (int32_t k = 0; k < src->depth; ++k)
        if (const int32_t r = convert(src->planes[k], dst->planes[k]); r != 0) return r;
    return 0;
}

// The value a fill stores, per type: the integer types narrow through
// int32 and keep the low bits.
template <int32_t Code> PixelType<Code> fillValue(double value) {
    using T = PixelType<Code>;
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else
        return wrapTrunc32<T>(value);
}

}  // namespace

extern "C" {

OX_API oxSize3D oxVolumeSize(const oxVolume* volume) { return {volume->width, volume->height, volume->depth}; }

OX_API oxVolume* oxVolumeSetROI(oxVolume* volume, const oxBox* roi) {
    volume->roi = *roi;
    return volume;
}

OX_API oxVolume* oxVolumeResetROI(oxVolume* volume) {
    volume->roi = {0, 0, 0, volume->width, volume->height, volume->depth};
    return volume;
}

OX_API int32_t oxVolumeGetNonZeroROI(const oxVolume* volume, oxBox* out, int32_t* empty) {
    *empty = 1;
    if (!isKnownType(volume->type)) return 1;
    const bool negative = volume->width < 0 || volume->height < 0 || volume->depth < 0;
    const Count bytes = elementBytes(volume);
    // Sizes no buffer can have are refused; a negative size scans nothing,
    // like a volume without planes or rows.
    if (!negative && (!bytes || (*bytes > 0 && !volume->data))) return 1;
    const oxVolume scanned = !negative && *bytes > 0 ? *volume : oxVolume{volume->type, 0, 0, 0, nullptr, nullptr, {}};
    visitType(volume->type, [&](auto tag) { nonZeroBox<decltype(tag)::code>(&scanned, out, empty); });
    return 0;
}

OX_API int32_t oxVolumeCvtType(const oxVolume* src, oxVolume* dst) {
    return convertPlanes(src, dst, [](const oxImage* s, oxImage* d) { return oxImageCvtType(s, d); });
}

OX_API int32_t oxVolumeCvtTypeGivenRange(const oxVolume* src, oxVolume* dst, double min, double max) {
    if (src->depth != dst->depth) return 1;
    return convertPlanes(src, dst,
                         [&](const oxImage* s, oxImage* d) { return oxImageCvtTypeGivenRange(s, d, min, max); });
}

OX_API double oxVolumeGetVal(const oxVolume* volume, const oxPoint* p) {
    double out = 0.0;
    visitType(volume->type, [&](auto tag) {
        VolumeReader reader(volume);
        out = reader.read<decltype(tag)::code>(p->x, p->y, p->z);
        if (!reader.ok) out = 0.0;
    });
    return out;
}

OX_API double oxVolumeGetInterpolatedVal(const oxVolume* volume, const oxPoint3D* p) {
    double out = 0.0;
    visitType(volume->type, [&](auto tag) {
        out = trilinear<decltype(tag)::code>(VolumeReader(volume), p->x, p->y, p->z);
    });
    return out;
}

OX_API double oxVolumeGetInterpolatedValPerPlane(const oxVolume* volume, const oxPoint3D* p) {
    return oxVolumeGetInterpolatedVal(volume, p);
}

OX_API int32_t oxVolumeGetMinMaxValues(const oxVolume* volume, double* min, double* max) {
    *min = kLargestFinite;
    *max = -kLargestFinite;
    if (!isKnownType(volume->type)) return 1;
    const oxBox& b = volume->roi;
    if (b.depth < 1 || b.height < 1 || b.width < 1) return 0;
    if (!volume->data || !minMaxWalkFits(volume)) return 1;
    double mn = *min, mx = *max;
    visitType(volume->type, [&](auto tag) { minMaxWalk<decltype(tag)::code>(volume, mn, mx); });
    *min = mn;
    *max = mx;
    return 0;
}

OX_API int32_t oxVolumeGetSlice(const oxVolume* volume, int32_t axis, int32_t index, oxImage* image) {
    return slice(volume, axis, index, image);
}

OX_API void oxVolumeSetZero(oxVolume* volume) {
    const Count bytes = checkedProduct(
        {elementSize(volume->type), volume->width, volume->height, volume->depth, planeChannels(volume)});
    if (bytes && *bytes > 0 && volume->data) std::memset(volume->data, 0, static_cast<size_t>(*bytes));
}

OX_API void oxVolumeSetVal(oxVolume* volume, double value) {
    const Count n = elementCount(volume);
    if (!n || *n == 0 || !elementBytes(volume) || !volume->data) return;
    visitType(volume->type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        std::fill_n(reinterpret_cast<T*>(volume->data), *n, fillValue<decltype(tag)::code>(value));
    });
}

OX_API int32_t oxVolumeInvert(const oxVolume* src, oxVolume* dst) {
    if (dst->width != src->width || dst->height != src->height || dst->depth != src->depth || dst->type != src->type ||
        src->type != OX_8U)
        return 1;
    const Count n = elementCount(src);
    if (!n) return 1;
    if (*n == 0) return 0;
    if (!src->data || !dst->data) return 1;
    invertBytes(src->data, dst->data, *n);
    return 0;
}

}  // extern "C"
