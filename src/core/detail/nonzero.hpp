// The row scan behind the non-zero boxes of images and volumes.
#pragma once

#include <cstdint>
#include <cstring>

namespace ox::detail {

// First and last column of a row of `width` elements of T that are not
// zero, or false when there is none. Floats compare with 0: -0.0 is zero
// and NaN is not. Per row, these two columns give the same box as a
// pixel-by-pixel update of the bounds.
template <class T> bool nonZeroSpan(const uint8_t* row, int32_t width, int32_t& first, int32_t& last) noexcept {
    auto counts = [row](int32_t x) {
        T v;
        std::memcpy(&v, row + static_cast<int64_t>(x) * int64_t{sizeof(T)}, sizeof v);
        return v != T(0);
    };
    first = 0;
    while (first < width && !counts(first)) ++first;
    if (first == width) return false;
    last = width - 1;
    while (!counts(last)) --last;
    return true;
}

}  // namespace ox::detail
