// Order statistics of the per-round samples, and how often a round repeats
// a call.
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

// A row's figures from its rounds: round i timed ours[i] and theirs[i]
// back to back. The ratio is the median of the per-round ratios, not the
// ratio of the medians: a round's two samples share the machine's load of
// that moment, so their ratio is the steadier figure.
struct Summary {
    double ours, theirs, ratio, ratioQ1, ratioQ3;
};

inline Summary summarise(const std::vector<double>& ours, const std::vector<double>& theirs) {
    std::vector<double> ratios;
    for (size_t i = 0; i < ours.size() && i < theirs.size(); ++i) ratios.push_back(ours[i] / theirs[i]);
    return {median(ours), median(theirs), median(ratios), quantile(ratios, 0.25), quantile(ratios, 0.75)};
}

// Calls per sample so that one sample lasts at least minMs, from the time
// of one call: between 1 and 1000.
inline int repsFor(double seconds, double minMs) {
    if (!(seconds > 0)) return 1000;
    return static_cast<int>(std::clamp(std::ceil(minMs / 1000.0 / seconds), 1.0, 1000.0));
}

}  // namespace oxcmp
