#include <gtest/gtest.h>

#include <cmath>

#include "effects/detail/enhance_stages.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

int gMade, gFailAt;
template <class T, T* (*Make)()> T* madeOrFailed() { return gMade++ == gFailAt ? nullptr : Make(); }

}  // namespace

// A failing record at any step leaves nothing behind (the sanitizer build's
// leak checker sees the rest), after all four were attempted.
TEST(Enhance, StageSetFailingAtEachRecord) {
    for (gFailAt = 0; gFailAt < 4; ++gFailAt) {
        gMade = 0;
        EXPECT_EQ(ox::detail::createStageSet({madeOrFailed<oxContrastEnhanceParams, oxContrastEnhanceParamsDefault>,
                                              madeOrFailed<oxTransferEnhanceParams, oxTransferEnhanceParamsDefault>,
                                              madeOrFailed<oxFillLightParams, oxFillLightParamsDefault>,
                                              madeOrFailed<oxSharpenParams, oxSharpenParamsDefault>}),
                  nullptr);
        EXPECT_EQ(gMade, 4);
    }
}

TEST(Enhance, AbortRefusalsAndBadInputSweep) {
    const int32_t stop = 1;
    Image src = noise(12, 10, OX_BGR, OX_8U, 1), dst = make(12, 10, OX_BGR), narrow = make(11, 10, OX_BGR);
    for (size_t i = 0; i < byteCount(src.get()); ++i) src->data[i] = uint8_t(60 + src->data[i] % 120);  // dull
    for (int32_t s = 0; s < 5; ++s) {  // the only stage switched on returns 2
        const oxEnhanceParams p{s == 0, 1, s == 1 ? 1.0f : 0, 9, 4, s == 2 ? 0.3f : 0, 1, 7, s == 3, 1, s == 4, 1};
        EXPECT_EQ(oxEnhanceFilter(&p, src.get(), nullptr, dst.get(), &stop), 2) << s;
        EXPECT_EQ(oxEnhanceFilter(&p, src.get(), nullptr, narrow.get(), nullptr), 1);
    }
    EXPECT_EQ(oxYewEnhance(4, 4, nullptr, dst->data, 0.3f) + oxYewEnhance(-8, 9, src->data, dst->data, 0.3f), 2);
    // Every size from 0 x 0: the entry point refuses exactly what the radius-7
    // blur cannot take; the filter survives every odd parameter.
    for (float v : {0.3f, 0.0f, -2.0f, NAN, INFINITY, -INFINITY})
        for (int32_t h = 0; h <= 9; ++h)
            for (int32_t w = 0; w <= 9; ++w) {
                Image s = noise(w, h, OX_BGR, OX_8U, 2), d = make(w, h, OX_RGBA), m = noise(w, h, OX_GRAY, OX_8U, 4);
                EXPECT_EQ(oxYewEnhance(w, h, s->data, s->data, v), v > 0 && std::min(w, h) <= 7) << w << "x" << h;
                const int32_t radius = v == 0 ? INT32_MAX : w - 4;
                const oxEnhanceParams p{1, 1, v, v, v, -v, v, radius, 1, v, 1, v};
                oxImage* out = h % 2 ? s.get() : d.get();  // in place, or into another encoding
                const int32_t r = oxEnhanceFilter(&p, s.get(), w % 3 ? m.get() : nullptr, out, nullptr);
                EXPECT_TRUE(r == 0 || r == 1) << w << "x" << h;
            }
}

