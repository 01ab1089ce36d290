#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

// Integer types index by their top 8 bits; float indices are the product
// with 255 truncated and clamped (NaN to 0), and the float scale is 2^-22.
TEST(CvtColor, GrayRuleForEveryType) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), scale = 2.384185791015625e-7;
    const int32_t mixed = 8192 + 255 * 9617 + 127 * 4899;  // indices 0, 255 and 127
    struct Case {
        int32_t type;
        std::initializer_list<double> bgr;
        double gray;
    } cases[] = {{OX_16U, {0x12FF, 0x12FF, 0x12FF}, 4736},
                 {OX_32S, {-5, -5, -5}, 128},
                 {OX_32S, {70000, 70000, 70000}, (8192 + 255 * 16384) >> 6},  // index capped at 255
                 {OX_32U, {0x00AB0000, 0x00AB0000, 0x00AB0000}, (8192 + 0xAB * 16384) * 4.0},
                 {OX_32F, {1, 1, 1}, 0.998046875},
                 {OX_32F, {-0.5, 2.0, 0.5}, static_cast<float>(mixed) * 2.3841858e-7f},
                 {OX_32F, {nan, 0, 0}, 8192 * 2.3841858e-7f},
                 {OX_64F, {1, 1, 1}, 4186112 * scale},
                 {OX_64F, {0.5, 0.5, 0.5}, (8192 + 127 * 16384) * scale}};  // 127.5 -> 127
    for (const Case& c : cases) {
        Image src = fromValues<double>(1, 1, OX_BGR, c.type, c.bgr), dst = make(1, 1, OX_GRAY, c.type);
        ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
        EXPECT_EQ(ox::detail::readElement(dst->data, c.type, 0), c.gray) << c.type << " " << *c.bgr.begin();
    }
}

TEST(CvtColor, ColourDestinationsKeepTheirAlpha) {
    struct Case {
        int32_t srcEnc, dstEnc;
        std::initializer_list<uint8_t> src, dst;
        std::vector<uint8_t> want;
    } cases[] = {{OX_GRAY, OX_RGBA, {77}, {1, 2, 3, 4}, {77, 77, 77, 4}},
                 {OX_ARGB, OX_RGBA, {9, 1, 2, 3}, {0, 0, 0, 7}, {1, 2, 3, 7}},
                 {OX_ARGB, OX_BGR, {9, 1, 2, 3}, {0, 0, 0}, {3, 2, 1}}};
    for (const Case& c : cases) {
        Image src = fromBytes(1, 1, c.srcEnc, c.src), dst = fromBytes(1, 1, c.dstEnc, c.dst);
        ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
        EXPECT_EQ(bytesOf(dst.get()), c.want) << c.srcEnc << " -> " << c.dstEnc;
    }
}

TEST(CvtColor, SameEncodingCopiesOnlyTheRoiToTheDestinationOrigin) {
    Image src = fromValues<int>(3, 3, OX_GRAY, OX_16U, {1, 2, 3, 4, 5, 6, 7, 8, 900});
    Image dst = fromValues<int>(4, 2, OX_GRAY, OX_16U, {0, 0, 0, 0, 0, 0, 0, 0});
    src->roi = {1, 1, 2, 2};
    ASSERT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    EXPECT_EQ(bytesOf(dst.get()), bytesOf(fromValues<int>(4, 2, OX_GRAY, OX_16U, {5, 6, 0, 0, 8, 900, 0, 0}).get()));
}

TEST(CvtColor, RefusalsWriteNothing) {
    Image src = noise(4, 4, OX_BGR, OX_8U, 11);
    Image wide = make(2, 2, OX_GRAY, OX_16U), small = make(1, 1, OX_GRAY);
    std::memset(wide->data, 0x5A, byteCount(wide.get()));
    EXPECT_EQ(oxImageCvtColor(src.get(), wide.get()), 1);
    EXPECT_EQ(wide->data[0], 0x5A);
    EXPECT_EQ(oxImageCvtColor(src.get(), small.get()), 1);
    EXPECT_EQ(oxCopy(src.get(), wide.get()), 1);
    // The destination walk advances by its own row skip, which grows as its
    // ROI narrows: a 2-wide ROI of a 4x4 grey image runs out of rows.
    Image dst = make(4, 4, OX_GRAY), plane = make(4, 4, OX_GRAY), gray = make(4, 4, OX_GRAY), tall = make(4, 8, OX_GRAY);
    dst->roi = plane->roi = tall->roi = {0, 0, 2, 4};
    EXPECT_EQ(oxImageCvtColor(src.get(), dst.get()), 1);
    EXPECT_EQ(oxImageExtractChannel(src.get(), plane.get(), 1), 1);
    ASSERT_EQ(oxImageCvtColor(src.get(), tall.get()), 0);
    ASSERT_EQ(oxImageCvtColor(src.get(), gray.get()), 0);
    EXPECT_EQ(tall->data[6], gray->data[4]);  // walk row 1 starts 4 + 2 pixels after row 0
    src->roi = {0, 0, 2, 0};
    EXPECT_EQ(oxImageCvtColor(src.get(), small.get()), 0);  // an empty ROI writes nothing and succeeds
}
