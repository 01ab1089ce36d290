// Pixel type conversion: the nominal-range conversion with shifts and fixed
// scale factors, and the stretch of a given range onto the destination.
#include <cstring>
#include <type_traits>

#include "core/detail/core_ops.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/walk_view.hpp"
#include "ox_convert.h"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>
#endif

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

// Channel values in the whole buffer: 0 for a negative size or an invalid
// encoding, so that such an image has nothing to convert and no room to
// receive anything; nullopt for sizes too large for any buffer, which the
// conversions refuse.
Count valueCount(const oxImage* img) noexcept {
    const int32_t channels = channelCount(img->encoding);
    if (img->width < 0 || img->height < 0 || channels < 0) return 0;
    if (!bufferBytes(img)) return std::nullopt;
    return checkedProduct({img->width, img->height, channels});
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

// Flat loops run in blocks of a fixed length so that the compiler's
// cheapest vectorisation model takes them (no epilogue inside a block).
constexpr size_t kBlock = 64;

template <class S, class D, class F> void mapValues(const S* __restrict s, D* __restrict d, size_t n, F f) noexcept {
    size_t i = 0;
    for (; i + kBlock <= n; i += kBlock)
        for (size_t j = 0; j < kBlock; ++j) d[i + j] = f(s[i + j]);
    for (; i < n; ++i) d[i] = f(s[i]);
}

// Float to integer by blocks. When every product of a block lies strictly
// inside the int32 range (a NaN does not), truncating to 32 bits keeps the
// same low bits as the 64-bit rule and vectorises; any other block takes
// the rule value by value.
template <int32_t From, int32_t To>
void floatToInt(const PixelType<From>* __restrict s, PixelType<To>* __restrict d, size_t n) noexcept {
    using F = PixelType<From>;
    using D = PixelType<To>;
    constexpr F scale = static_cast<F>(fullScale(To));
    constexpr F limit = static_cast<F>(2147483648.0);
    size_t i = 0;
    for (; i + kBlock <= n; i += kBlock) {
        F p[kBlock];
        int outside = 0;
        for (size_t j = 0; j < kBlock; ++j) {
            p[j] = s[i + j] * scale;
            outside |= (static_cast<int>(p[j] > -limit) & static_cast<int>(p[j] < limit)) ^ 1;
        }
        if (outside == 0) {
            for (size_t j = 0; j < kBlock; ++j) d[i + j] = static_cast<D>(static_cast<uint32_t>(static_cast<int32_t>(p[j])));
        } else {
            for (size_t j = 0; j < kBlock; ++j) d[i + j] = wrapTrunc<D>(p[j]);
        }
    }
    for (; i < n; ++i) d[i] = nominal<From, To>(s[i]);
}

template <int32_t From, int32_t To>
void convertNominal(const PixelType<From>* s, PixelType<To>* d, size_t n) noexcept {
    if constexpr (isFloatType<From> && !isFloatType<To>)
        floatToInt<From, To>(s, d, n);
    else
        mapValues(s, d, n, [](PixelType<From> v) { return nominal<From, To>(v); });
}

// t = (v - low) / (high - low) in double for every pair, then clamped onto
// the destination's range. Both 32-bit integer types read as signed.
template <int32_t From, int32_t To>
void convertStretch(const PixelType<From>* s, PixelType<To>* d, size_t n, double low, double high) noexcept {
    using D = PixelType<To>;
    using Read = std::conditional_t<From == OX_32U, int32_t, PixelType<From>>;
    const double range = high - low;
    mapValues(s, d, n, [low, range](PixelType<From> v) {
        const double t = (static_cast<double>(static_cast<Read>(v)) - low) / range;
        if constexpr (isFloatType<To>) {
            // A NaN fails both tests and stays NaN, as the plain conversion keeps it.
            return static_cast<D>(t < 0.0 ? 0.0 : (t > 1.0 ? 1.0 : t));
        } else {
            constexpr double top = fullScale(To);
            double x = t * top;
            x = x > 0.0 ? x : 0.0;  // negatives and NaN give 0
            x = x < top ? x : top;
            // The rule of clampTrunc, written as selects so that it
            // vectorises: x lies in [0, top] here, so the cast is exact.
            return static_cast<D>(static_cast<int32_t>(x));
        }
    });
}

void bytesToFloatsReference(const uint8_t* s, float* d, int64_t n) noexcept {
    for (int64_t i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]) / 255.0f;
}

