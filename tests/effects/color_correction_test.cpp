#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(ColorCorrection, TablesTruncateTheSinglePrecisionProduct) {
    struct Case {
        float maximum;
        int input, expected;
    } cases[] = {
        {255, 100, 100}, {255, 255, 255},  // already white: identity
        {200, 100, 127}, {200, 201, 255},  // 127.5 truncates; saturates
        {7, 7, 254},                       // 255/7 * 7 is 254.99998 in float
        {0, 0, 0},       {0, 1, 255},      // NaN product gives 0; infinite scale
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

TEST(ColorCorrection, StatisticsOfAwkwardWidthsFindEveryChannelMaximum) {
    // A 16-bit image is still read byte by byte, at its element offsets.
    for (auto [encoding, type] : {std::pair{OX_BGR, OX_8U}, {OX_ARGB, OX_8U}, {OX_BGR, OX_16U}})
        for (int32_t width : {1, 3, 7, 17, 1031}) {
            Image img = make(width, 3, encoding, type);
            std::memset(img->data, 10, byteCount(img.get()));
            const int32_t n = oxImageGetNChannel(img.get()), last = width * 3 - 1;
            img->data[oxImageGetChannelOffset(img.get(), 1)] = 240;                  // first pixel
            img->data[last / 2 * n + oxImageGetChannelOffset(img.get(), 3)] = 230;  // middle
            img->data[last * n + oxImageGetChannelOffset(img.get(), 2)] = 250;      // last pixel
            oxColorCorrectionStats s;
            ASSERT_EQ(oxColorCorrectionStatsRetrieve(&s, img.get(), nullptr), 0);
            EXPECT_EQ(std::vector<float>({s.maxB, s.maxG, s.maxR}), std::vector<float>({240, 250, 230})) << width;
        }
}

TEST(ColorCorrection, UpdateAcrossTilesEqualsTheWholeImage) {
    Image whole = noise(6, 4, OX_BGR, OX_8U, 7);
    Image top = make(6, 2, OX_BGR), bottom = make(6, 2, OX_BGR);
    std::memcpy(top->data, whole->data, 36);
    std::memcpy(bottom->data, whole->data + 36, 36);
    oxColorCorrectionStats* sum = oxColorCorrectionStatsCreate();
    oxColorCorrectionStats tile, ref;
    oxColorCorrectionStatsInit(sum);
    for (const oxImage* part : {top.get(), bottom.get()}) {
        ASSERT_EQ(oxColorCorrectionStatsRetrieve(&tile, part, nullptr), 0);
        oxColorCorrectionStatsUpdate(&tile, sum);
    }
    ASSERT_EQ(oxColorCorrectionStatsRetrieve(&ref, whole.get(), nullptr), 0);
    EXPECT_EQ(std::vector<float>({sum->maxB, sum->maxG, sum->maxR}), std::vector<float>({ref.maxB, ref.maxG, ref.maxR}));
    oxColorCorrectionStatsRelease(&sum);
}

TEST(ColorCorrection, ApplyWritesColoursIntoAnotherEncodingAndKeepsAlpha) {
    Image src = fromBytes(2, 1, OX_BGR, {50, 100, 200, 0, 25, 255});
    Image dst = fromBytes(2, 1, OX_RGBA, {1, 1, 1, 77, 1, 1, 1, 88});
    ASSERT_EQ(oxColorCorrectionFilter(src.get(), nullptr, dst.get(), nullptr), 0);
    // Blue max 50 -> x5.1, green max 100 -> x2.55, red max 255 -> x1.
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{200, 255, 255, 77, 255, 63, 0, 88}));
}

