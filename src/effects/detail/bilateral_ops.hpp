// Internal operations of the bilateral filter's colour worker: the weight
// tables it reads and one pass over typed views. The exported functions
// and the simplify effect run on these; inputs are checked by the caller.
#pragma once

#include <cstdint>

#include "core/detail/handles.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_bilateral.h"

namespace ox::detail {

// Distinct squared colour distances a^2 + b^2 + c^2 of three byte differences.
constexpr int32_t kBilateralNorms = 3 * 255 * 255 + 1;

// g(k) = exp(-k^2 / ((sigma + sigma) * sigma)) for k = 0..10, the quotient
// in float, the exponential in double; g(0) is exactly 1 for every sigma.
void bilateralSpaceGaussian(float sigma, float g[OX_BILATERAL_SPACE_SIZE / 2 + 1]) noexcept;

// The range table's factor (-1 / ((s + s) * s)) / 65025 in float.
float bilateralRangeFactor(float sigma) noexcept;

// Range weight of a squared difference n under factor f: exp(f * n) in
// double rounded to float; n = 0 weighs exactly 1.
float bilateralRangeWeight(float f, int32_t n) noexcept;

// The 2-D spatial weights of one sigma, laid out as the record's table.
struct BilateralSpace {
    float weights[OX_BILATERAL_SPACE_SIZE][OX_BILATERAL_SPACE_SIZE];
    // Offset (0, 0); offset (dy, dx) is dy * OX_BILATERAL_SPACE_SIZE + dx away.
    const float* centre() const noexcept { return &weights[OX_BILATERAL_SPACE_SIZE / 2][OX_BILATERAL_SPACE_SIZE / 2]; }
};
void buildBilateralSpace(float sigma, BilateralSpace& out) noexcept;

// The colour range weights by squared distance: entry n holds what the
// record's 64 MiB table holds at every [a][b][c] with a^2 + b^2 + c^2 = n.
struct ColourRange {
    Buffer memory;
    float factor = 0.0f;

    const float* byNorm() const noexcept { return reinterpret_cast<const float*>(memory.get()); }
    explicit operator bool() const noexcept { return memory != nullptr; }
};

// Fills `out` for factor f (allocating it unless it already holds a
// table). Refused when out of memory.
Status buildColourRange(float f, ColourRange& out) noexcept;

// The compact table of factor f that the calling thread keeps: built on
// first use and again whenever f changes, so that a thread filtering with
// one sigma (a host's repeated calls, the simplify effect's passes) builds
// it once. Null when out of memory. It lives until the thread ends or calls
// releaseThreadColourRange().
const float* threadColourRange(float f) noexcept;
void releaseThreadColourRange() noexcept;

// One colour pass with radius r (0..9): packed 3-byte pixels of `src` into
// `dst`, both `src.width` x `src.height` pixels of 3 channels. The pixels
// are computed as if one by one in row-major order, so an in-place pass
// (dst the same rows as src) reads the outputs already written above and
// to the left, and buffers that overlap otherwise read what that order
// leaves. `space` points at offset (0, 0) of a 21 x 21 spatial table and
// `byNorm` at kBilateralNorms range weights.
Status bilateralColourPass(ConstView<uint8_t> src, View<uint8_t> dst, int32_t r, const float* space,
                           const float* byNorm) noexcept;

}  // namespace ox::detail
