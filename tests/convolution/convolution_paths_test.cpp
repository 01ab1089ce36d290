// Every instruction-set path of the separable convolution against the
// plain reference, byte for byte: the operation over interleaved views and
// the twelve exported passes, on widths 1 to 33 and 1031, small heights
// (the vertical pass's blocks of four rows, its ring wrapping or not),
// several channel layouts, both border rules, symmetric and asymmetric
// weights, and samples and weights that drive sums below 0, above 255,
// to infinity and to NaN.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "YewWpfWrap.h"
#include "convolution/detail/convolution_ops.hpp"
#include "support/paths.hpp"

using namespace oxtest;
using namespace ox::detail;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

struct Layout {
    const char* name;
    int32_t srcChannels, dstChannels;
    ChannelPlaces from, to;
};
const Layout kLayouts[] = {{"grey", 1, 1, {{0, 0, 0}}, {{0, 0, 0}}},
                           {"bgr", 3, 3, kBgrPlaces, kBgrPlaces},
                           {"rgb into bgr", 3, 3, {{2, 1, 0}}, kBgrPlaces},
                           {"rgba", 4, 4, {{2, 1, 0}}, {{2, 1, 0}}},
                           {"bgr into argb", 3, 4, kBgrPlaces, {{3, 2, 1}}}};

// Radii across and down; each case takes the ones its size allows.
const int32_t kRadii[][2] = {{0, 0}, {1, 2}, {3, 1}, {10, 4}};
const int32_t kHeights[] = {1, 3, 7, 13};

// Bytes for 8-bit images; for floats values around 0..1 with a NaN, both
// infinities and a huge value sprinkled in.
template <class T> std::vector<T> samples(size_t n, std::mt19937& rng) {
    std::vector<T> v(n);
    for (T& s : v) {
        if constexpr (std::is_same_v<T, uint8_t>)
            s = static_cast<uint8_t>(rng());
        else
            s = static_cast<T>(std::uniform_real_distribution<double>(-0.5, 1.5)(rng));
    }
    if constexpr (!std::is_same_v<T, uint8_t>) {
        const T specials[] = {std::numeric_limits<T>::quiet_NaN(), kInf, -kInf, static_cast<T>(1e30)};
        for (size_t i = 5; i < n; i += 41) v[i] = specials[i / 41 % 4];
    }
    return v;
}

// 2r+1 weights in -1 .. 2.5 (sums of 8-bit samples leave 0..255 on both
// sides), mirrored when symmetric. `wild` puts an infinite weight on the
// first tap, so that a zero sample makes a NaN.
std::vector<float> weights(int32_t r, bool symmetric, bool wild, std::mt19937& rng) {
    std::vector<float> w(2 * static_cast<size_t>(r) + 1);
    for (float& f : w) f = std::uniform_real_distribution<float>(-1.0f, 2.5f)(rng);
    if (symmetric)
        for (int32_t i = 0; i < r; ++i) w[2 * r - i] = w[i];
    if (wild) w[0] = kInf;
    return w;
}

// The bytes of the samples, every NaN written as one quiet NaN: which NaN
// a sum of two NaNs keeps depends on the order the compiler gives the
// operands and on the processor, so only NaN-ness is compared.
template <class T> std::vector<uint8_t> bytesOf(std::vector<T> v) {
    if constexpr (!std::is_same_v<T, uint8_t>)
        for (T& s : v)
            if (std::isnan(s)) s = std::numeric_limits<T>::quiet_NaN();
    std::vector<uint8_t> out(v.size() * sizeof(T));
    std::memcpy(out.data(), v.data(), out.size());
    return out;
}

template <class T> void convolutionOnEveryPath(const char* type) {
    std::mt19937 rng(7);
    for (int32_t w : awkwardWidths())
        for (int32_t h : kHeights)
            for (const auto& radii : kRadii) {
                const int32_t rx = radii[0], ry = radii[1];
                if (w < 2 * rx + 1 || h < 2 * ry + 1) continue;
                const bool symmetric = (w + h) % 2 == 0, wild = (w + rx) % 5 == 0;
                const int32_t border = (w / 2 + h) % 2 ? OX_PAD_REFLECT : OX_PAD_EXPAND;
                const std::vector<float> wx = weights(rx, symmetric, wild, rng), wy = weights(ry, symmetric, false, rng);
                PreparedKernel k;
                k.x = {wx.data(), rx, padRule(border)};
                k.y = {wy.data(), ry, padRule(border)};
                for (const Layout& l : kLayouts) {
                    const size_t pixels = static_cast<size_t>(w) * h;
                    const std::vector<T> src = samples<T>(pixels * l.srcChannels, rng);
                    const std::vector<T> dst = samples<T>(pixels * l.dstChannels, rng);
                    for (bool inPlace : {false, true}) {
                        if (inPlace && l.srcChannels != l.dstChannels) continue;
                        const std::string what = std::string(type) + " " + l.name + " " + std::to_string(w) + "x" +
                                                 std::to_string(h) + " r " + std::to_string(rx) + "," +
                                                 std::to_string(ry) + (inPlace ? " in place" : "");
                        expectSameOnEveryPath(what, [&] {
                            std::vector<T> in = src, out = inPlace ? src : dst;
                            View<T> o{out.data(), w, h, l.dstChannels, static_cast<int64_t>(w) * l.dstChannels};
                            ConstView<T> i = inPlace ? ConstView<T>(o)
                                                     : ConstView<T>{in.data(), w, h, l.srcChannels,
                                                                    static_cast<int64_t>(w) * l.srcChannels};
                            EXPECT_EQ(separableConvolution<T>(i, o, k, l.from, inPlace ? l.from : l.to), Status::Ok);
                            return bytesOf(out);
                        });
                    }
                }
            }
}

