#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(BackMappings, InverseMotions) {
    const oxPoint2D p{5.0, 3.0};
    const oxBackTranslation t{2.0, -1.0};
    const oxBackReflection column{0, 4.0}, rowMirror{1, 1.0};
    const oxBackRotation quarter{1.0, 1.0, 0.0, 1.0};
    const oxBackScaling twice{1.0, 1.0, 2.0};
    struct Case {
        oxPoint2D got, want;
    } cases[] = {{backTranslation(&p, &t), {3.0, 4.0}},   {backReflection(&p, &column), {3.0, 3.0}},
                 {backReflection(&p, &rowMirror), {5.0, -1.0}}, {backRotation(&p, &quarter), {3.0, -3.0}},
                 {backScaling(&p, &twice), {3.0, 2.0}}};
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(c.got.x, c.want.x);
        EXPECT_DOUBLE_EQ(c.got.y, c.want.y);
    }
}

TEST(ImageTransform, IdentityRotationReproducesTheSourceInBothModes) {
    for (int32_t type : {OX_8U, OX_16U, OX_32F, OX_64F}) {
        Image src = noise(7, 5, OX_GRAY, type, 3);
        const oxBackRotation identity{3.0, 2.0, 1.0, 0.0};
        for (int32_t mode : {OX_TRANSFORM_BILINEAR, OX_TRANSFORM_NEAREST}) {
            Image dst = make(7, 5, OX_GRAY, type);
            std::memset(dst->data, 0, byteCount(dst.get()));
            ASSERT_EQ(oxImageTransform(src.get(), dst.get(), backRotation, &identity, mode), 0);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get())) << type << " mode " << mode;
        }
    }
}

// Both modes truncate (20.75 is stored as 20, column 0.75 reads column 0);
// a pixel that maps past the last column, or lies outside the destination
// ROI, keeps its value; the last column itself is inside.
TEST(ImageTransform, WorkedValuesInsideTheDestinationRoi) {
    const oxBackTranslation shift{-0.75, 0.0};  // x maps to x + 0.75
    const oxBackScaling twice{2.0, 0.0, 2.0};   // x maps to 1 + x / 2
    struct Case {
        oxBackMapping mapping;
        const void* params;
        int32_t mode;
        oxRect roi;
        std::vector<uint8_t> want;
    } cases[] = {{backTranslation, &shift, OX_TRANSFORM_BILINEAR, {0, 0, 4, 1}, {20, 80, 9, 9}},
                 {backTranslation, &shift, OX_TRANSFORM_NEAREST, {0, 0, 4, 1}, {20, 21, 9, 9}},
                 {backScaling, &twice, OX_TRANSFORM_BILINEAR, {1, 0, 3, 1}, {9, 60, 100, 9}}};
    for (const Case& c : cases) {
        Image src = fromBytes(3, 1, OX_GRAY, {20, 21, 100}), dst = fromBytes(4, 1, OX_GRAY, {9, 9, 9, 9});
        dst->roi = c.roi;
        ASSERT_EQ(oxImageTransform(src.get(), dst.get(), c.mapping, c.params, c.mode), 0);
        EXPECT_EQ(bytesOf(dst.get()), c.want) << c.mode << " " << c.roi.x;
    }
}

TEST(ImageTransform, Refusals) {
    const oxBackTranslation none{0.0, 0.0};
    Image gray = make(2, 2, OX_GRAY), bgr = make(2, 2, OX_BGR), wide = make(2, 2, OX_GRAY, OX_16U);
    EXPECT_EQ(oxImageTransform(gray.get(), wide.get(), backTranslation, &none, OX_TRANSFORM_BILINEAR), 1);
    EXPECT_EQ(oxImageTransform(bgr.get(), bgr.get(), backTranslation, &none, OX_TRANSFORM_BILINEAR), 1);
    EXPECT_EQ(oxImageTransform(gray.get(), gray.get(), backTranslation, &none, 1), 1);
    EXPECT_EQ(oxImageTransform(gray.get(), gray.get(), nullptr, &none, OX_TRANSFORM_BILINEAR), 1);
    oxImage* unknown = oxImageCreateHeaderWithType(2, 2, OX_GRAY, 7);
    EXPECT_EQ(oxImageTransform(unknown, unknown, backTranslation, &none, OX_TRANSFORM_BILINEAR), 1);
    oxImageReleaseHeader(&unknown);
    gray->roi = {0, 0, 0, 2};
    EXPECT_EQ(oxImageTransform(bgr.get(), gray.get(), backTranslation, &none, OX_TRANSFORM_BILINEAR), 1);
    Image other = make(2, 2, OX_GRAY);
    EXPECT_EQ(oxImageTransform(other.get(), gray.get(), backTranslation, &none, OX_TRANSFORM_BILINEAR), 0);
}
