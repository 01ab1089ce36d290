// Pixel type conversion: the nominal-range conversion with shifts and fixed
// scale factors, and the stretch of a given range onto the destination.
#include <cstring>
#include <type_traits>

#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_convert.h"

namespace {

using namespace ox::detail;

template <int32_t Code> constexpr bool isFloatType = std::is_floating_point_v<PixelType<Code>>;

// Nominal bit depth of the integer types: the shift between two of them is
// the difference of their depths.
constexpr int depthBits(int32_t type) noexcept {
    switch (type) {
    case OX_8U: return 8;
    case OX_16U:
    case OX_32S: return 16;
    case OX_32U: return 24;
    default: return 0;
    }
}

// Channel values in the whole buffer; 0 for a negative size or an invalid
// encoding, so that such an image has nothing to convert and no room to
// receive anything.
int64_t valueCount(const oxImage* img) noexcept {
    const int32_t channels = channelCount(img->encoding);
    if (img->width < 0 || img->height < 0 || channels < 0) return 0;
    return static_cast<int64_t>(img->width) * img->height * channels;
}

template <int32_t From, int32_t To> inline PixelType<To> nominal(PixelType<From> v) noexcept {
    using D = PixelType<To>;
    if constexpr (!isFloatType<From> && !isFloatType<To>) {
        constexpr int shift = depthBits(To) - depthBits(From);
        if constexpr (From == OX_32U && To == OX_32S) {
            // The one arithmetic shift: the 24-bit value is read as signed.
            return static_cast<D>(static_cast<int32_t>(v) >> 8);
        } else if constexpr (shift >= 0) {
            // Low bits of the widened value, no clamping: 32S -5 to 32U wraps.
            return static_cast<D>(static_cast<uint32_t>(v) << shift);
        } else {
            return static_cast<D>(static_cast<uint32_t>(v) >> -shift);
        }
    } else if constexpr (!isFloatType<From>) {
        // OX_32U divides by 1677215, not 2^24-1: that constant is ours.
        return static_cast<D>(v) / static_cast<D>(fullScale(From));
    } else if constexpr (isFloatType<To>) {
        return static_cast<D>(v);
    } else {
        // Product in the source's float type, truncated, low bits kept:
        // 1.5 to OX_8U is 382, stored as 126. Deliberately not clamped.
        return wrapTrunc<D>(v * static_cast<PixelType<From>>(fullScale(To)));
    }
}

template <int32_t From, int32_t To> void convertNominal(const uint8_t* src, uint8_t* dst, size_t n) noexcept {
    const auto* s = reinterpret_cast<const PixelType<From>*>(src);
    auto* d = reinterpret_cast<PixelType<To>*>(dst);
    for (size_t i = 0; i < n; ++i) d[i] = nominal<From, To>(s[i]);
}

// t = (v - low) / (high - low) in double for every pair, then clamped onto
// the destination's range. Both 32-bit integer types read as signed.
template <int32_t From, int32_t To>
void convertStretch(const uint8_t* src, uint8_t* dst, size_t n, double low, double high) noexcept {
    using D = PixelType<To>;
    constexpr size_t step = sizeof(PixelType<From>);
    auto* d = reinterpret_cast<D*>(dst);
    for (size_t i = 0; i < n; ++i) {
        const double t = (readAsDouble<From>(src + i * step) - low) / (high - low);
        if constexpr (isFloatType<To>) {
            // A NaN passes both tests and stays NaN, as the plain conversion keeps it.
            d[i] = static_cast<D>(t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t));
        } else {
            constexpr D top = static_cast<D>(fullScale(To));
            d[i] = clampTrunc<D>(t * fullScale(To), D{0}, top);
        }
    }
}

// Calls f(TypeTag<from>, TypeTag<to>) for two known codes.
template <class F> void visitPair(int32_t from, int32_t to, F&& f) {
    visitType(from, [&](auto s) { visitType(to, [&](auto d) { f(s, d); }); });
}

}  // namespace

extern "C" {

OX_API int32_t oxImageCvtType(const oxImage* src, oxImage* dst) {
    if (src == nullptr || dst == nullptr) return 1;
    if (src->encoding != dst->encoding) return 1;
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return 0;  // nothing it can read: nothing written
    const int64_t n = valueCount(src);
    if (n == 0) return 0;
    if (valueCount(dst) < n || src->data == nullptr || dst->data == nullptr) return 1;
    const size_t count = static_cast<size_t>(n);
    if (src->type == dst->type) {
        std::memmove(dst->data, src->data, count * static_cast<size_t>(elementSize(src->type)));
        return 0;
    }
    visitPair(src->type, dst->type, [&](auto s, auto d) {
        convertNominal<decltype(s)::code, decltype(d)::code>(src->data, dst->data, count);
    });
    return 0;
}

OX_API int32_t oxImageCvtTypeGivenRange(const oxImage* src, oxImage* dst, double low, double high) {
    if (src == nullptr || dst == nullptr) return 1;
    if (src->width != dst->width || low >= high || src->height != dst->height) return 1;
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return 1;
    const int64_t n = valueCount(src);
    if (n == 0) return 0;
    // The encodings are not compared, but a destination with fewer
    // channels cannot take N values.
    if (valueCount(dst) < n || src->data == nullptr || dst->data == nullptr) return 1;
    visitPair(src->type, dst->type, [&](auto s, auto d) {
        convertStretch<decltype(s)::code, decltype(d)::code>(src->data, dst->data, static_cast<size_t>(n), low, high);
    });
    return 0;
}

}  // extern "C"
