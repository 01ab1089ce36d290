#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

using StatsPtr = std::unique_ptr<oxColorCorrectionStats, void (*)(oxColorCorrectionStats*)>;
StatsPtr newStats() {
    return StatsPtr(oxColorCorrectionStatsCreate(), [](oxColorCorrectionStats* s) { oxColorCorrectionStatsRelease(&s); });
}

}  // namespace

TEST(ColorCorrection, TablesTruncateTheSinglePrecisionProduct) {
    struct Case {
        float maximum;
        int input, expected;
    } cases[] = {
        {255, 100, 100}, {255, 255, 255},  // already white: identity
        {200, 100, 127},                   // 127.5 truncates
        {200, 201, 255},                   // saturates
        {7, 7, 254},                       // 255/7 * 7 is 254.99998 in float
        {3, 1, 85},      {0, 0, 0},        // NaN product gives 0
        {0, 1, 255},                       // infinite scale
    };
    for (const Case& c : cases) {
        const oxColorCorrectionStats stats{c.maximum, 255.0f, c.maximum};
        oxColorCorrectionAddParams p;
        oxColorCorrectionAddParamsCompute(&stats, &p);
        EXPECT_EQ(p.lutB[c.input], c.expected) << c.maximum << " @" << c.input;
        EXPECT_EQ(p.lutR[c.input], c.expected) << c.maximum << " @" << c.input;
        EXPECT_EQ(p.lutG[c.input], c.input);
    }
}

TEST(ColorCorrection, StatisticsFindChannelsThroughTheEncoding) {
    // Pixel 0 and 1 of each image; alpha 250 must not count as a colour.
    struct Case {
        int32_t encoding;
        std::initializer_list<uint8_t> bytes;
    } cases[] = {{OX_BGR, {10, 20, 30, 40, 5, 6}},
                 {OX_RGB, {30, 20, 10, 6, 5, 40}},
                 {OX_RGBA, {30, 20, 10, 250, 6, 5, 40, 250}},
                 {OX_ARGB, {250, 30, 20, 10, 250, 6, 5, 40}}};
    for (const Case& c : cases) {
        Image img = fromBytes(2, 1, c.encoding, c.bytes);
        StatsPtr stats = newStats();
        ASSERT_EQ(oxColorCorrectionStatsRetrieve(stats.get(), img.get(), nullptr), 0);
        EXPECT_EQ(stats->maxB, 40.0f) << c.encoding;
        EXPECT_EQ(stats->maxG, 20.0f) << c.encoding;
        EXPECT_EQ(stats->maxR, 30.0f) << c.encoding;
    }
}

TEST(ColorCorrection, StatisticsOfAwkwardWidthsMatchAPlainWalk) {
    for (int32_t encoding : {OX_BGR, OX_ARGB})
        for (int32_t width : {1, 3, 7, 17, 1031}) {
            Image img = noise(width, 3, encoding, OX_8U, static_cast<uint32_t>(width));
            for (size_t i = 0; i < byteCount(img.get()); ++i) img->data[i] %= 200;
            const int32_t n = oxImageGetNChannel(img.get());
            const size_t hot = (static_cast<size_t>(width) * 3 - 1) * n;  // last pixel
            img->data[hot + oxImageGetChannelOffset(img.get(), 2)] = 201;
            float expected[3] = {};
            for (size_t p = 0; p < static_cast<size_t>(width) * 3; ++p)
                for (int c = 0; c < 3; ++c)
                    expected[c] = std::max<float>(expected[c], img->data[p * n + oxImageGetChannelOffset(img.get(), c + 1)]);
            StatsPtr stats = newStats();
            ASSERT_EQ(oxColorCorrectionStatsRetrieve(stats.get(), img.get(), nullptr), 0);
            EXPECT_EQ(stats->maxB, expected[0]) << width;
            EXPECT_EQ(stats->maxG, 201.0f) << width;
            EXPECT_EQ(stats->maxR, expected[2]) << width;
        }
}

