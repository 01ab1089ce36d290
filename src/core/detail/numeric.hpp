// Conversions from floating point to integer pixels, in one place: a NaN
// or out-of-range value never reaches a plain cast (undefined behaviour in
// C++ and different from one processor to the next).
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace ox::detail {

// Truncates toward zero and saturates to the range of Int; NaN gives 0.
template <class Int, class Real> constexpr Int saturateTrunc(Real v) noexcept {
    static_assert(std::is_integral_v<Int> && std::is_floating_point_v<Real>);
    if (!(v == v)) return 0;
    constexpr Real lo = static_cast<Real>(std::numeric_limits<Int>::min());
    // The largest Real not above Int's maximum is found by comparing with
    // 2^digits, which every Real represents exactly.
    constexpr Real hiExclusive = static_cast<Real>(std::numeric_limits<Int>::max() / 2 + 1) * static_cast<Real>(2);
    if (v <= lo) return std::numeric_limits<Int>::min();
    if (v >= hiExclusive) return std::numeric_limits<Int>::max();
    return static_cast<Int>(v);
}

// Clamps to [lo, hi] (below lo gives lo, above hi gives hi) and truncates
// toward zero; NaN gives 0. The usual "clamp to 0..255 and truncate".
template <class Int, class Real> constexpr Int clampTrunc(Real v, Int lo, Int hi) noexcept {
    if (!(v == v)) return 0;
    if (v < static_cast<Real>(lo)) return lo;
    if (v > static_cast<Real>(hi)) return hi;
    return static_cast<Int>(v);
}

constexpr uint8_t clampToByte(float v) noexcept { return clampTrunc<uint8_t>(v, uint8_t{0}, uint8_t{255}); }
constexpr uint8_t clampToByte(double v) noexcept { return clampTrunc<uint8_t>(v, uint8_t{0}, uint8_t{255}); }

// Truncates toward zero to a 64-bit integer (NaN gives 0, values beyond the
// int64 range saturate) and keeps the low bits of Int: the wrap that the
// fills use (300 -> 44 for a byte, -1 -> 255).
template <class Int, class Real> constexpr Int wrapTrunc(Real v) noexcept {
    const int64_t n = saturateTrunc<int64_t>(v);
    return static_cast<Int>(static_cast<std::make_unsigned_t<Int>>(static_cast<uint64_t>(n)));
}

}  // namespace ox::detail
