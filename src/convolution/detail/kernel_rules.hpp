// Pieces of the separable kernel shared by the kernel family and the
// convolutions: the two border rules, the symmetry test that picks a pass
// form, and an owning handle for kernels made during one call.
#pragma once

#include <cstdint>

#include "core/detail/handles.hpp"
#include "ox_kernel.h"

namespace ox::detail {

using KernelPtr = Owned<oxSepKernel, oxSepKernelRelease>;

// The kernel a convolution works with: the caller's, or a normalised copy
// (kept alive by `holder`) when it asks for normalising and is not
// normalised yet. Null when it cannot be normalised.
inline const oxSepKernel* workingKernel(const oxSepKernel* kernel, KernelPtr& holder) {
    if (kernel->normalize != 1 || kernel->isNormalized != 0) return kernel;
    holder.reset(oxSepKernelGetNormalizedKernel(kernel));
    return holder.get();
}

// Largest radius whose length 2*r+1 is still an int32.
constexpr int32_t kMaxKernelRadius = (INT32_MAX - 1) / 2;

constexpr int32_t padExpand(int32_t i, int32_t lo, int32_t hi) noexcept {
    if (i < lo) return lo;
    if (i >= hi) return hi;
    return i;
}

// Below the range the result is lo - i, not 2*lo - i: deliberate, and the
// mirror about 0 for lo = 0, which every caller passes. Far outside the
// int32 range the result wraps instead of overflowing.
constexpr int32_t padReflect(int32_t i, int32_t lo, int32_t hi) noexcept {
    if (i < lo) return static_cast<int32_t>(static_cast<int64_t>(lo) - i);
    if (i > hi) return static_cast<int32_t>(2 * static_cast<int64_t>(hi) - i);
    return i;
}

using PadRule = int32_t (*)(int32_t, int32_t, int32_t);

// The rule of a border code; null for a code that is neither rule.
constexpr PadRule padRule(int32_t border) noexcept {
    if (border == OX_PAD_EXPAND) return padExpand;
    if (border == OX_PAD_REFLECT) return padReflect;
    return nullptr;
}

// True when weight i equals weight 2r-i for every i below r, compared as
// floats (so a NaN weight makes the array asymmetric).
inline bool isSymmetric(const float* w, int32_t r) noexcept {
    for (int32_t i = 0; i < r; ++i)
        if (!(w[i] == w[2 * r - i])) return false;
    return true;
}

}  // namespace ox::detail
