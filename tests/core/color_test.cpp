#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(GrayTable, WeightsAndBias) {
    EXPECT_EQ(ox_toGray_tab[0], 8192);
    EXPECT_EQ(ox_toGray_tab[255], 255 * 1868 + 8192);
    EXPECT_EQ(ox_toGray_tab[256 + 255], 255 * 9617);
    EXPECT_EQ(ox_toGray_tab[512 + 255], 255 * 4899);
    EXPECT_EQ(ox_toGray_tab[255] + ox_toGray_tab[511] + ox_toGray_tab[767], 4186112);
}

TEST(CvtColor, EightBitGrayWorkedValues) {
    struct Case {
        int32_t encoding;
        std::initializer_list<uint8_t> pixel;
        uint8_t gray;
    } cases[] = {{OX_BGR, {10, 20, 30}, 22},        {OX_RGB, {30, 20, 10}, 22},        {OX_BGR, {255, 255, 255}, 255},
                 {OX_BGR, {255, 0, 0}, 29},         {OX_BGR, {0, 0, 255}, 76},         {OX_BGR, {0, 255, 0}, 150},
                 {OX_ARGB, {99, 30, 20, 10}, 22},   {OX_RGBA, {30, 20, 10, 99}, 22},   {OX_GRAY, {123}, 123}};
    for (const Case& c : cases) {
        Image src = fromBytes(1, 1, c.encoding, c.pixel);
        Image dst = make(1, 1, OX_GRAY);
        ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
        EXPECT_EQ(dst->data[0], c.gray) << "encoding " << c.encoding;
    }
}

TEST(CvtColor, GrayRuleForEveryType) {
    auto grayOf = [](int32_t type, double v) {
        Image src = fromValues<double>(1, 1, OX_BGR, type, {v, v, v});
        Image dst = make(1, 1, OX_GRAY, type);
        EXPECT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
        return ox::detail::readElement(dst->data, type, 0);
    };
    EXPECT_EQ(grayOf(OX_16U, 0x12FF), 4736);
    EXPECT_EQ(grayOf(OX_32S, -5), 128);
    EXPECT_EQ(grayOf(OX_32S, 70000), (8192 + 255 * 16384) >> 6);  // index capped at 255
    EXPECT_EQ(grayOf(OX_32U, 0x00AB0000), (8192 + 0xAB * 16384) * 4.0);
    EXPECT_EQ(grayOf(OX_32F, 1.0), static_cast<double>(0.998046875f));
    EXPECT_EQ(grayOf(OX_64F, 1.0), 4186112 * 2.384185791015625e-7);
    // Float indices truncate after the product: 0.5 * 255 = 127.5 -> 127.
    EXPECT_EQ(grayOf(OX_64F, 0.5), (8192 + 127 * 16384) * 2.384185791015625e-7);
}

TEST(CvtColor, FloatIndicesClampNegativeLargeAndNan) {
    Image src = fromValues<float>(2, 1, OX_BGR, OX_32F,
                                  {-0.5f, 2.0f, 0.5f, std::numeric_limits<float>::quiet_NaN(), 0.0f, 0.0f});
    Image dst = make(2, 1, OX_GRAY, OX_32F);
    ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    const int32_t s = ox_toGray_tab[0] + ox_toGray_tab[256 + 255] + ox_toGray_tab[512 + 127];
    EXPECT_EQ(at<float>(dst.get(), 0), static_cast<float>(s) * 2.3841858e-7f);
    EXPECT_EQ(at<float>(dst.get(), 1), 8192 * 2.3841858e-7f);
}

TEST(CvtColor, GrayIntoColourKeepsAlpha) {
    Image src = fromBytes(1, 1, OX_GRAY, {77});
    Image dst = fromBytes(1, 1, OX_RGBA, {1, 2, 3, 4});
    ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{77, 77, 77, 4}));
}

