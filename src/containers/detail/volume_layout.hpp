// Sizes, strides and owning handles shared by the volume constructors, the
// dump file and the volume operations.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/size.hpp"
#include "ox_volume.h"

namespace ox::detail {

using VolumePtr = Owned<oxVolume, oxVolumeRelease>;                             // contiguous
using VolumeHeaderPtr = Owned<oxVolume, oxVolumeReleaseHeader>;                 // header only
using SeparateVolumePtr = Owned<oxVolume, oxVolumeReleaseWithSeparatePlanes>;   // one buffer per plane

// width * height * depth; nullopt for a negative size or a count that no
// buffer can have. Sizes are never validated by the callers, so every count
// goes through the checked products before it reaches an allocation or a
// walk.
inline Count elementCount(const oxVolume* v) noexcept { return checkedProduct({v->width, v->height, v->depth}); }

// Bytes of the elements, E * width * height * depth (no channel factor).
inline Count elementBytes(const oxVolume* v) noexcept {
    return checkedProduct({v->width, v->height, v->depth, elementSize(v->type)});
}

inline bool hasPlaneZero(const oxVolume* v) noexcept { return v->depth >= 1 && v->planes && v->planes[0]; }

// Channel count of plane 0's encoding; 1 when there is no plane 0. An
// invalid encoding gives -1, so that no byte count can be built on it.
inline int32_t planeChannels(const oxVolume* v) noexcept {
    return hasPlaneZero(v) ? channelCount(v->planes[0]->encoding) : 1;
}

// Bytes from one plane to the next in the contiguous layout:
// width * height * E * C; nullopt when there is no such count.
inline Count planeStride(const oxVolume* v) noexcept {
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
