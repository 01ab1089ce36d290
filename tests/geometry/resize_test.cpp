#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

Image resized(const oxImage* src, int32_t w, int32_t h, int32_t mode) {
    Image dst = make(w, h, src->encoding, src->type);
    EXPECT_EQ(oxResize(src, dst.get(), mode, nullptr), 0);
    return dst;
}

std::vector<double> doublesOf(const oxImage* img) {
    std::vector<double> v(byteCount(img) / sizeof(double));
    for (size_t i = 0; i < v.size(); ++i) v[i] = at<double>(img, i);
    return v;
}

}  // namespace

TEST(Resize, BilinearWorkedValues) {
    struct Case {
        const char* name;
        int32_t sw, sh, dw, dh;
        std::vector<uint8_t> in, out;
    } cases[] = {
        // Column 0 maps to -0.25 (weight 0), column 3 onto the last source
        // column, whose right neighbour lies outside the buffer.
        {"2x wider", 2, 1, 4, 1, {0, 100}, {0, 25, 75, 100}},
        {"2x taller", 1, 2, 1, 4, {0, 100}, {0, 25, 75, 100}},
        {"half rounds up", 2, 1, 4, 1, {0, 2}, {0, 1, 2, 2}},
        {"half width", 4, 1, 2, 1, {10, 20, 30, 40}, {15, 35}},
        {"single source pixel", 1, 1, 3, 2, {9}, {9, 9, 9, 9, 9, 9}},
    };
    for (const Case& c : cases) {
        Image src = make(c.sw, c.sh, OX_GRAY);
        std::copy(c.in.begin(), c.in.end(), src->data);
        EXPECT_EQ(bytesOf(resized(src.get(), c.dw, c.dh, 0).get()), c.out) << c.name;
    }
}

TEST(Resize, BilinearWeightRoundsHalfDown) {
    // Column 103 of 1024 sits 5.5/1024 past source column 0: weight 5, not 6.
    Image src = fromBytes(5, 1, OX_GRAY, {0, 86, 0, 0, 0});
    EXPECT_EQ(resized(src.get(), 1024, 1, 0)->data[103], 0);
}

TEST(Resize, EqualSizesReproduceInBilinearAndNearest) {
    for (int32_t encoding : {OX_GRAY, OX_BGR, OX_RGBA})
        for (int32_t mode : {OX_RESIZE_BILINEAR, OX_RESIZE_NEAREST}) {
            Image src = noise(17, 5, encoding, OX_8U, 3);
            EXPECT_EQ(bytesOf(resized(src.get(), 17, 5, mode).get()), bytesOf(src.get())) << encoding << "/" << mode;
        }
}

TEST(Resize, BilinearIsPinned) {
    Image src = noise(37, 23, OX_BGR, OX_8U, 9);
    EXPECT_EQ(hashImage(resized(src.get(), 16, 11, 0).get()), 7966265261562652812ull);
    EXPECT_EQ(hashImage(resized(src.get(), 80, 51, 0).get()), 16104243632728090140ull);
}

TEST(Resize, RoisSelectSourceAndTarget) {
    Image src = fromBytes(4, 3, OX_GRAY, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    src->roi = {1, 1, 2, 2};
    for (int32_t mode : {OX_RESIZE_BILINEAR, OX_RESIZE_NEAREST}) {
        Image dst = make(4, 2, OX_GRAY);
        std::fill_n(dst->data, 8, 0);
        dst->roi = {2, 0, 2, 2};
        ASSERT_EQ(oxResize(src.get(), dst.get(), mode, nullptr), 0);
        EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{0, 0, 5, 6, 0, 0, 9, 10})) << mode;
    }
}

