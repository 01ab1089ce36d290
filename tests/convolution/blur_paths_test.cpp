// The box blur's fast forms against the plain running mean, byte for byte,
// on every instruction-set path: awkward widths, planes and both colour
// layouts, radii with and without a 16-bit divider, in place and not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convolution/detail/blur_ops.hpp"
#include "support/paths.hpp"

using namespace oxtest;
using namespace ox::detail;

namespace {

struct Layout {
    int32_t srcChannels, dstChannels;
    ChannelOffsets from, to;
};

// Radii: 1 and 3 (the library's own), 7 (the tone stage), 101 (no
// multiply-high pair: table and float lanes), 130 (past 16-bit sums); each
// one only where the line is long enough for its mirror.
const int32_t kRadii[] = {0, 1, 3, 7, 101, 130};

}  // namespace

TEST(BoxBlurPaths, EveryFormMatchesTheReference) {
    const Layout layouts[] = {
        {1, 1, {{0, 0, 0}}, {{0, 0, 0}}},  // plane
        {3, 3, {{0, 1, 2}}, {{0, 1, 2}}},  // BGR
        {3, 4, {{2, 1, 0}}, {{3, 2, 1}}},  // RGB into ARGB
        {4, 3, {{2, 1, 0}}, {{0, 1, 2}}},  // RGBA into BGR
        {4, 4, {{2, 1, 0}}, {{2, 1, 0}}},  // RGBA
    };
    for (const Layout& l : layouts)
        for (int32_t w : awkwardWidths())
            for (int32_t rx : kRadii)
                for (int32_t ry : {0, 1, 3, 7})
                    for (bool inPlace : {false, true}) {
                        const int32_t h = w % 5 + 9;
                        if (!boxBlurFits(rx, ry, w, h) || (inPlace && l.srcChannels != l.dstChannels)) continue;
                        if (rx >= 100 && w < 1031) continue;
                        const std::string what = std::to_string(l.srcChannels) + ">" + std::to_string(l.dstChannels) +
                                                 " w" + std::to_string(w) + " r" + std::to_string(rx) + "," +
                                                 std::to_string(ry) + (inPlace ? " in place" : "");
                        expectSameOnEveryPath(what, [&] {
                            std::vector<uint8_t> src = noiseValues<uint8_t>(size_t(w) * h * l.srcChannels, w * 31u + rx);
                            std::vector<uint8_t> dst = noiseValues<uint8_t>(size_t(w) * h * l.dstChannels, 7);
                            std::vector<uint8_t>& out = inPlace ? src : dst;
                            const View<uint8_t> s{src.data(), w, h, l.srcChannels, int64_t{w} * l.srcChannels};
                            const View<uint8_t> d{out.data(), w, h, l.dstChannels, int64_t{w} * l.dstChannels};
                            const Status st = l.srcChannels == 1
                                                  ? boxBlurPlane(s, d, rx, ry, nullptr)
                                                  : boxBlurColour(s, l.from, d, l.to, rx, ry, nullptr);
                            EXPECT_EQ(st, Status::Ok) << what;
                            return out;
                        });
                    }
}

// A set flag stops every path before it writes a byte.
TEST(BoxBlurPaths, AbortBeforeTheFirstRowWritesNothing) {
    const int32_t stop = 1;
    for (Isa isa : availableIsas()) {
        IsaScope scope(isa);
        std::vector<uint8_t> src = noiseValues<uint8_t>(40 * 9 * 3, 1), dst(40 * 9 * 3, 7);
        const View<uint8_t> s{src.data(), 40, 9, 3, 120}, d{dst.data(), 40, 9, 3, 120};
        EXPECT_EQ(boxBlurColour(s, {{0, 1, 2}}, d, {{0, 1, 2}}, 3, 3, &stop), Status::Aborted);
        EXPECT_EQ(boxBlurPlane(s, d, 0, 2, &stop), Status::Aborted);
        EXPECT_EQ(dst, std::vector<uint8_t>(dst.size(), 7)) << isaName(isa);
    }
}

// Windows whose sums pass 2^24, where the float running sum rounds: every
// path keeps the reference's order of additions.
TEST(BoxBlurPaths, SumsPastFloatPrecisionRoundAsTheReference) {
    const int32_t w = 70000, r = 40000;
    for (int32_t channels : {1, 3})
        expectSameOnEveryPath("radius 40000, " + std::to_string(channels) + " channels", [&] {
            std::vector<uint8_t> src = noiseValues<uint8_t>(size_t(w) * 2 * channels, 3), dst(src.size(), 0);
            for (uint8_t& b : src) b = static_cast<uint8_t>(200 + b % 56);
            const View<uint8_t> s{src.data(), w, 2, channels, int64_t{w} * channels};
            const View<uint8_t> d{dst.data(), w, 2, channels, int64_t{w} * channels};
            EXPECT_EQ(channels == 1 ? boxBlurPlane(s, d, r, 1, nullptr)
                                    : boxBlurColour(s, {{0, 1, 2}}, d, {{0, 1, 2}}, r, 0, nullptr),
                      Status::Ok);
            return dst;
        });
}
