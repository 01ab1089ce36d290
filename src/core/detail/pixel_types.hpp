// Pixel type and encoding codes turned into C++ types and sizes, written
// once so that no filter repeats the tables.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "ox_image.h"

namespace ox::detail {

// Element size in bytes; 0 for an unknown code.
constexpr int32_t elementSize(int32_t type) noexcept {
    switch (type) {
    case OX_8U: return 1;
    case OX_16U: return 2;
    case OX_32S:
    case OX_32U:
    case OX_32F: return 4;
    case OX_64F: return 8;
    default: return 0;
    }
}

constexpr bool isKnownType(int32_t type) noexcept { return elementSize(type) != 0; }

// Encodings are tested as unsigned, so negative codes are as invalid as
// codes above 4.
constexpr bool isValidEncoding(int32_t encoding) noexcept {
    return static_cast<uint32_t>(encoding) <= OX_RGBA;
}

// Channel count; -1 for an invalid encoding.
constexpr int32_t channelCount(int32_t encoding) noexcept {
    switch (encoding) {
    case OX_GRAY: return 1;
    case OX_BGR:
    case OX_RGB: return 3;
    case OX_ARGB:
    case OX_RGBA: return 4;
    default: return -1;
    }
}

// Storage type of each pixel type code. OX_32U is stored as uint32_t; the
// routines that read it as signed say so where they do.
template <int32_t Code> struct PixelTraits;
template <> struct PixelTraits<OX_8U> { using type = uint8_t; };
template <> struct PixelTraits<OX_16U> { using type = uint16_t; };
template <> struct PixelTraits<OX_32S> { using type = int32_t; };
template <> struct PixelTraits<OX_32U> { using type = uint32_t; };
template <> struct PixelTraits<OX_32F> { using type = float; };
template <> struct PixelTraits<OX_64F> { using type = double; };

template <int32_t Code> using PixelType = typename PixelTraits<Code>::type;

// Tag carrying a type code to a generic lambda: `tag.code` and
// `typename decltype(tag)::type`.
template <int32_t Code> struct TypeTag {
    static constexpr int32_t code = Code;
    using type = PixelType<Code>;
};

// Calls f(TypeTag<code>{}) for one of the six codes and returns true, or
// returns false for any other code without calling f.
template <class F> bool visitType(int32_t type, F&& f) {
    switch (type) {
    case OX_8U: f(TypeTag<OX_8U>{}); return true;
    case OX_16U: f(TypeTag<OX_16U>{}); return true;
    case OX_32S: f(TypeTag<OX_32S>{}); return true;
    case OX_32U: f(TypeTag<OX_32U>{}); return true;
    case OX_32F: f(TypeTag<OX_32F>{}); return true;
    case OX_64F: f(TypeTag<OX_64F>{}); return true;
    default: return false;
    }
}

// The element read rule shared by the pixel and volume accessors: both
// 32-bit integer types read as signed, so an OX_32U above 2^31-1 reads
// negative.
template <int32_t Code> inline double readAsDouble(const uint8_t* p) noexcept {
    using T = std::conditional_t<Code == OX_32U, int32_t, PixelType<Code>>;
    T v;
    __builtin_memcpy(&v, p, sizeof v);
    return static_cast<double>(v);
}

// Reads element `index` of a buffer of the given type as double; 0.0 for an
// unknown type.
inline double readElement(const uint8_t* data, int32_t type, int64_t index) noexcept {
    double out = 0.0;
    visitType(type, [&](auto tag) {
        out = readAsDouble<decltype(tag)::code>(data + index * static_cast<int64_t>(sizeof(typename decltype(tag)::type)));
    });
    return out;
}

}  // namespace ox::detail

namespace ox::detail {

// Nominal full scale of each type, shared by the type conversions and the
// thresholding. OX_32U's 1677215 (seven digits, not 2^24-1) is the
// library's constant and stays.
constexpr double fullScale(int32_t type) noexcept {
    switch (type) {
    case OX_8U: return 255.0;
    case OX_16U:
    case OX_32S: return 65535.0;
    case OX_32U: return 1677215.0;
    case OX_32F:
    case OX_64F: return 1.0;
    default: return 0.0;
    }
}

}  // namespace ox::detail