void bytesToFloatsBaseline(const uint8_t* s, float* d, int64_t n) noexcept {
    convertNominal<OX_8U, OX_32F>(s, d, static_cast<size_t>(n));
}

#if OX_HAVE_AVX2_PATH
constexpr int64_t kStreamFrom = int64_t{4} << 20;  // values; 16 MiB of floats

// The same correctly rounded division, eight values per instruction.
OX_TARGET_AVX2 void bytesToFloatsAvx2(const uint8_t* s, float* d, int64_t n) noexcept {
    const __m256 scale = _mm256_set1_ps(255.0f);
    int64_t i = 0;
    if (n >= kStreamFrom && (reinterpret_cast<uintptr_t>(d) & 3) == 0) {
        // An output four times the input's size and larger than the caches
        // is stored around them: no read of the old lines before each write.
        for (; i < n && (reinterpret_cast<uintptr_t>(d + i) & 31) != 0; ++i) d[i] = static_cast<float>(s[i]) / 255.0f;
        for (; i + 32 <= n; i += 32) {
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
            const __m128i lo = _mm256_castsi256_si128(bytes), hi = _mm256_extracti128_si256(bytes, 1);
            const __m128i parts[4] = {lo, _mm_srli_si128(lo, 8), hi, _mm_srli_si128(hi, 8)};
            for (int32_t k = 0; k < 4; ++k)
                _mm256_stream_ps(d + i + 8 * k, _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(parts[k])), scale));
        }
        _mm_sfence();
    }
    for (; i + 32 <= n; i += 32) {
        const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
        const __m128i lo = _mm256_castsi256_si128(bytes), hi = _mm256_extracti128_si256(bytes, 1);
        const __m128i parts[4] = {lo, _mm_srli_si128(lo, 8), hi, _mm_srli_si128(hi, 8)};
        for (int32_t k = 0; k < 4; ++k)
            _mm256_storeu_ps(d + i + 8 * k, _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(parts[k])), scale));
    }
    bytesToFloatsReference(s + i, d + i, n - i);
}

// Products strictly inside the int32 range truncate to the same low byte as
// the 64-bit rule; a group of 32 with any other value (a NaN included)
// takes the rule value by value.
OX_TARGET_AVX2 void floatsToBytesAvx2(const float* s, uint8_t* d, int64_t n) noexcept {
    const __m256 scale = _mm256_set1_ps(255.0f), hi = _mm256_set1_ps(2147483648.0f), lo = _mm256_set1_ps(-2147483648.0f);
    const __m256i low = _mm256_set1_epi32(0xff);
    int64_t i = 0;
    for (; i + 32 <= n; i += 32) {
        __m256 p[4];
        int inside = 0xff;
        for (int32_t k = 0; k < 4; ++k) {
            p[k] = _mm256_mul_ps(_mm256_loadu_ps(s + i + 8 * k), scale);
            const __m256 ok = _mm256_and_ps(_mm256_cmp_ps(p[k], lo, _CMP_GT_OQ), _mm256_cmp_ps(p[k], hi, _CMP_LT_OQ));
            inside &= _mm256_movemask_ps(ok);
        }
        if (inside != 0xff) {
            for (int64_t j = i; j < i + 32; ++j) d[j] = nominal<OX_32F, OX_8U>(s[j]);
            continue;
        }
        __m256i q[4];
        for (int32_t k = 0; k < 4; ++k) q[k] = _mm256_and_si256(_mm256_cvttps_epi32(p[k]), low);
        // The packs work within 128-bit lanes; one permutation restores the order.
        const __m256i words = _mm256_packus_epi32(q[0], q[1]), words2 = _mm256_packus_epi32(q[2], q[3]);
        const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words, words2),
                                                          _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), bytes);
    }
    for (; i < n; ++i) d[i] = nominal<OX_32F, OX_8U>(s[i]);
}
#endif

void floatsToBytesReference(const float* s, uint8_t* d, int64_t n) noexcept {
    for (int64_t i = 0; i < n; ++i) d[i] = nominal<OX_32F, OX_8U>(s[i]);
}

