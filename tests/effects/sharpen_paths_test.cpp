// The high boost's AVX2 rows against the plain loop, byte for byte, on
// every instruction-set path: awkward widths, every layout pair, packed and
// padded rows, zeros in the mean and in the channels, ratios that saturate
// and odd floats.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "effects/detail/sharpen_ops.hpp"
#include "support/paths.hpp"

using namespace oxtest;
using namespace ox::detail;

namespace {

// Bytes with plenty of 0 and 255, which take the undivided ratio and the
// caps' edges.
std::vector<uint8_t> edgyBytes(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (uint8_t& b : v) {
        const uint32_t x = rng();
        b = x % 7 == 0 ? 0 : x % 11 == 0 ? 255 : static_cast<uint8_t>(x >> 8);
    }
    return v;
}

struct Layout {
    int32_t channels;
    ChannelOffsets at;
};

}  // namespace

TEST(HighBoostPaths, PixelsMatchThePlainLoop) {
    const Layout layouts[] = {{1, {{0, 0, 0}}}, {3, {{0, 1, 2}}}, {3, {{2, 1, 0}}}, {4, {{3, 2, 1}}}, {4, {{2, 1, 0}}}};
    const std::pair<float, float> ratios[] = {{0.9f, 2.0f}, {3.0f, 9.0f}, {NAN, 2.0f}, {1.0f, INFINITY}, {-1.0f, 2.0f}};
    for (const Layout& s : layouts)
        for (const Layout& d : layouts)
            for (int32_t w : awkwardWidths())
                for (auto [gain, maxRatio] : ratios)
                    for (bool inPlace : {false, true}) {
                        const bool sameLayout = s.channels == d.channels && s.at.at[0] == d.at.at[0] && s.at.at[2] == d.at.at[2];
                        if ((s.channels == 1) != (d.channels == 1) || (inPlace && !sameLayout)) continue;
                        const int32_t h = 3, pad = w % 2 ? 5 : 0;  // packed rows run as one, padded ones row by row
                        const std::string what = std::to_string(s.channels) + ">" + std::to_string(d.channels) + " w" +
                                                 std::to_string(w) + " gain " + std::to_string(gain) +
                                                 (inPlace ? " in place" : "") + (pad ? " padded" : "");
                        expectSameOnEveryPath(what, [&] {
                            const int64_t sStride = int64_t{w} * s.channels + pad, dStride = int64_t{w} * d.channels + pad;
                            std::vector<uint8_t> src = edgyBytes(size_t(sStride * h), w);
                            std::vector<uint8_t> dst = edgyBytes(size_t(dStride * h), 5);
                            const std::vector<uint8_t> lum = edgyBytes(size_t(w) * h, 6), mean = edgyBytes(size_t(w) * h, 7);
                            std::vector<uint8_t>& out = inPlace ? src : dst;
                            const View<uint8_t> sv{src.data(), w, h, s.channels, sStride};
                            const View<uint8_t> dv{out.data(), w, h, d.channels, inPlace ? sStride : dStride};
                            EXPECT_EQ(highBoostPixels(sv, s.at, dv, d.at, lum.data(), mean.data(), gain, maxRatio),
                                      Status::Ok);
                            return out;
                        });
                    }
}
