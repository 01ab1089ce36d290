// Sample access and conversions shared by the separable passes. Samples
// are read and written through memcpy because image buffers and the
// caller's work buffer need not be aligned for float or double.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "convolution/detail/kernel_rules.hpp"
#include "ox_image.h"

namespace ox::detail::sep {

template <class T> inline T loadAt(const uint8_t* base, int64_t i) noexcept {
    T v;
    std::memcpy(&v, base + i * static_cast<int64_t>(sizeof(T)), sizeof v);
    return v;
}

template <class T> inline void storeAt(uint8_t* base, int64_t i, T v) noexcept {
    std::memcpy(base + i * static_cast<int64_t>(sizeof(T)), &v, sizeof v);
}

// The same through typed pointers, for pixels of float and double images
// that a header may place at any address.
template <class T> inline T sampleAt(const T* p, int64_t i) noexcept {
    T v;
    std::memcpy(&v, p + i, sizeof v);
    return v;
}

template <class T> inline void setSample(T* p, int64_t i, T v) noexcept { std::memcpy(p + i, &v, sizeof v); }

// Every sample is weighted in float; doubles are narrowed first.
template <class T> inline float toFloat(T v) noexcept { return static_cast<float>(v); }

// 8-bit result of a float sum: below 0 gives 0, above 255 gives 255, the
// rest is truncated toward zero. A NaN sum gives 255 on purpose (it fails
// the "at most 255" test), never reaching a cast.
inline uint8_t byteFromSum(float s) noexcept {
    if (s < 0.0f) return 0;
    if (!(s <= 255.0f)) return 255;
    return static_cast<uint8_t>(s);
}

// Output sample of a vertical pass: the byte rule, the float unchanged, or
// the float widened to double.
template <class T> inline T fromSum(float s) noexcept {
    if constexpr (std::is_same_v<T, uint8_t>)
        return byteFromSum(s);
    else
        return static_cast<T>(s);
}

template <class T> constexpr int32_t typeCode() noexcept {
    if constexpr (std::is_same_v<T, uint8_t>) return OX_8U;
    if constexpr (std::is_same_v<T, float>) return OX_32F;
    if constexpr (std::is_same_v<T, double>) return OX_64F;
}

// One axis of a kernel as a pass sees it: 2r+1 weights and the border
// rule over [0, length-1].
struct Taps {
    const float* w;
    int32_t r;
    PadRule pad;
};

// The taps of one axis over lines of `length` samples. False unless the
// weights exist, r is not negative, the border code names a rule and the
// line is at least 2r+1 long (the passes index inside it only then) yet
// short enough that padded positions, up to length + r, count in int32.
inline bool axisTaps(const float* w, int32_t r, int32_t border, int32_t length, Taps& t) noexcept {
    const PadRule pad = padRule(border);
    if (!w || r < 0 || !pad || length < 2 * static_cast<int64_t>(r) + 1) return false;
    if (static_cast<int64_t>(length) + r > INT32_MAX) return false;
    t = {w, r, pad};
    return true;
}

// The lanes of the float intermediate, one per filtered channel, and the
// element each one reads in a source pixel and writes in a destination
// pixel. A plane has one lane; a colour image three (channels 1 to 3,
// whatever its encoding, so a fourth channel is never touched). With
// three source channels lane e is element e, so a source row converts as
// one run of samples.
struct Lanes {
    int32_t count;
    int32_t from[3];
    int32_t to[3];
    bool fromInOrder;  // a source pixel is exactly the lanes in order
    bool toInOrder;    // a destination pixel is exactly the lanes in order
};

}  // namespace ox::detail::sep