TEST(ConvolutionPaths, Bytes) { convolutionOnEveryPath<uint8_t>("8-bit"); }
TEST(ConvolutionPaths, Floats) { convolutionOnEveryPath<float>("float"); }
TEST(ConvolutionPaths, Doubles) { convolutionOnEveryPath<double>("double"); }

struct Passes {
    int32_t type;
    const char* name;
    decltype(&oxApplySepKernelH) h, symmH;
    decltype(&oxApplySepKernelV) v;
    decltype(&oxApplySepKernelSymmV) symmV;
};
const Passes kPasses[] = {
    {OX_8U, "8-bit", oxApplySepKernelH, oxApplySepKernelSymmH, oxApplySepKernelV, oxApplySepKernelSymmV},
    {OX_32F, "float", oxApplySepKernelH32F, oxApplySepKernelSymmH32F, oxApplySepKernelV32F, oxApplySepKernelSymmV32F},
    {OX_64F, "double", oxApplySepKernelH64D, oxApplySepKernelSymmH64D, oxApplySepKernelV64D,
     oxApplySepKernelSymmV64D}};

// The exported passes over one plane and the float intermediate, the
// symmetric forms on kernels that are not symmetric included.
TEST(ConvolutionPaths, ExportedPasses) {
    std::mt19937 rng(8);
    for (const Passes& p : kPasses)
        for (int32_t w : awkwardWidths())
            for (int32_t h : kHeights)
                for (const auto& radii : kRadii) {
                    const int32_t rx = radii[0], ry = radii[1];
                    if (w < 2 * rx + 1 || h < 2 * ry + 1) continue;
                    oxSepKernel* kernel = oxSepKernelCreate(std::max(rx, 1), std::max(ry, 1), 0, (w + h) % 2);
                    ASSERT_NE(kernel, nullptr);
                    kernel->radiusX = rx;  // a radius of 0, which only a filled-in record can have
                    kernel->radiusY = ry;
                    // Asymmetric: the symmetric forms weigh both sides with the right half.
                    const std::vector<float> wx = weights(rx, false, w % 7 == 0, rng), wy = weights(ry, false, false, rng);
                    std::copy(wx.begin(), wx.end(), kernel->kernelX);
                    std::copy(wy.begin(), wy.end(), kernel->kernelY);
                    const size_t area = static_cast<size_t>(w) * h;
                    oxImage* plane = oxImageCreateWithType(w, h, OX_GRAY, p.type);
                    ASSERT_NE(plane, nullptr);
                    const std::vector<uint8_t> input = p.type == OX_8U    ? bytesOf(samples<uint8_t>(area, rng))
                                                       : p.type == OX_32F ? bytesOf(samples<float>(area, rng))
                                                                          : bytesOf(samples<double>(area, rng));
                    const std::vector<float> column = samples<float>(area, rng);
                    const std::string what = std::string(p.name) + " " + std::to_string(w) + "x" + std::to_string(h) +
                                             " r " + std::to_string(rx) + "," + std::to_string(ry);
                    for (bool symmetric : {false, true}) {
                        expectSameOnEveryPath(what + " across" + (symmetric ? " symmetric" : ""), [&] {
                            std::memcpy(plane->data, input.data(), input.size());
                            std::vector<float> out(area);
                            EXPECT_EQ((symmetric ? p.symmH : p.h)(plane, out.data(), kernel), 0);
                            return bytesOf(out);
                        });
                        expectSameOnEveryPath(what + " down" + (symmetric ? " symmetric" : ""), [&] {
                            std::memset(plane->data, 0, input.size());
                            std::vector<float> scratch(area);
                            EXPECT_EQ(symmetric ? p.symmV(column.data(), scratch.data(), plane, kernel)
                                                : p.v(column.data(), plane, kernel),
                                      0);
                            if (p.type == OX_8U) return std::vector<uint8_t>(plane->data, plane->data + area);
                            if (p.type == OX_32F)
                                return bytesOf(std::vector<float>(reinterpret_cast<float*>(plane->data),
                                                                  reinterpret_cast<float*>(plane->data) + area));
                            return bytesOf(std::vector<double>(reinterpret_cast<double*>(plane->data),
                                                               reinterpret_cast<double*>(plane->data) + area));
                        });
                    }
                    oxImageRelease(&plane);
                    oxSepKernelRelease(&kernel);
                }
}

}  // namespace