TEST(ColorCorrection, RefusalsAndAbortLeaveRecordsAndDestinationAlone) {
    oxColorCorrectionAddParams p{};
    Image src = noise(4, 3, OX_BGR, OX_8U, 1), grey = make(4, 3, OX_GRAY), small = make(4, 2, OX_BGR), dst = make(4, 3, OX_BGR);
    std::memset(dst->data, 9, 36);
    oxImage* bare = oxImageCreateHeader(4, 3, OX_BGR);  // no pixels
    EXPECT_EQ(oxColorCorrectionApply(&p, grey.get(), src.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), grey.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), small.get()), 1);
    EXPECT_EQ(oxColorCorrectionApply(&p, src.get(), bare), 1);
    EXPECT_EQ(oxColorCorrectionFilter(bare, nullptr, src.get(), nullptr), 1);
    oxImageReleaseHeader(&bare);
    oxColorCorrectionStats stats{1.0f, 2.0f, 3.0f};
    EXPECT_EQ(oxColorCorrectionStatsRetrieve(&stats, grey.get(), nullptr), 1);
    EXPECT_EQ(stats.maxR, 3.0f);  // untouched
    const int32_t stop = 1;
    EXPECT_EQ(oxColorCorrectionStatsRetrieve(&stats, src.get(), &stop), 2);
    EXPECT_EQ(stats.maxR, 0.0f);  // emptied
    EXPECT_EQ(oxColorCorrectionFilter(src.get(), nullptr, dst.get(), &stop), 2);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(36, 9));
}

// The Filter sequence shared by the three statistics-driven stages, each
// with its default parameters: pinned outputs, and an in-place run with
// weights that must blend against the unprocessed source (weight 0 keeps
// it, 255 the processed pixel) exactly as an out-of-place run does.
TEST(StageFilters, GoldenOutputsAndInPlaceBlendAgainstTheUnprocessedSource) {
    using Filter = int32_t (*)(const oxImage*, const oxImage*, oxImage*);
    static const oxContrastEnhanceParams contrast{9.0f, 4.0f, 0, 255, 0};
    static const oxTransferEnhanceParams transfer{0.3f, 1.0f, 7};
    const Filter colour = [](const oxImage* s, const oxImage* w, oxImage* d) { return oxColorCorrectionFilter(s, w, d, nullptr); };
    const Filter stretch = [](const oxImage* s, const oxImage* w, oxImage* d) {
        return oxContrastEnhanceFilter(&contrast, s, w, d, nullptr);
    };
    const Filter tone = [](const oxImage* s, const oxImage* w, oxImage* d) {
        return oxTransferEnhanceFilter(&transfer, s, w, d, nullptr);
    };
    struct Case {
        Filter filter;
        int32_t encoding, width, height;
        uint64_t hash;
    } cases[] = {{colour, OX_BGR, 37, 23, 0xdd36fbf67de52a9dull},  {colour, OX_RGBA, 1031, 9, 0xd84ecd732619c488ull},
                 {stretch, OX_BGR, 37, 23, 0x2101356667b286c2ull}, {stretch, OX_RGBA, 1031, 9, 0x0aa2be7dbcac893bull},
                 {tone, OX_BGR, 37, 23, 0x914148c6d247a9d6ull},    {tone, OX_RGBA, 1031, 9, 0x3349c85944c01c5dull}};
    for (const Case& c : cases) {
        Image src = noise(c.width, c.height, c.encoding, OX_8U, c.width + c.height + c.encoding);
        for (size_t i = 0; i < byteCount(src.get()); ++i) src->data[i] = static_cast<uint8_t>(src->data[i] % 200 + 20);
        Image full = make(c.width, c.height, c.encoding), apart = make(c.width, c.height, c.encoding);
        Image weights = noise(c.width, c.height, OX_GRAY, OX_8U, 5);
        weights->data[0] = 0;
        weights->data[1] = 255;
        std::memset(full->data, 0, byteCount(full.get()));
        ASSERT_EQ(c.filter(src.get(), nullptr, full.get()), 0);
        EXPECT_EQ(hashImage(full.get()), c.hash) << &c - cases;
        std::memcpy(apart->data, src->data, byteCount(src.get()));  // same alpha
        ASSERT_EQ(c.filter(src.get(), weights.get(), apart.get()), 0);
        const std::vector<uint8_t> before = bytesOf(src.get());
        ASSERT_EQ(c.filter(src.get(), weights.get(), src.get()), 0);
        EXPECT_EQ(bytesOf(src.get()), bytesOf(apart.get())) << &c - cases;
        const int32_t px = oxImageGetNChannel(src.get());
        EXPECT_EQ(std::memcmp(src->data, before.data(), 3), 0) << &c - cases;
        EXPECT_EQ(std::memcmp(src->data + px, full->data + px, 3), 0) << &c - cases;
    }
}
