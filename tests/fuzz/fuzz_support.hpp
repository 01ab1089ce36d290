// Shared pieces of the fuzz targets: reading parameters out of the fuzzer's
// bytes, images whose buffers are exactly as large as their headers say (so
// that AddressSanitizer sees the first byte read past them), and the
// in-memory streams the dump loaders read.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "core/detail/isa.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_image.h"

namespace oxfuzz {

// Stops the target when a property that must hold does not; libFuzzer
// reports the abort as a finding and keeps the input.
#define OXFUZZ_CHECK(cond)                                                                  \
    do {                                                                                    \
        if (!(cond)) {                                                                      \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                   \
        }                                                                                   \
    } while (0)

// Every pixel type code the library knows, plus codes it must refuse.
inline int32_t anyType(FuzzedDataProvider& in) {
    static constexpr int32_t kTypes[] = {OX_8U, OX_16U, OX_32S, OX_32U, OX_32F, OX_64F, 1, -1, 21, 255};
    return in.PickValueInArray(kTypes);
}

// The five encodings, plus codes above 4 and a negative one.
inline int32_t anyEncoding(FuzzedDataProvider& in) {
    static constexpr int32_t kEncodings[] = {OX_GRAY, OX_BGR, OX_RGB, OX_ARGB, OX_RGBA, 5, -1};
    return in.PickValueInArray(kEncodings);
}

inline int32_t knownEncoding(FuzzedDataProvider& in) {
    static constexpr int32_t kEncodings[] = {OX_GRAY, OX_BGR, OX_RGB, OX_ARGB, OX_RGBA};
    return in.PickValueInArray(kEncodings);
}

// Any float at all: mostly the values that break arithmetic (NaN, the
// infinities, the extremes, subnormals, signed zeros), otherwise raw bits.
inline float anyFloat(FuzzedDataProvider& in) {
    using L = std::numeric_limits<float>;
    static constexpr float kSpecial[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 2.0f, 255.0f, 1e-7f, 1e7f, L::quiet_NaN(),
                                         -L::quiet_NaN(), L::infinity(), -L::infinity(), L::max(), L::lowest(),
                                         L::denorm_min(), L::min(), 2147483648.0f, -2147483904.0f};
    if (in.ConsumeBool()) return in.PickValueInArray(kSpecial);
    const uint32_t bits = in.ConsumeIntegral<uint32_t>();
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

inline double anyDouble(FuzzedDataProvider& in) {
    if (in.ConsumeBool()) return static_cast<double>(anyFloat(in));
    const uint64_t bits = in.ConsumeIntegral<uint64_t>();
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

// A float mostly in [lo, hi] (the range a host passes), sometimes any float.
inline float floatIn(FuzzedDataProvider& in, float lo, float hi) {
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) return anyFloat(in);
    return lo + (hi - lo) * (static_cast<float>(in.ConsumeIntegral<uint16_t>()) / 65535.0f);
}

// An image side: mostly 0..maxSmall, sometimes up to maxLarge.
inline int32_t side(FuzzedDataProvider& in, int32_t maxSmall, int32_t maxLarge) {
    if (in.ConsumeIntegralInRange<int>(0, 15) == 0) return in.ConsumeIntegralInRange<int32_t>(0, maxLarge);
    return in.ConsumeIntegralInRange<int32_t>(0, maxSmall);
}

// Channels and element bytes as the library counts them; 0 for a code it
// does not know.
inline int64_t channels(int32_t encoding) { return std::max(ox::detail::channelCount(encoding), 0); }
inline int64_t elementBytes(int32_t type) { return ox::detail::elementSize(type); }

// Bytes an image of this geometry holds; 0 for a negative size, an invalid
// encoding or an unknown type.
inline int64_t imageBytes(int32_t width, int32_t height, int32_t encoding, int32_t type) {
    if (width < 0 || height < 0) return 0;
    return int64_t{width} * height * channels(encoding) * elementBytes(type);
}

// An image with a malloc'ed buffer of exactly imageBytes() bytes (an empty
// one still gets a distinct pointer), whatever its codes: invalid encodings
// and unknown types included, which oxImageCreateWithType would not make.
// The buffer is filled by repeating `fill` (zeros when it is empty).
struct OwnedImage {
    oxImage* img = nullptr;
    int64_t bytes = 0;

    OwnedImage() = default;
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
    ~OwnedImage() { reset(); }

    void reset() {
        if (img) {
            std::free(img->data);
            img->data = nullptr;
            oxImageReleaseHeader(&img);
        }
    }
    oxImage* get() const { return img; }
    oxImage* operator->() const { return img; }
};

inline void fillRepeating(uint8_t* data, int64_t bytes, const std::vector<uint8_t>& fill) {
    if (fill.empty()) {
        std::memset(data, 0, static_cast<size_t>(bytes));
        return;
    }
    for (int64_t i = 0; i < bytes; i += static_cast<int64_t>(fill.size())) {
        const size_t n = static_cast<size_t>(std::min<int64_t>(bytes - i, static_cast<int64_t>(fill.size())));
        std::memcpy(data + i, fill.data(), n);
    }
}

// With OXFUZZ_VERBOSE set, replaying an input prints the images it makes.
inline bool verbose() {
    static const bool on = std::getenv("OXFUZZ_VERBOSE") != nullptr;
    return on;
}

inline bool makeImage(OwnedImage& out, int32_t width, int32_t height, int32_t encoding, int32_t type,
                      const std::vector<uint8_t>& fill) {
    if (verbose()) std::fprintf(stderr, "image %d x %d, encoding %d, type %d\n", width, height, encoding, type);
    out.reset();
    out.img = oxImageCreateHeaderWithType(width, height, encoding, type);
    if (!out.img) return false;
    out.bytes = imageBytes(width, height, encoding, type);
    out.img->data = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(out.bytes > 0 ? out.bytes : 1)));
    if (!out.img->data) return false;
    if (out.bytes > 0) fillRepeating(out.img->data, out.bytes, fill);
    return true;
}