TEST(Resize, NearestCopiesWholePixelsOfAnyType) {
    Image src = fromValues<int>(3, 1, OX_RGBA, OX_16U, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    Image up = fromValues<int>(6, 1, OX_RGBA, OX_16U, {1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8, 9, 10, 11, 12, 9, 10, 11, 12});
    EXPECT_EQ(bytesOf(resized(src.get(), 6, 1, -1).get()), bytesOf(up.get()));
    EXPECT_EQ(at<uint16_t>(resized(src.get(), 2, 1, -1).get(), 4), 5);  // column floor(1 / (2/3)) = 1
}

TEST(Resize, ColourModesResampleEveryChannelLikeOneChannel) {
    struct Case {
        int32_t mode, type;
    } cases[] = {{OX_RESIZE_BILINEAR, OX_8U}, {OX_RESIZE_LANCZOS, OX_64F}};
    for (const Case& c : cases) {
        Image src = noise(7, 5, OX_RGBA, c.type, 4), dst = resized(src.get(), 4, 9, c.mode);
        for (int32_t ch = 1; ch <= 4; ++ch) {
            Image plane = make(7, 5, OX_GRAY, c.type), want = make(4, 9, OX_GRAY, c.type), got = make(4, 9, OX_GRAY, c.type);
            oxImageExtractChannel(src.get(), plane.get(), ch);
            oxImageExtractChannel(dst.get(), got.get(), ch);
            ASSERT_EQ(oxResize(plane.get(), want.get(), c.mode, nullptr), 0);
            EXPECT_EQ(bytesOf(got.get()), bytesOf(want.get())) << "mode " << c.mode << " channel " << ch;
        }
    }
}

TEST(Resize, LanczosWindow) {
    struct Case {
        double x, expected;
    } cases[] = {{0, 1}, {3, 0}, {-3, 0}, {7, 0}, {NAN, 0}, {0.5, 6 / (M_PI * M_PI)}, {-1.5, -4 / (3 * M_PI * M_PI)}};
    for (const Case& c : cases) EXPECT_NEAR(oxLanczosFunction(3, c.x), c.expected, 1e-15) << c.x;
}

TEST(Resize, LanczosCentresOneSampleEarlyAndClampsToUnitRange) {
    EXPECT_EQ(oxResizeFunction(nullptr, nullptr, OX_RESIZE_BILINEAR), 1);
    // Output (x, y) repeats input (x - 1, y - 1); row and column 0 repeat 0.
    Image src = fromValues<double>(3, 2, OX_GRAY, OX_64F, {0.5, 1.0, 0.0, 0.25, 0.75, 0.125});
    const std::vector<double> got = doublesOf(resized(src.get(), 3, 2, OX_RESIZE_LANCZOS).get()), shifted = {0.5, 0.5, 1, 0.5, 0.5, 1};
    for (size_t i = 0; i < 6; ++i) EXPECT_NEAR(got[i], shifted[i], 1e-12) << i;
    Image nan = fromValues<double>(3, 1, OX_GRAY, OX_64F, {0.5, NAN, 0});
    EXPECT_EQ(doublesOf(resized(nan.get(), 2, 3, OX_RESIZE_LANCZOS).get()), std::vector<double>(6, 1.0));
    Image edge = fromValues<double>(6, 1, OX_GRAY, OX_64F, {0, 0, 1, 1, 0, 0});  // lobes overshoot both ways
    for (double v : doublesOf(resized(edge.get(), 4, 1, OX_RESIZE_LANCZOS).get())) EXPECT_TRUE(v >= 0 && v <= 1) << v;
}

TEST(Resize, ScratchSize) {
    struct Case {
        int32_t srcEnc, dstEnc, type, mode;
        uint32_t bytes;
    } cases[] = {{OX_GRAY, OX_GRAY, OX_8U, OX_RESIZE_BILINEAR, 8 * 4 + 16 * 10}, {OX_BGR, OX_BGR, OX_8U, OX_RESIZE_BILINEAR, 8 * 4 + 16 * 10 + 15 + 40},
                 {OX_RGBA, OX_BGR, OX_64F, OX_RESIZE_LANCZOS, 15 * 8 + 40 * 8}, {OX_GRAY, OX_GRAY, OX_64F, OX_RESIZE_LANCZOS, 0}};
    for (const Case& c : cases)
        EXPECT_EQ(oxResizeGetTempBufferSize(make(5, 3, c.srcEnc, c.type).get(), make(10, 4, c.dstEnc, c.type).get(), c.mode),
                  c.bytes);
}

TEST(Resize, RefusesWhatCannotRun) {
    const oxRect full{0, 0, 4, 3};
    struct Case {
        const char* name;
        int32_t mode, srcType, dstType, dstEnc;
        oxRect srcRoi, dstRoi;
    } cases[] = {
        {"Lanczos into bytes", OX_RESIZE_LANCZOS, OX_8U, OX_8U, OX_GRAY, full, full},
        {"bilinear into doubles", OX_RESIZE_BILINEAR, OX_64F, OX_64F, OX_GRAY, full, full},
        {"types differ", OX_RESIZE_BILINEAR, OX_16U, OX_8U, OX_GRAY, full, full},
        {"unknown type, nearest", OX_RESIZE_NEAREST, 7, 7, OX_GRAY, full, full},
        {"grey into colour", OX_RESIZE_BILINEAR, OX_8U, OX_8U, OX_BGR, full, full},
        {"empty source ROI", OX_RESIZE_BILINEAR, OX_8U, OX_8U, OX_GRAY, {0, 0, 0, 3}, full},
        {"empty target ROI", OX_RESIZE_BILINEAR, OX_8U, OX_8U, OX_GRAY, full, {0, 0, 4, 0}},
        {"empty ROI, nearest", OX_RESIZE_NEAREST, OX_8U, OX_8U, OX_GRAY, {0, 0, 4, 0}, full},
        {"ROI past the edge", OX_RESIZE_BILINEAR, OX_8U, OX_8U, OX_GRAY, {1, 0, 4, 3}, full},
        {"target ROI past the edge, nearest", OX_RESIZE_NEAREST, OX_8U, OX_8U, OX_GRAY, full, {0, -1, 4, 3}},
        // Refused before a scratch of the ROI's size (here 3 GB) is allocated.
        {"target ROI of gigabytes", OX_RESIZE_BILINEAR, OX_8U, OX_8U, OX_GRAY, full, {0, 0, 130000000, 130000000}},
    };
    for (const Case& c : cases) {
        Image src = noise(4, 3, OX_GRAY, c.srcType, 1), dst = make(4, 3, c.dstEnc, c.dstType);
        src->roi = c.srcRoi;
        dst->roi = c.dstRoi;
        std::fill_n(dst->data, byteCount(dst.get()), 7);
        EXPECT_EQ(oxResize(src.get(), dst.get(), c.mode, nullptr), 1) << c.name;
        EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(byteCount(dst.get()), 7)) << c.name;
    }
}
