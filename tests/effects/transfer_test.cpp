#include <gtest/gtest.h>

#include "effects/detail/stage_transfer.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Records {
    oxTransferEnhanceParams* params = oxTransferEnhanceParamsDefault();
    oxTransferEnhanceStats* stats = oxTransferEnhanceStatsCreate();
    oxTransferEnhanceAddParams* derived = static_cast<oxTransferEnhanceAddParams*>(std::malloc(sizeof *derived));
    ~Records() {
        oxTransferEnhanceParamsRelease(&params);
        oxTransferEnhanceStatsRelease(&stats);
        std::free(derived);
    }
    const uint8_t* compute(float mean) {
        *stats = {mean, 1.0f};
        oxTransferEnhanceAddParamsCompute(stats, params, derived);
        return derived->gainTable;
    }
};

}  // namespace

TEST(Transfer, GainsOfDarkMidAndBrightImages) {
    // Exact single-precision values: a double anywhere in the chain moves them.
    struct Case {
        float mean;
        int row;
        float gain;
    } cases[] = {{40, 0, 1.62784827f},  {40, 63, 1.33224714f},  {40, 127, 1.1671983f},
                 {70, 191, 1.06514609f}, {40, 255, 1.0f},        {110, 0, 1.32988822f},
                 {110, 127, 1.10198224f}, {150, 0, 1.13962805f}, {200, 127, 1.04815614f}};
    for (const Case& c : cases) {
        const auto curve = ox::detail::transferCurve(c.mean, 0.3f, 1.0f);
        EXPECT_EQ(ox::detail::transferGain(curve, c.row), c.gain) << c.mean << " row " << c.row;
    }
}

TEST(Transfer, TableRowsAndColumns) {
    Records r;
    const uint8_t* t = r.compute(40.0f);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(t[255 * 256 + v], v);      // brightest row is the identity
    for (int row = 0; row < 256; ++row) ASSERT_EQ(t[row * 256], 0);    // black stays black
    EXPECT_EQ(t[0 * 256 + 100], 162);                                  // trunc(162.78)
    EXPECT_EQ(t[0 * 256 + 157], 255);                                  // capped
    EXPECT_EQ(r.derived->radius, 7);
    r.params->strength = 0.0f;  // a = 0: NaN gains, table of zeros
    t = r.compute(40.0f);
    EXPECT_EQ(hashBytes(t, 65536), hashBytes(std::vector<uint8_t>(65536, 0).data(), 65536));
}

TEST(Transfer, BrightnessSumIsOneSinglePrecisionRunningSum) {
    // 65793 pixels of 255 reach 2^24 - 1; the ones after the first add
    // nothing, since 2^24 + 1 rounds back to 2^24.
    Image img = make(257, 260, OX_BGR);
    std::memset(img->data, 1, byteCount(img.get()));
    std::memset(img->data, 255, 65793 * 3);
    Records r;
    ASSERT_EQ(oxTransferEnhanceStatsRetrieve(r.stats, img.get(), nullptr), 0);
    EXPECT_EQ(r.stats->brightnessSum, 16777216.0f);
    EXPECT_EQ(r.stats->pixelCount, 66820.0f);
    oxTransferEnhanceStats tile{};
    tile.brightnessSum = 100.0f;
    oxTransferEnhanceStatsUpdate(&tile, r.stats);
    EXPECT_EQ(r.stats->pixelCount, 66820.0f);  // the count is not merged
}

TEST(Transfer, UniformDarkImageIsLiftedByItsOwnRowAndKeepsAlpha) {
    Records r;
    Image src = make(20, 12, OX_BGR), dst = make(20, 12, OX_RGBA);
    std::memset(src->data, 40, byteCount(src.get()));
    std::memset(dst->data, 77, byteCount(dst.get()));
    src->data[3 * 25 + 1] = 0;  // one black sample among dark neighbours
    ASSERT_EQ(oxTransferEnhanceFilter(r.params, src.get(), nullptr, dst.get(), nullptr), 0);
    // Mean 40 is a dark image; row 40 has gain 1.41794193, 40 * gain = 56.72.
    EXPECT_EQ(dst->data[0], 56);
    EXPECT_EQ(dst->data[3], 77);
    EXPECT_EQ(dst->data[4 * 25 + 1], 0);
    EXPECT_EQ(dst->data[4 * 239 + 2], 56);
    // Radius 0 blurs nothing: each pixel is its own neighbourhood.
    r.params->radius = 0;
    Image one = fromBytes(1, 1, OX_BGR, {40, 20, 0});
    ASSERT_EQ(oxTransferEnhanceFilter(r.params, one.get(), nullptr, one.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(one.get()), (std::vector<uint8_t>{56, 28, 0}));
}

TEST(Transfer, RefusalsAndAbort) {
    Records r;
    r.compute(40.0f);
    // The blur radius is 7: an image must be at least 8 pixels each way.
    struct Case {
        int32_t srcW, srcH, srcEnc, dstW, dstH, dstEnc, expected;
    } cases[] = {{8, 8, OX_BGR, 8, 8, OX_BGR, 0},  {7, 9, OX_BGR, 7, 9, OX_BGR, 1},  {9, 7, OX_BGR, 9, 7, OX_BGR, 1},
                 {0, 0, OX_BGR, 0, 0, OX_BGR, 1},  {9, 9, OX_GRAY, 9, 9, OX_BGR, 1}, {9, 9, OX_BGR, 9, 9, OX_GRAY, 1},
                 {9, 9, OX_BGR, 9, 8, OX_BGR, 1}};
    for (const Case& c : cases) {
        Image src = noise(c.srcW, c.srcH, c.srcEnc, OX_8U, 4), dst = make(c.dstW, c.dstH, c.dstEnc);
        EXPECT_EQ(oxTransferEnhanceApply(r.derived, src.get(), dst.get(), nullptr), c.expected) << c.srcW << "x" << c.srcH;
    }
    Image src = noise(9, 9, OX_BGR, OX_8U, 4), dst = make(9, 9, OX_BGR);
    std::memset(dst->data, 3, byteCount(dst.get()));
    const int32_t stop = 1;
    EXPECT_EQ(oxTransferEnhanceApply(r.derived, src.get(), dst.get(), &stop), 2);
    EXPECT_EQ(oxTransferEnhanceFilter(r.params, src.get(), nullptr, dst.get(), &stop), 2);
    EXPECT_EQ(oxTransferEnhanceStatsRetrieve(r.stats, src.get(), &stop), 2);
    EXPECT_EQ(r.stats->brightnessSum, 0.0f);
    EXPECT_EQ(dst->data[0], 3);
}