TEST(ColorCorrection, UpdateAcrossTilesEqualsTheWholeImage) {
    Image whole = noise(6, 4, OX_BGR, OX_8U, 7);
    whole->data[5] = 255;  // red of pixel 1 in the first tile only
    Image top = make(6, 2, OX_BGR), bottom = make(6, 2, OX_BGR);
    std::memcpy(top->data, whole->data, 36);
    std::memcpy(bottom->data, whole->data + 36, 36);
    StatsPtr sum = newStats(), tile = newStats(), ref = newStats();
    oxColorCorrectionStatsInit(sum.get());
    for (const oxImage* part : {top.get(), bottom.get()}) {
        ASSERT_EQ(oxColorCorrectionStatsRetrieve(tile.get(), part, nullptr), 0);
        oxColorCorrectionStatsUpdate(tile.get(), sum.get());
    }
    ASSERT_EQ(oxColorCorrectionStatsRetrieve(ref.get(), whole.get(), nullptr), 0);
    EXPECT_EQ(sum->maxR, 255.0f);
    EXPECT_EQ(sum->maxB, ref->maxB);
    EXPECT_EQ(sum->maxG, ref->maxG);
}

TEST(ColorCorrection, ApplyWritesColoursIntoAnotherEncodingAndKeepsAlpha) {
    Image src = fromBytes(2, 1, OX_BGR, {50, 100, 200, 0, 25, 255});
    Image dst = fromBytes(2, 1, OX_RGBA, {1, 1, 1, 77, 1, 1, 1, 88});
    ASSERT_EQ(oxColorCorrectionFilter(src.get(), nullptr, dst.get(), nullptr), 0);
    // Blue max 50 -> x5.1, green max 100 -> x2.55, red max 255 -> x1.
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{200, 255, 255, 77, 255, 63, 0, 88}));
}

TEST(ColorCorrection, RefusesWhatItCannotWalk) {
    oxColorCorrectionAddParams p{};
    Image src = noise(4, 3, OX_BGR, OX_8U, 1), grey = make(4, 3, OX_GRAY), small = make(4, 2, OX_BGR);
    oxImage* bare = oxImageCreateHeader(4, 3, OX_BGR);  // no pixels
    EXPECT_EQ(oxColorCorrectionApply(&p, grey.get(), src.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), grey.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), small.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), bare), 1);
    EXPECT_EQ(oxColorCorrectionFilter(bare, nullptr, src.get(), nullptr), 1);
    StatsPtr stats = newStats();
    *stats = {1.0f, 2.0f, 3.0f};
    EXPECT_EQ(oxColorCorrectionStatsRetrieve(stats.get(), grey.get(), nullptr), 1);
    EXPECT_EQ(stats->maxR, 3.0f);  // untouched
    oxImageReleaseHeader(&bare);
}

TEST(ColorCorrection, AbortLeavesZerosAndAnUntouchedDestination) {
    Image src = noise(5, 4, OX_BGR, OX_8U, 3), dst = make(5, 4, OX_BGR);
    std::memset(dst->data, 9, byteCount(dst.get()));
    const int32_t stop = 1;
    EXPECT_EQ(oxColorCorrectionFilter(src.get(), nullptr, dst.get(), &stop), 2);
    EXPECT_EQ(dst->data[0], 9);
    StatsPtr stats = newStats();
    EXPECT_EQ(oxColorCorrectionStatsRetrieve(stats.get(), src.get(), &stop), 2);
    EXPECT_EQ(stats->maxB, 0.0f);
}

TEST(ColorCorrection, InPlaceWithWeightsBlendsAgainstTheUncorrectedSource) {
    Image src = noise(7, 5, OX_BGR, OX_8U, 11);
    for (size_t i = 0; i < byteCount(src.get()); ++i) src->data[i] /= 2;  // leave room to stretch
    Image weights = noise(7, 5, OX_GRAY, OX_8U, 12);
    weights->data[0] = 0;
    weights->data[1] = 255;
    Image apart = make(7, 5, OX_BGR), full = make(7, 5, OX_BGR);
    ASSERT_EQ(oxColorCorrectionFilter(src.get(), nullptr, full.get(), nullptr), 0);
    ASSERT_EQ(oxColorCorrectionFilter(src.get(), weights.get(), apart.get(), nullptr), 0);
    Image inPlace = make(7, 5, OX_BGR);
    std::memcpy(inPlace->data, src->data, byteCount(src.get()));
    ASSERT_EQ(oxColorCorrectionFilter(inPlace.get(), weights.get(), inPlace.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(inPlace.get()), bytesOf(apart.get()));
    EXPECT_EQ(std::memcmp(inPlace->data, src->data, 3), 0);       // weight 0: source
    EXPECT_EQ(std::memcmp(inPlace->data + 3, full->data + 3, 3), 0);  // weight 255: corrected
}
