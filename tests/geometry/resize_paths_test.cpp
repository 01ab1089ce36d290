// The resize operations on every instruction-set path against the plain
// loops, byte for byte. Sources sit in the bottom-right corner of a buffer
// that ends with them, so a read past a row's last pixel leaves the buffer;
// targets sit inside a larger buffer, whose margin must come back as it was.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "geometry/detail/resize_ops.hpp"
#include "support/paths.hpp"

using namespace oxtest;
using ox::detail::ConstView;
using ox::detail::View;

namespace {

struct Shape {
    int32_t sw, sh, dw, dh;
};

// For every awkward width: as the source of a fixed target and the target
// of a fixed source, enlarged about four times (long zero-weight tails) and
// reduced about three times (the last columns near the row's end).
std::vector<Shape> shapes() {
    std::vector<Shape> out;
    for (int32_t w : awkwardWidths()) {
        out.push_back({w, 3, 37, 2});
        out.push_back({37, 2, w, 3});
        out.push_back({w, 2, 4 * w - 1, 3});
        out.push_back({3 * w + 2, 5, w, 2});
    }
    return out;
}

// Resizes a seeded source of `channels` into a target with a margin of
// three pixels and two rows around it; returns the whole target buffer.
template <class T, class Op> std::vector<uint8_t> run(const Shape& s, int32_t channels, Op op) {
    const int64_t srcStride = int64_t{s.sw + 2} * channels;
    const std::vector<T> src = noiseValues<T>(static_cast<size_t>(srcStride * (s.sh + 1)), 11);
    const int64_t dstStride = int64_t{s.dw + 6} * channels;
    std::vector<T> dst = noiseValues<T>(static_cast<size_t>(dstStride * (s.dh + 4)), 12);
    const ConstView<T> from = ConstView<T>{src.data(), s.sw + 2, s.sh + 1, channels, srcStride}.sub(2, 1, s.sw, s.sh);
    const View<T> to = View<T>{dst.data(), s.dw + 6, s.dh + 4, channels, dstStride}.sub(3, 2, s.dw, s.dh);
    EXPECT_EQ(op(from, to), ox::detail::Status::Ok);
    const auto* bytes = reinterpret_cast<const uint8_t*>(dst.data());
    return {bytes, bytes + dst.size() * sizeof(T)};
}

std::string nameOf(const Shape& s, int32_t channels) {
    return std::to_string(s.sw) + "x" + std::to_string(s.sh) + " -> " + std::to_string(s.dw) + "x" +
           std::to_string(s.dh) + ", " + std::to_string(channels) + " channels";
}

TEST(ResizePaths, BilinearMatchesThePlainLoop) {
    for (int32_t channels = 1; channels <= 4; ++channels)
        for (const Shape& s : shapes())
            expectSameOnEveryPath(nameOf(s, channels),
                                  [&] { return run<uint8_t>(s, channels, ox::detail::resizeBilinear); });
}

template <class T> void nearestOnEveryPath() {
    for (int32_t channels = 1; channels <= 4; ++channels)
        for (const Shape& s : shapes())
            expectSameOnEveryPath(nameOf(s, channels) + ", " + std::to_string(sizeof(T)) + "-byte elements",
                                  [&] { return run<T>(s, channels, ox::detail::resizeNearest<T>); });
}

TEST(ResizePaths, NearestMatchesThePlainLoop) {
    nearestOnEveryPath<uint8_t>();
    nearestOnEveryPath<uint16_t>();
    nearestOnEveryPath<float>();
    nearestOnEveryPath<double>();
}

}  // namespace
