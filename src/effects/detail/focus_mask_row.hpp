// The focus mask's per-pixel formula and its plain row loop: the reference
// that the vectorised row loop must match byte for byte.
#pragma once

#include <cmath>
#include <cstdint>

#include "core/detail/numeric.hpp"

namespace ox::detail::focus {

// Normalised offset from the centre along one axis. A zero half-axis gives
// +-inf, or NaN at the centre itself; both end up as byte 0.
inline float offset(int64_t i, int64_t centre, float radius) { return static_cast<float>(i - centre) / radius; }

// (1 - sqrt(dx*dx + dy*dy)) * 255 with the sum as one fused multiply-add,
// truncated; negative and NaN values give 0.
inline uint8_t maskByte(float dx, float dy2) {
    return clampToByte((1.0f - std::sqrt(std::fmaf(dx, dx, dy2))) * 255.0f);
}

// `n` bytes of one row whose first column lies `first` pixels right of the
// centre column (the difference fits an int32 wherever |dx| < 1).
inline void rowPlain(int32_t first, int32_t n, float rx, float dy2, uint8_t* out) {
    for (int32_t i = 0; i < n; ++i) out[i] = maskByte(static_cast<float>(first + i) / rx, dy2);
}

}  // namespace ox::detail::focus
