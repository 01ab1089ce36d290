// The minimum/maximum update shared by the image and volume statistics.
// Its exact form decides what happens to infinities and NaN and is kept:
// a +inf held in max is replaced by the largest finite double at the next
// value that is not greater; a -inf in min becomes the most negative finite
// double at the next value, which is itself not compared on that step; a
// NaN never replaces either.
#pragma once

#include <algorithm>
#include <limits>

namespace ox::detail {

constexpr double kLargestFinite = std::numeric_limits<double>::max();

inline void updateMinMax(double v, double& mn, double& mx) noexcept {
    if (v > mx)
        mx = v;
    else
        mx = std::min(mx, kLargestFinite);
    if (mn < -kLargestFinite)
        mn = -kLargestFinite;
    else
        mn = std::min(mn, v);  // a NaN v compares false and keeps mn
}

}  // namespace ox::detail