// A ROI inside an image of this size (an empty one included).
inline oxRect insideRoi(FuzzedDataProvider& in, int32_t width, int32_t height) {
    width = std::max(width, 0), height = std::max(height, 0);
    const int32_t x = in.ConsumeIntegralInRange<int32_t>(0, width), y = in.ConsumeIntegralInRange<int32_t>(0, height);
    return {x, y, in.ConsumeIntegralInRange<int32_t>(0, width - x), in.ConsumeIntegralInRange<int32_t>(0, height - y)};
}

// A ROI for a family that checks or ignores it: any rectangle, mostly the
// whole image, sometimes inside it, sometimes anything at all.
inline oxRect anyRoi(FuzzedDataProvider& in, int32_t width, int32_t height) {
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
    case 1: return {0, 0, width, height};
    case 2: return insideRoi(in, width, height);
    default:
        return {in.ConsumeIntegral<int32_t>(), in.ConsumeIntegral<int32_t>(), in.ConsumeIntegral<int32_t>(),
                in.ConsumeIntegral<int32_t>()};
    }
}

// The pixel bytes: whatever the fuzzer left after the parameters.
inline std::vector<uint8_t> pixelBytes(FuzzedDataProvider& in) { return in.ConsumeRemainingBytes<uint8_t>(); }

// A read-only stream over the fuzzer's bytes, seekable like a file.
struct StreamCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};
using Stream = std::unique_ptr<FILE, StreamCloser>;

inline Stream readStream(const uint8_t* data, size_t size) {
    // fmemopen refuses an empty buffer; a one-byte buffer read as empty
    // would not be the same input, so an empty input gets an empty file.
    if (size == 0) return Stream(std::tmpfile());
    return Stream(fmemopen(const_cast<uint8_t*>(data), size, "rb"));
}

// A growable in-memory stream that the save functions write into.
struct MemoryStream {
    char* buffer = nullptr;
    size_t size = 0;
    FILE* file = nullptr;

    MemoryStream() { file = open_memstream(&buffer, &size); }
    MemoryStream(const MemoryStream&) = delete;
    MemoryStream& operator=(const MemoryStream&) = delete;
    ~MemoryStream() {
        if (file) std::fclose(file);
        std::free(buffer);
    }
    // Closes the writing side; buffer and size then hold what was written.
    void finish() {
        if (file) std::fclose(file);
        file = nullptr;
    }
    // Closes the writing side and reads what was written.
    Stream reader() {
        finish();
        return readStream(reinterpret_cast<const uint8_t*>(buffer), size);
    }
};

// A fuzzed image for the filters: sides from side(), a type that is mostly
// `usualType` (any code otherwise), an encoding that is mostly one of the
// five, a ROI from anyRoi() and pixels repeating `fill`. When only one side
// may be large, pass the other's limit in `maxLarge` as 0: it stays small.
struct ImageChoice {
    int32_t maxSmall = 64;
    int32_t maxLarge = 2000;
    int32_t usualType = OX_8U;
    bool anyRoiAllowed = true;  // false: the ROI stays inside the image
};

