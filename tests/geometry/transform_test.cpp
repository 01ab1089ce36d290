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
        for (int32_t mode : {0, -1}) {
            Image dst = make(7, 5, OX_GRAY, type);
            std::memset(dst->data, 0, byteCount(dst.get()));
            ASSERT_EQ(oxImageTransform(src.get(), dst.get(), backRotation, &identity, mode), 0);
            EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get())) << type << " mode " << mode;
        }
    }
}

TEST(ImageTransform, BilinearTruncatesAndOutsidePixelsKeepTheirValues) {
    Image src = fromBytes(2, 1, OX_GRAY, {254, 255});
    Image dst = fromBytes(3, 1, OX_GRAY, {9, 9, 9});
    const oxBackTranslation halfRight{-0.5, 0.0};  // dst x maps to src x + 0.5
    ASSERT_EQ(oxImageTransform(src.get(), dst.get(), backTranslation, &halfRight, 0), 0);
    // 254.5 stored as 254; x = 1 maps to 1.5, beyond the last column: kept.
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{254, 9, 9}));
    ASSERT_EQ(oxImageTransform(src.get(), dst.get(), backTranslation, &halfRight, -1), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{254, 9, 9}));
}

TEST(ImageTransform, ScalingEnlargesAboutTheCentreWithinTheDestinationRoi) {
    Image src = fromBytes(4, 1, OX_GRAY, {10, 20, 30, 40});
    Image dst = fromBytes(4, 1, OX_GRAY, {0, 0, 0, 0});
    const oxBackScaling twice{2.0, 0.0, 2.0};
    const oxRect roi{1, 0, 3, 1};
    oxImageSetROI(dst.get(), &roi);
    ASSERT_EQ(oxImageTransform(src.get(), dst.get(), backScaling, &twice, 0), 0);
    // x = 1, 2, 3 map to 1.5, 2, 2.5; x = 0 is outside the destination ROI.
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{0, 25, 30, 35}));
}

TEST(ImageTransform, Refusals) {
    const oxBackTranslation none{0.0, 0.0};
    Image gray = make(2, 2, OX_GRAY), bgr = make(2, 2, OX_BGR), wide = make(2, 2, OX_GRAY, OX_16U);
    EXPECT_EQ(oxImageTransform(gray.get(), wide.get(), backTranslation, &none, 0), 1);
    EXPECT_EQ(oxImageTransform(bgr.get(), bgr.get(), backTranslation, &none, 0), 1);
    EXPECT_EQ(oxImageTransform(gray.get(), gray.get(), backTranslation, &none, 1), 1);
    EXPECT_EQ(oxImageTransform(gray.get(), gray.get(), nullptr, &none, 0), 1);
    oxImage* unknown = oxImageCreateHeaderWithType(2, 2, OX_GRAY, 7);
    EXPECT_EQ(oxImageTransform(unknown, unknown, backTranslation, &none, 0), 1);
    oxImageReleaseHeader(&unknown);
    const oxRect empty{0, 0, 0, 2};
    oxImageSetROI(gray.get(), &empty);
    EXPECT_EQ(oxImageTransform(bgr.get(), gray.get(), backTranslation, &none, 0), 1);
    Image other = make(2, 2, OX_GRAY);
    EXPECT_EQ(oxImageTransform(other.get(), gray.get(), backTranslation, &none, 0), 0);
}