TEST(CvtColor, ColourReorderDoesNotCarryAlpha) {
    Image src = fromBytes(1, 1, OX_ARGB, {9, 1, 2, 3});  // A R G B
    Image dst = fromBytes(1, 1, OX_RGBA, {0, 0, 0, 7});
    ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{1, 2, 3, 7}));
    Image bgr = make(1, 1, OX_BGR);
    ASSERT_EQ(oxImageCvtColor(src.get(), bgr.get()), 0);
    EXPECT_EQ(bytesOf(bgr.get()), (std::vector<uint8_t>{3, 2, 1}));
}

TEST(CvtColor, SameEncodingCopiesOnlyTheRoiToTheDestinationOrigin) {
    Image src = noise(4, 4, OX_RGBA, OX_16U, 7);
    Image dst = make(3, 3, OX_RGBA, OX_16U);
    std::memset(dst->data, 0, byteCount(dst.get()));
    const oxRect roi{1, 1, 2, 2};
    oxImageSetROI(src.get(), &roi);
    ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 4; ++c) {
                const uint16_t got = at<uint16_t>(dst.get(), (y * 3 + x) * 4 + c);
                const uint16_t want = (x < 2 && y < 2) ? at<uint16_t>(src.get(), ((y + 1) * 4 + x + 1) * 4 + c) : 0;
                EXPECT_EQ(got, want);
            }
}

TEST(CvtColor, RefusalsWriteNothing) {
    Image src = make(2, 2, OX_BGR);
    Image wide = make(2, 2, OX_GRAY, OX_16U);
    std::memset(wide->data, 0x5A, byteCount(wide.get()));
    EXPECT_EQ(oxImageCvtColor(src.get(), wide.get()), 1);
    EXPECT_EQ(wide->data[0], 0x5A);
    Image small = make(1, 1, OX_GRAY);
    EXPECT_EQ(oxImageCvtColor(src.get(), small.get()), 1);
    EXPECT_EQ(oxCopy(src.get(), wide.get()), 1);
    const oxRect empty{0, 0, 2, 0};
    oxImageSetROI(src.get(), &empty);
    EXPECT_EQ(oxImageCvtColor(src.get(), small.get()), 0);
}

TEST(CvtColor, BgrAndRgbOrdersGiveTheSameGray) {
    Image bgr = noise(17, 5, OX_BGR, OX_8U, 3);
    Image rgb = make(17, 5, OX_RGB);
    Image g1 = make(17, 5, OX_GRAY), g2 = make(17, 5, OX_GRAY);
    ASSERT_EQ(oxImageCvtColor(bgr.get(), rgb.get()), 0);
    ASSERT_EQ(oxImageCvtColor(bgr.get(), g1.get()), 0);
    ASSERT_EQ(oxImageCvtColor(rgb.get(), g2.get()), 0);
    EXPECT_EQ(bytesOf(g1.get()), bytesOf(g2.get()));
    EXPECT_EQ(hashImage(g1.get()), hashImage(g2.get()));
}

TEST(CvtColor, NarrowDestinationRoiIsRefusedOnlyWhenTheWalkWouldLeaveTheBuffer) {
    // The destination advances by its own row skip, which grows as its ROI
    // narrows: each row starts further right than the last.
    Image src = noise(4, 4, OX_BGR, OX_8U, 11);
    Image dst = make(4, 4, OX_GRAY);
    const oxRect narrow{0, 0, 2, 4};
    oxImageSetROI(dst.get(), &narrow);
    EXPECT_EQ(oxImageCvtColor(src.get(), dst.get()), 1);
    Image plane = make(4, 4, OX_GRAY);
    oxImageSetROI(plane.get(), &narrow);
    EXPECT_EQ(oxImageExtractChannel(src.get(), plane.get(), 1), 1);

    Image tall = make(4, 8, OX_GRAY);
    oxImageSetROI(tall.get(), &narrow);
    ASSERT_EQ(oxImageCvtColor(src.get(), tall.get()), 0);
    // Row 1 of the walk starts 4 + 2 pixels after row 0.
    Image gray = make(4, 4, OX_GRAY);
    ASSERT_EQ(oxImageCvtColor(src.get(), gray.get()), 0);
    EXPECT_EQ(tall->data[6], gray->data[4]);
}
