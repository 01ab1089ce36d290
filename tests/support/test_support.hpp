// Shared test helpers: images from literals, seeded noise (images and
// volumes), byte hashes and a scratch folder.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "YewWpfWrap.h"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"

namespace oxtest {

struct ImageDeleter {
    void operator()(oxImage* p) const { oxImageRelease(&p); }
};
using Image = std::unique_ptr<oxImage, ImageDeleter>;

struct KernelDeleter {
    void operator()(oxSepKernel* p) const { oxSepKernelRelease(&p); }
};
using Kernel = std::unique_ptr<oxSepKernel, KernelDeleter>;

inline Image make(int32_t width, int32_t height, int32_t encoding, int32_t type = OX_8U) {
    return Image(oxImageCreateWithType(width, height, encoding, type));
}

inline size_t byteCount(const oxImage* img) { return static_cast<size_t>(ox::detail::bufferBytes(img).value_or(0)); }

// An image whose channel values, in memory order, are `values` converted to
// the pixel type.
template <class T = uint8_t>
Image fromValues(int32_t width, int32_t height, int32_t encoding, int32_t type, std::initializer_list<T> values) {
    Image img = make(width, height, encoding, type);
    size_t i = 0;
    ox::detail::visitType(type, [&](auto tag) {
        using P = typename decltype(tag)::type;
        for (T v : values) {
            const P p = static_cast<P>(v);
            std::memcpy(img->data + i * sizeof(P), &p, sizeof p);
            ++i;
        }
    });
    return img;
}

inline Image fromBytes(int32_t width, int32_t height, int32_t encoding, std::initializer_list<uint8_t> bytes) {
    return fromValues<uint8_t>(width, height, encoding, OX_8U, bytes);
}

// Deterministic noise over the whole buffer: bytes for integer types,
// values in [0, 1) for the float types.
inline void fillNoise(oxImage* img, uint32_t seed) {
    std::mt19937 rng(seed);
    const size_t n = byteCount(img) / std::max(1, ox::detail::elementSize(img->type));
    ox::detail::visitType(img->type, [&](auto tag) {
        using P = typename decltype(tag)::type;
        auto* p = reinterpret_cast<P*>(img->data);
        for (size_t i = 0; i < n; ++i) {
            if constexpr (std::is_floating_point_v<P>)
                p[i] = static_cast<P>(std::uniform_real_distribution<double>(0.0, 1.0)(rng));
            else
                p[i] = static_cast<P>(rng());
        }
    });
}

inline Image noise(int32_t width, int32_t height, int32_t encoding, int32_t type, uint32_t seed) {
    Image img = make(width, height, encoding, type);
    fillNoise(img.get(), seed);
    return img;
}

// A volume of either layout, released by the matching call.
struct AnyVolumeDeleter {
    void operator()(oxVolume* v) const { v->data ? oxVolumeRelease(&v) : oxVolumeReleaseWithSeparatePlanes(&v); }
};
using TestVolume = std::unique_ptr<oxVolume, AnyVolumeDeleter>;

// Noise as fillNoise makes it, plane z from seed + z; `separate`: one buffer per plane.
inline TestVolume noiseVolume(int32_t w, int32_t h, int32_t d, int32_t type, uint32_t seed, bool separate = false) {
    TestVolume v(separate ? oxVolumeCreateWithTypeWithSeparatePlanes(w, h, d, type) : oxVolumeCreateWithType(w, h, d, type));
    for (int32_t z = 0; z < d; ++z) fillNoise(v->planes[z], seed + z);
    return v;
}

// FNV-1a, 64 bits: stable across platforms, enough to pin golden outputs.
inline uint64_t hashBytes(const void* data, size_t size) {
    uint64_t h = 1469598103934665603ull;
    const auto* p = static_cast<const uint8_t*>(data);
    for (size_t i = 0; i < size; ++i) h = (h ^ p[i]) * 1099511628211ull;
    return h;
}

inline uint64_t hashImage(const oxImage* img) { return hashBytes(img->data, byteCount(img)); }

inline std::vector<uint8_t> bytesOf(const oxImage* img) { return {img->data, img->data + byteCount(img)}; }

template <class T> T at(const oxImage* img, size_t index) {
    T v;
    std::memcpy(&v, img->data + index * sizeof(T), sizeof v);
    return v;
}

// The whole file, or "" when it cannot be read.
inline std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A fresh, empty folder for one test, removed when the object goes away.
class TempDir {
public:
    TempDir() {
        const char* base = std::getenv("OX_TEST_TMP");
        std::filesystem::path root = base ? base : std::filesystem::temp_directory_path() / "ox_tests";
        std::filesystem::create_directories(root);
        std::string templ = (root / "XXXXXX").string();
        path_ = mkdtemp(templ.data());
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace oxtest
