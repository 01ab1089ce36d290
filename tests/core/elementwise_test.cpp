#include <gtest/gtest.h>

#include <cstring>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

Image filled(int32_t width, int32_t height, int32_t encoding, uint8_t value) {
    Image img = make(width, height, encoding);
    std::memset(img->data, value, byteCount(img.get()));
    return img;
}

}  // namespace

TEST(AddWeigthed, EveryImageWalksItsOwnRoi) {
    Image a = fromBytes(3, 2, OX_GRAY, {9, 10, 20, 9, 30, 40}), b = filled(2, 2, OX_GRAY, 0);
    Image mask = fromBytes(3, 3, OX_GRAY, {1, 1, 1, 0, 0, 1, 0, 0, 1}), dst = filled(4, 3, OX_GRAY, 7);
    a->roi = {1, 0, 2, 2};
    mask->roi = {0, 1, 2, 2};
    dst->roi = {2, 1, 2, 2};
    ASSERT_EQ(oxAddWeigthedM(a.get(), b.get(), dst.get(), mask.get()), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{7, 7, 7, 7, 7, 7, 10, 20, 7, 7, 30, 40}));
}

TEST(Substitute, MaskDecidesPerChannelOrPerPixel) {
    struct Case {
        int32_t srcEnc, maskEnc, dstEnc;
        std::initializer_list<uint8_t> src, mask, dst, want;
    } cases[] = {
        {OX_BGR, OX_BGR, OX_RGB, {1, 2, 3}, {0, 5, 0}, {7, 8, 9}, {7, 2, 9}},             // channel 2 only
        {OX_BGR, OX_RGB, OX_RGB, {1, 2, 3}, {0, 0, 5}, {7, 8, 9}, {7, 8, 1}},             // mask's own order
        {OX_BGR, OX_GRAY, OX_RGBA, {1, 2, 3}, {1}, {7, 8, 9, 4}, {3, 2, 1, 4}},           // alpha kept
        {OX_GRAY, OX_GRAY, OX_GRAY, {5}, {1}, {0}, {5}},
    };
    for (const Case& c : cases) {
        Image src = fromBytes(1, 1, c.srcEnc, c.src), mask = fromBytes(1, 1, c.maskEnc, c.mask);
        Image dst = fromBytes(1, 1, c.dstEnc, c.dst);
        ASSERT_EQ(oxSubstitute(src.get(), dst.get(), mask.get()), 0);
        EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(c.want)) << c.srcEnc << " " << c.maskEnc << " " << c.dstEnc;
    }
}

TEST(Transpose, WholeImagesAndInBoundsGeometryOnly) {
    Image src = fromBytes(3, 2, OX_BGR, {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5, 5, 5, 6, 6, 6});
    Image dst = make(2, 3, OX_BGR), part = make(1, 2, OX_BGR);
    ASSERT_EQ(oxTranspose(src.get(), dst.get()), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{1, 1, 1, 4, 4, 4, 2, 2, 2, 5, 5, 5, 3, 3, 3, 6, 6, 6}));
    ASSERT_EQ(oxTranspose(src.get(), part.get()), 0);  // a smaller destination reads inside src
    EXPECT_EQ(bytesOf(part.get()), (std::vector<uint8_t>{1, 1, 1, 2, 2, 2}));
    Image tall = filled(2, 4, OX_BGR, 0x5A), grey = make(2, 3, OX_GRAY);
    EXPECT_EQ(oxTranspose(src.get(), tall.get()), 1);
    EXPECT_EQ(oxTranspose(src.get(), grey.get()), 1);  // a grey pixel cannot take 3 bytes
    EXPECT_EQ(bytesOf(tall.get()), std::vector<uint8_t>(24, 0x5A));
}

// Walks that would leave a buffer are refused and write nothing; a wider
// destination ROI stays in bounds and is accepted.
TEST(ElementwiseBounds, RefusedWalksWriteNothing) {
    struct Case {
        int which;  // 0 = b, 1 = dst, 2 = mask
        oxRect roi;
        int32_t status;
    } cases[] = {{1, {0, 0, 2, 3}, 1}, {2, {1, 1, 2, 2}, 1}, {0, {1, 0, 3, 3}, 1}, {1, {-1, 0, 3, 3}, 1},
                 {1, {0, 0, 4, 3}, 0}};
    for (const Case& c : cases) {
        Image a = noise(3, 3, OX_BGR, OX_8U, 6), b = noise(3, 3, OX_BGR, OX_8U, 7);
        Image dst = filled(4, 3, OX_BGR, 0x5A), mask = filled(3, 3, OX_GRAY, 1);
        dst->roi = {0, 0, 3, 3};
        std::vector<oxImage*>{b.get(), dst.get(), mask.get()}[c.which]->roi = c.roi;
        const std::vector<uint8_t> before = bytesOf(dst.get());
        // The mask takes no part in the single-weight blend, b none in the substitution.
        const int32_t s = c.which == 2 ? c.status : oxAddWeigthedS(a.get(), b.get(), dst.get(), 9);
        const int32_t sub = c.which == 0 ? c.status : oxSubstitute(a.get(), dst.get(), mask.get());
        EXPECT_EQ(oxAddWeigthedM(a.get(), b.get(), dst.get(), mask.get()), c.status) << c.which << " " << c.roi.x;
        EXPECT_EQ(s, c.status) << c.which;
        EXPECT_EQ(sub, c.status) << c.which;
        EXPECT_TRUE(c.status == 0 || bytesOf(dst.get()) == before) << c.which;
    }
    // Weight 0 takes the copy shortcut, which refuses a wider type all the same.
    Image a = noise(1, 1, OX_BGR, OX_8U, 1), b = noise(1, 1, OX_RGB, OX_8U, 2), wide = make(1, 1, OX_BGR, OX_16U);
    EXPECT_EQ(oxAddWeigthedS(a.get(), b.get(), wide.get(), 0), 1);
}
