// Sizes, strides and owning handles shared by the volume constructors, the
// dump file and the volume operations.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_volume.h"

namespace ox::detail {

using VolumePtr = Owned<oxVolume, oxVolumeRelease>;                             // contiguous
using VolumeHeaderPtr = Owned<oxVolume, oxVolumeReleaseHeader>;                 // header only
using SeparateVolumePtr = Owned<oxVolume, oxVolumeReleaseWithSeparatePlanes>;   // one buffer per plane

// Product of non-negative factors, or -1 when a factor is negative or the
// product leaves int64. Sizes are never validated by the callers, so every
// byte count goes through here before it reaches an allocation or a walk.
inline int64_t checkedProduct(std::initializer_list<int64_t> factors) noexcept {
    int64_t p = 1;
    for (int64_t f : factors) {
        if (f < 0 || __builtin_mul_overflow(p, f, &p)) return -1;
    }
    return p;
}

// width * height * depth, or -1 (negative size or overflow).
inline int64_t elementCount(const oxVolume* v) noexcept { return checkedProduct({v->width, v->height, v->depth}); }

inline bool hasPlaneZero(const oxVolume* v) noexcept { return v->depth >= 1 && v->planes && v->planes[0]; }

// Channel count of plane 0's encoding; 1 when there is no plane 0. An
// invalid encoding gives -1, which makes every byte count built on it -1.
inline int32_t planeChannels(const oxVolume* v) noexcept {
    return hasPlaneZero(v) ? channelCount(v->planes[0]->encoding) : 1;
}

// Bytes from one plane to the next in the contiguous layout:
// width * height * E * C, or -1.
inline int64_t planeStride(const oxVolume* v) noexcept {
    return checkedProduct({v->width, v->height, elementSize(v->type), planeChannels(v)});
}

// The plane header at index k, or null when k is outside the volume.
inline oxImage* planeAt(const oxVolume* v, int64_t k) noexcept {
    if (!v->planes || k < 0 || k >= v->depth) return nullptr;
    return v->planes[k];
}

// Truncates toward zero to int32 (saturating; NaN gives 0) and keeps the
// low bits of Int: the store rule of the volume fill and resize, which
// narrow through int32 rather than int64.
template <class Int, class Real> constexpr Int wrapTrunc32(Real v) noexcept {
    const int32_t n = saturateTrunc<int32_t>(v);
    return static_cast<Int>(static_cast<std::make_unsigned_t<Int>>(static_cast<uint32_t>(n)));
}

}  // namespace ox::detail
