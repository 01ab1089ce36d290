// Order statistics of the per-round samples.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace oxcmp {

// The q-quantile (0..1) by linear interpolation between the closest ranks;
// q = 0.5 is the median (the mean of the middle two of an even count).
// NaN for no samples.
inline double quantile(std::vector<double> v, double q) {
    if (v.empty()) return std::nan("");
    std::sort(v.begin(), v.end());
    const double pos = q * static_cast<double>(v.size() - 1);
    const size_t lo = static_cast<size_t>(std::floor(pos));
    const size_t hi = std::min(lo + 1, v.size() - 1);
    return v[lo] + (v[hi] - v[lo]) * (pos - static_cast<double>(lo));
}

inline double median(const std::vector<double>& v) { return quantile(v, 0.5); }

}  // namespace oxcmp
