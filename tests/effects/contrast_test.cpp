#include <gtest/gtest.h>

#include <array>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Records {
    oxContrastEnhanceParams* params = oxContrastEnhanceParamsDefault();
    oxContrastEnhanceStats* stats = oxContrastEnhanceStatsCreate();
    ~Records() {
        oxContrastEnhanceParamsRelease(&params);
        oxContrastEnhanceStatsRelease(&stats);
    }
    std::array<uint8_t, 256> table() const {
        std::array<uint8_t, 256> t{};
        oxContrastEnhanceAddParamsCompute(stats, params, t.data());
        return t;
    }
};

}  // namespace

TEST(Contrast, BlackAndWhitePointsFromTheHistogram) {
    // Entries of the table that fix black (the last input mapped to 0) and white.
    struct Case {
        const char* name;
        void (*fill)(float*);
        float pixelCount;
        std::initializer_list<std::pair<int, int>> entries;
    } cases[] = {
        // 10 per bin of 2560: black 1 (20 > 10.24), white 253 (30 > 23.04).
        {"flat", [](float* h) { std::fill(h, h + 256, 10.0f); }, 2560, {{1, 0}, {2, 1}, {127, 127}, {253, 254}, {254, 255}}},
        // All 255: bin 255 never sets black, so both points are 255 and all maps to 0.
        {"white", [](float* h) { h[255] = 64.0f; }, 64, {{254, 0}, {255, 0}}},
        // The running sum must exceed the count strictly: 4 > 4 is false.
        {"strict", [](float* h) { h[0] = 4.0f; h[1] = 1.0f; h[200] = 995.0f; }, 1000, {{1, 0}, {2, 1}}},
    };
    for (const Case& c : cases) {
        Records r;
        std::fill(r.stats->histogram, r.stats->histogram + 256, 0.0f);
        c.fill(r.stats->histogram);
        r.stats->pixelCount = c.pixelCount;
        const auto t = r.table();
        for (auto [in, out] : c.entries) EXPECT_EQ(t[in], out) << c.name << " @" << in;
    }
}

TEST(Contrast, ManualLevelsIgnoreTheHistogram) {
    struct Case {
        uint8_t black, white;
        int input, expected;
    } cases[] = {{16, 235, 16, 0}, {16, 235, 235, 255}, {16, 235, 126, 128}, {16, 235, 15, 0},
                 {0, 7, 7, 254},  // 7 * (255 / 7) is just below 255 in float
                 {200, 100, 100, 255}, {200, 100, 150, 127}};  // inverted
    for (const Case& c : cases) {
        Records r;
        *r.params = {9.0f, 4.0f, 1, c.white, c.black};
        std::fill(r.stats->histogram, r.stats->histogram + 256, 1.0f);
        r.stats->pixelCount = 256.0f;
        EXPECT_EQ(r.table()[c.input], c.expected) << int(c.black) << "-" << int(c.white) << " @" << c.input;
    }
}

TEST(Contrast, StatisticsCountTheBrightestColourChannel) {
    Records r;
    Image rgba = fromBytes(3, 1, OX_RGBA, {10, 20, 30, 255, 90, 5, 5, 255, 7, 70, 7, 0});
    ASSERT_EQ(oxContrastEnhanceStatsRetrieve(r.stats, rgba.get(), nullptr), 0);
    EXPECT_EQ(r.stats->histogram[30] + r.stats->histogram[90] + r.stats->histogram[70], 3.0f);
    EXPECT_EQ(r.stats->histogram[255], 0.0f);  // alpha ignored
    // A float count of ones stops at 2^24.
    Image big = make(4097, 4097, OX_GRAY);
    std::memset(big->data, 0, byteCount(big.get()));
    ASSERT_EQ(oxContrastEnhanceStatsRetrieve(r.stats, big.get(), nullptr), 0);
    EXPECT_EQ(r.stats->histogram[0], 16777216.0f);
    // A refused call still empties the record.
    rgba->encoding = 7;
    EXPECT_EQ(oxContrastEnhanceStatsRetrieve(r.stats, rgba.get(), nullptr), 1);
    EXPECT_EQ(r.stats->histogram[0], 0.0f);
    EXPECT_EQ(r.stats->pixelCount, 3.0f);
}

TEST(Contrast, UpdateDoublesTheHistogramButKeepsTheInitialCount) {
    Records r;
    oxContrastEnhanceStats* tile = oxContrastEnhanceStatsCreate();
    Image img = noise(8, 4, OX_BGR, OX_8U, 5);
    oxContrastEnhanceStatsInit(r.stats, img.get());
    for (int pass = 0; pass < 2; ++pass) {
        ASSERT_EQ(oxContrastEnhanceStatsRetrieve(tile, img.get(), nullptr), 0);
        oxContrastEnhanceStatsUpdate(tile, r.stats);
    }
    EXPECT_EQ(r.stats->pixelCount, 32.0f);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(r.stats->histogram[i], 2.0f * tile->histogram[i]);
    oxContrastEnhanceStatsRelease(&tile);
}

TEST(Contrast, GreyImagesAreMappedInPlaceAndRefusalsWriteNothing) {
    Records r;
    Image grey = make(5, 3, OX_GRAY);
    std::memset(grey->data, 100, byteCount(grey.get()));  // one level: black = white = 100
    ASSERT_EQ(oxContrastEnhanceFilter(r.params, grey.get(), nullptr, grey.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(grey.get()), std::vector<uint8_t>(15, 0));
    const std::array<uint8_t, 256> table{};
    Image src = noise(6, 4, OX_BGR, OX_8U, 2), narrow = make(5, 4, OX_BGR), dst = make(6, 4, OX_BGR);
    std::memset(dst->data, 9, byteCount(dst.get()));
    EXPECT_EQ(oxContrastEnhanceApply(table.data(), src.get(), grey.get(), nullptr), 1);
    EXPECT_EQ(oxContrastEnhanceApply(table.data(), src.get(), narrow.get(), nullptr), 1);
    const int32_t stop = 1;
    EXPECT_EQ(oxContrastEnhanceFilter(r.params, src.get(), nullptr, dst.get(), &stop), 2);
    EXPECT_EQ(oxContrastEnhanceApply(table.data(), src.get(), dst.get(), &stop), 2);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(72, 9));
}