// Whole outputs and statuses of stage combinations the goldens do not reach:
// other encodings, odd radii, every mix weight form, in place with and
// without weights; then contrast-then-transfer on packed three-byte colour,
// where the stages can share one walk: both orders of the colour bytes, in
// place, no blur, a flat image (a threshold table), clips that invert the
// table, layouts that differ, and the failures after the contrast stage has
// written (a destination ROI the mix refuses, an image too small for the
// blur). The destination starts as noise (its alpha must survive).
// First, stage order, working image and mix weight on dull noise (60..179,
// so that contrast and transfer both change it): steepness 0 runs the
// contrast stage alone; weights 0.5 and 0.001 mix its output with the source
// at 128 and 0; a NaN weight runs nothing (the destination keeps its noise);
// contrast reads the colour correction's output while fill light blends over
// the source; in place, fill light lifts the untouched copy, and every stage
// blended through weights gives the bytes it gives out of place.
TEST(Enhance, PinnedOutputs) {
    enum Shape { kDull, kNoise, kFlat, kBadRoi };
    struct Case {
        oxEnhanceParams p;
        int32_t srcEnc, dstEnc, w, h;
        uint32_t seed;
        bool inPlace, weights;
        Shape shape;
        int32_t status;
        uint64_t hash;
    } cases[] = {
        {{0, 1, 1.0f, 9, 4, 0.0f, 1.4f, 7, 0, 0.5f, 0, 0.4f}, OX_BGR, OX_BGR, 23, 17, 3, false, false, kDull, 0, 0x650a0a4dafc9a5adull},
        {{0, 1, 0.5f, 9, 4, -1.0f, 1.4f, 7, 0, 0.5f, 0, 0.4f}, OX_BGR, OX_BGR, 23, 17, 3, false, false, kDull, 0, 0xd0890dcf0ce0f937ull},
        {{0, 1, 0.001f, 9, 4, NAN, 1.4f, 7, 0, 0.5f, 0, 0.4f}, OX_BGR, OX_BGR, 23, 17, 3, false, false, kDull, 0, 0xa9cbe9b437d90c5bull},
        {{0, 1, NAN, 9, 4, 0.0f, 1.4f, 7, 0, 0.5f, 0, 0.4f}, OX_BGR, OX_BGR, 23, 17, 3, false, false, kDull, 0, 0x4f86c7d13c41721bull},
        {{1, 1, 0.001f, 9, 4, 0.0f, 1.4f, 7, 1, 0.5f, 1, 0.4f}, OX_BGR, OX_BGR, 23, 17, 3, false, false, kDull, 0, 0x98d99e7bde580a9cull},
        {{0, 1, 1, 9, 4, 0.3f, 1.4f, 7, 1, 1, 0, 0}, OX_BGR, OX_BGR, 40, 30, 5, true, false, kDull, 0, 0x37c773cf1bb75903ull},
        {{1, 1, 0.5f, 9, 4, 0.3f, 1.4f, 3, 1, 0.7f, 1, 0.3f}, OX_BGR, OX_BGR, 40, 30, 5, false, true, kDull, 0, 0x18677233d5d429eaull},
        {{1, 1, 0.5f, 9, 4, 0.3f, 1.4f, 3, 1, 0.7f, 1, 0.3f}, OX_BGR, OX_BGR, 40, 30, 5, true, true, kDull, 0, 0x18677233d5d429eaull},
        // Other encodings, radii, mix weights.
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 7, 0, 1, 0, 0.3f}, OX_RGBA, OX_RGBA, 1031, 17, 1031 * 17, false, false, kNoise, 0, 0x3a927f23a3b580feull},
        {{0, 1, 1.0f, 9, 4, 0.45f, 1.4f, 1, 0, 1, 0, 0.3f}, OX_BGR, OX_ARGB, 33, 29, 33 * 29, false, false, kNoise, 0, 0x2d8505a6a5e93ff3ull},
        {{0, 1, 0.5f, 20, 1, 0.3f, 1.0f, 3, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 31, 23, 31 * 23, false, false, kNoise, 0, 0x2e55c0a8a909f77full},
        {{0, 1, 0.0f, 9, 4, 0.3f, 1.4f, 0, 0, 1, 0, 0.3f}, OX_RGB, OX_RGB, 27, 11, 27 * 11, true, false, kNoise, 0, 0x0f493b2af2e674c7ull},
        {{1, 1, 1.0f, 9, 4, 0.3f, 1.4f, 7, 1, 0.4f, 0, 0.3f}, OX_BGR, OX_BGR, 40, 30, 40 * 30, true, false, kNoise, 0, 0xb1afc5c9c4a35bb8ull},
        {{0, 1, 1.0f, 9, 4, 0.2f, 2.0f, 5, 1, 1.5f, 1, 0.6f}, OX_RGBA, OX_RGBA, 37, 19, 37 * 19, true, true, kNoise, 0, 0xde82626cdea0648aull},
        {{1, 1, 0.7f, 9, 4, 0.3f, 1.4f, 2, 0, 1, 1, 0.3f}, OX_BGR, OX_RGBA, 25, 25, 25 * 25, false, true, kNoise, 0, 0x8b9365a1659bcfebull},
        // Packed colour.
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 7, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 1031, 13, 1031 + 13, false, false, kNoise, 0, 0x447e14078c582cc1ull},
        {{0, 1, 1.0f, 9, 4, 0.5f, 1.4f, 7, 0, 1, 0, 0.3f}, OX_RGB, OX_RGB, 29, 21, 29 + 21, true, false, kNoise, 0, 0x4a70308dc7117ea4ull},
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 0, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 17, 9, 17 + 9, false, false, kNoise, 0, 0x7d88d5d9e1e01451ull},
        {{0, 1, 1.0f, 2, 30, 0.3f, 0.7f, 1, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 9, 40, 9 + 40, true, false, kNoise, 0, 0xc1b07a66d8e79a4dull},
        {{1, 1, 1.0f, 9, 4, 0.3f, 1.4f, 4, 0, 1, 1, 0.3f}, OX_RGB, OX_RGB, 33, 18, 33 + 18, false, false, kNoise, 0, 0xc4c2288216dfd81bull},
        {{0, 1, 1.0f, 900, 900, 0.3f, 1.4f, 3, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 31, 12, 31 + 12, false, false, kNoise, 0, 0x18aa62db793d5d21ull},
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 7, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 24, 16, 24 + 16, false, false, kFlat, 0, 0xd3361412a457b983ull},
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 2, 0, 1, 0, 0.3f}, OX_BGR, OX_RGB, 19, 14, 19 + 14, false, false, kNoise, 0, 0xc5ea39122fcf7971ull},
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 2, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 19, 14, 19 + 14, false, false, kBadRoi, 1, 0x141b66fbef9f4541ull},
        {{0, 1, 1.0f, 9, 4, 0.3f, 1.4f, 7, 0, 1, 0, 0.3f}, OX_BGR, OX_BGR, 5, 20, 5 + 20, false, false, kNoise, 1, 0xefc5a11721fb61fbull},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, OX_8U, c.seed);
        for (size_t i = 0; i < byteCount(src.get()); ++i) {
            const uint8_t v = src->data[i];
            src->data[i] = c.shape == kFlat ? uint8_t{120} : c.shape == kDull ? uint8_t(60 + v % 120) : uint8_t(30 + v % 170);
        }
        const bool dull = c.shape == kDull;
        Image dst = noise(c.w, c.h, c.dstEnc, OX_8U, dull ? 7 : 8), weights = noise(c.w, c.h, OX_GRAY, OX_8U, dull ? 6 : 9);
        if (c.shape == kBadRoi) dst->roi.width = c.w + 1;
        oxImage* out = c.inPlace ? src.get() : dst.get();
        EXPECT_EQ(oxEnhanceFilter(&c.p, src.get(), c.weights ? weights.get() : nullptr, out, nullptr), c.status) << &c - cases;
        EXPECT_EQ(hashImage(out), c.hash) << &c - cases;
    }
}