void floatsToBytesBaseline(const float* s, uint8_t* d, int64_t n) noexcept {
    convertNominal<OX_32F, OX_8U>(s, d, static_cast<size_t>(n));
}

// Calls f(TypeTag<from>, TypeTag<to>) for two known codes.
template <class F> void visitPair(int32_t from, int32_t to, F&& f) {
    visitType(from, [&](auto s) { visitType(to, [&](auto d) { f(s, d); }); });
}

}  // namespace

namespace ox::detail {

Status bytesToFloats(ConstView<uint8_t> src, View<float> dst) noexcept {
    auto row = pathKernel(bytesToFloatsReference, bytesToFloatsBaseline, OX_AVX2_KERNEL(bytesToFloatsAvx2));
    forEachRow(src, dst, row);
    return Status::Ok;
}

Status floatsToBytes(ConstView<float> src, View<uint8_t> dst) noexcept {
    auto row = pathKernel(floatsToBytesReference, floatsToBytesBaseline, OX_AVX2_KERNEL(floatsToBytesAvx2));
    forEachRow(src, dst, row);
    return Status::Ok;
}

}  // namespace ox::detail

extern "C" {

OX_API int32_t oxImageCvtType(const oxImage* src, oxImage* dst) {
    if (src == nullptr || dst == nullptr) return 1;
    if (src->encoding != dst->encoding) return 1;
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return 0;  // nothing it can read: nothing written
    const Count n = valueCount(src), room = valueCount(dst);
    if (!n) return 1;
    if (*n == 0) return 0;
    if (!room || *room < *n || src->data == nullptr || dst->data == nullptr) return 1;
    const size_t count = static_cast<size_t>(*n);
    if (src->type == dst->type) {
        std::memmove(dst->data, src->data, count * static_cast<size_t>(elementSize(src->type)));
        return 0;
    }
    if (src->type == OX_8U && dst->type == OX_32F) {
        // The values in the source's shape (the destination may be shaped
        // differently but holds at least as many).
        const int32_t channels = channelCount(src->encoding);
        const View<const uint8_t> s{src->data, src->width, src->height, channels, int64_t{src->width} * channels};
        const View<float> d{reinterpret_cast<float*>(dst->data), src->width, src->height, channels, s.stride};
        if (!overlap(s, d)) return code(bytesToFloats(s, d));
    }
    if (src->type == OX_32F && dst->type == OX_8U) {
        const int32_t channels = channelCount(src->encoding);
        const View<const float> s{reinterpret_cast<const float*>(src->data), src->width, src->height, channels,
                                  int64_t{src->width} * channels};
        const View<uint8_t> d{dst->data, src->width, src->height, channels, s.stride};
        if (!overlap(s, d)) return code(floatsToBytes(s, d));
    }
    visitPair(src->type, dst->type, [&](auto s, auto d) {
        using S = typename decltype(s)::type;
        using D = typename decltype(d)::type;
        convertNominal<decltype(s)::code, decltype(d)::code>(reinterpret_cast<const S*>(src->data),
                                                             reinterpret_cast<D*>(dst->data), count);
    });
    return 0;
}

OX_API int32_t oxImageCvtTypeGivenRange(const oxImage* src, oxImage* dst, double low, double high) {
    if (src == nullptr || dst == nullptr) return 1;
    if (src->width != dst->width || low >= high || src->height != dst->height) return 1;
    if (!isKnownType(src->type) || !isKnownType(dst->type)) return 1;
    const Count n = valueCount(src), room = valueCount(dst);
    if (!n) return 1;
    if (*n == 0) return 0;
    // The encodings are not compared, but a destination with fewer
    // channels cannot take N values.
    if (!room || *room < *n || src->data == nullptr || dst->data == nullptr) return 1;
    visitPair(src->type, dst->type, [&](auto s, auto d) {
        using S = typename decltype(s)::type;
        using D = typename decltype(d)::type;
        convertStretch<decltype(s)::code, decltype(d)::code>(reinterpret_cast<const S*>(src->data),
                                                             reinterpret_cast<D*>(dst->data), static_cast<size_t>(*n), low, high);
    });
    return 0;
}

}  // extern "C"