inline bool fuzzImage(FuzzedDataProvider& in, OwnedImage& out, const ImageChoice& c,
                      const std::vector<uint8_t>& fill) {
    const int32_t w = side(in, c.maxSmall, c.maxLarge);
    // At most one large side: a 2000 x 2000 image of doubles is 100 MB.
    const int32_t h = side(in, c.maxSmall, w > c.maxSmall ? c.maxSmall : c.maxLarge);
    const int32_t type = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? anyType(in) : c.usualType;
    const int32_t encoding = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? anyEncoding(in) : knownEncoding(in);
    if (!makeImage(out, w, h, encoding, type, fill)) return false;
    out->roi = c.anyRoiAllowed ? anyRoi(in, w, h) : insideRoi(in, w, h);
    out->coi = in.ConsumeIntegralInRange<int32_t>(-1, 5);
    if (verbose())
        std::fprintf(stderr, "  roi {%d, %d, %d, %d}\n", out->roi.x, out->roi.y, out->roi.width, out->roi.height);
    return true;
}

// The destination of a filter that may run in place: `src` itself, or
// `other` made either with src's geometry (the usual call; with `roi`, any
// ROI from anyRoi()) or as any image. Null when `other` cannot be made.
inline oxImage* fuzzDestination(FuzzedDataProvider& in, bool inPlace, const OwnedImage& src, OwnedImage& other,
                                const ImageChoice& c, bool roi = false) {
    if (inPlace) return src.img;
    if (in.ConsumeBool()) {
        if (!makeImage(other, src->width, src->height, src->encoding, src->type, {})) return nullptr;
        if (roi) other->roi = anyRoi(in, src->width, src->height);
    } else if (!fuzzImage(in, other, c, {})) {
        return nullptr;
    }
    return other.img;
}

// A copy of the bytes an image holds, to show later that a call left them.
inline std::vector<uint8_t> snapshot(const OwnedImage& img) {
    return std::vector<uint8_t>(img->data, img->data + img.bytes);
}

inline bool unchanged(const OwnedImage& img, const std::vector<uint8_t>& before) {
    return before.empty() || std::memcmp(img->data, before.data(), before.size()) == 0;
}

inline void restore(OwnedImage& img, const std::vector<uint8_t>& before) {
    if (!before.empty()) std::memcpy(img->data, before.data(), before.size());
}

// `call` on the plain reference path alone.
template <class Call> int32_t onReference(Call call) {
    ox::detail::limitIsa(ox::detail::Isa::Reference);
    const int32_t status = call();
    ox::detail::limitIsa(ox::detail::Isa::Avx2);
    return status;
}

// After a call that answered `status`: puts back the bytes `src` and, out of
// place, `other` held before it, runs `call` again on the plain reference
// path and checks that it gives the same status and output bytes.
template <class Call>
void sameOnReference(Call call, int32_t status, OwnedImage& src, const std::vector<uint8_t>& srcBefore,
                     OwnedImage* other, const std::vector<uint8_t>& otherBefore) {
    OwnedImage& out = other ? *other : src;
    const std::vector<uint8_t> fast = snapshot(out);
    restore(src, srcBefore);
    if (other) restore(*other, otherBefore);
    OXFUZZ_CHECK(onReference(call) == status);
    OXFUZZ_CHECK(unchanged(out, fast));
}

// A library record released by its own function.
template <class T, void (*Release)(T**)> struct Releaser {
    void operator()(T* p) const { Release(&p); }
};
template <class T, void (*Release)(T**)> using Owned = std::unique_ptr<T, Releaser<T, Release>>;

// The abort flag of a filter: none for a negative value, else one holding it.
struct AbortFlag {
    int32_t value;
    const int32_t* get() const { return value < 0 ? nullptr : &value; }
};

// Scratch of exactly `bytes` bytes (a distinct pointer for 0), or none when
// it is beyond what a run should allocate.
struct Scratch {
    void* p = nullptr;
    explicit Scratch(uint64_t bytes) {
        if (bytes <= (uint64_t{256} << 20)) p = std::malloc(static_cast<size_t>(bytes ? bytes : 1));
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { std::free(p); }
};

}  // namespace oxfuzz
