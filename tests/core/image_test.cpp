#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(ImageCreate, SizesCodesAndWhatCreateAsCopies) {
    EXPECT_EQ(oxImageCreate(4, 3, 5), nullptr);
    EXPECT_EQ(oxImageCreate(4, 3, -1), nullptr);
    oxImage* h = oxImageCreateHeader(4, 3, 5);  // a header validates nothing
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->data, nullptr);
    oxImageReleaseHeader(&h);
    oxImageReleaseHeader(&h);  // null is ignored
    oxImageRelease(&h);
    EXPECT_EQ(h, nullptr);
    struct Case {
        int32_t encoding, type;
        size_t bytes;
    } cases[] = {{OX_RGBA, OX_8U, 48}, {OX_RGBA, OX_64F, 384}, {OX_GRAY, OX_16U, 24}, {OX_BGR, OX_32F, 144}};
    for (const Case& c : cases) {
        Image img = make(4, 3, c.encoding, c.type);
        ASSERT_TRUE(img);
        EXPECT_EQ(byteCount(img.get()), c.bytes);
        EXPECT_TRUE(img->roi.x == 0 && img->roi.width == 4 && img->roi.height == 3 && img->coi == 0);
        img->roi = {1, 1, 2, 1};
        img->coi = 2;
        Image same(oxImageCreateAs(img.get()));  // codes and size, but a full ROI and no COI
        EXPECT_TRUE(same->type == c.type && same->encoding == c.encoding && same->roi.x == 0 && same->roi.width == 4 &&
                    same->coi == 0);
    }
}

// A byte count that wraps is no buffer: null, not a short one.
TEST(ImageCreate, SizesNoBufferCanHaveGiveNull) {
    const int32_t sizes[][4] = {{1824726041, 1263665316, OX_RGBA, OX_16U},  // wraps to 32 bytes
                                {2147483647, 2147483647, OX_BGR, OX_8U},
                                {2147483647, 2147483647, OX_GRAY, OX_64F},
                                {-4, 3, OX_GRAY, OX_8U}};
    for (const auto& s : sizes) {
        EXPECT_EQ(oxImageCreateWithType(s[0], s[1], s[2], s[3]), nullptr) << s[0] << "x" << s[1];
        oxImage* h = oxImageCreateHeaderWithType(s[0], s[1], s[2], s[3]);
        EXPECT_EQ(oxImageCreateAs(h), nullptr) << s[0] << "x" << s[1];
        oxImageReleaseHeader(&h);
    }
}

TEST(ImageLookup, ChannelCountsAndOffsets) {
    struct Case {
        int32_t encoding, channel, index;
    } cases[] = {{OX_ARGB, 4, 0}, {OX_BGR, 4, -1}, {OX_GRAY, 7, 0}, {OX_GRAY, 0, 0}, {9, 1, -1}, {-1, 1, -1},
                 {OX_RGB, 1, 2},  {OX_RGBA, 4, 3}, {OX_BGR, 0, -1}, {OX_RGBA, 5, -1}};
    for (const Case& c : cases)
        EXPECT_EQ(oxGetChannelOffsetFromEncoding(c.encoding, c.channel), c.index) << c.encoding << "/" << c.channel;
    const int32_t counts[] = {1, 3, 3, 4, 4, -1};
    for (int32_t e = 0; e <= 5; ++e) EXPECT_EQ(oxGetNChannelFromEncoding(e), counts[e]);
    EXPECT_EQ(oxGetNChannelFromEncoding(-3), -1);
    // Byte offsets scale with the element size, the invalid -1 included.
    oxImage* img = oxImageCreateHeaderWithType(2, 2, OX_RGBA, OX_16U);
    EXPECT_EQ(oxImageGetChannelOffset(img, 1), 4);
    EXPECT_EQ(oxImageGetChannelOffset(img, 5), -2);
    img->type = OX_64F;
    EXPECT_EQ(oxImageGetChannelOffset(img, 0), -8);
    img->type = 99;
    EXPECT_EQ(oxImageGetChannelOffset(img, 0), 0);
    oxImageReleaseHeader(&img);
}

TEST(ImageLookup, IncompatibleEncodings) {
    struct Case {
        int32_t a, b, expected;
    } cases[] = {{OX_GRAY, OX_GRAY, 0}, {OX_BGR, OX_RGBA, 0}, {OX_GRAY, OX_BGR, 1},
                 {OX_RGB, OX_GRAY, 1},  {OX_BGR, 7, 1},        {-1, OX_GRAY, 1}};
    for (const Case& c : cases) {
        oxImage a{OX_8U, c.a, 1, 1, nullptr, {}, 0}, b{OX_8U, c.b, 1, 1, nullptr, {}, 0};
        EXPECT_EQ(oxImageHaveUncompatibleEncodings(&a, &b), c.expected);
        EXPECT_EQ(oxImageHaveUncompatibleEncodings(&b, &a), c.expected);
    }
}

TEST(ImageLookup, DerivedMembersAndResetRoi) {
    oxImage img{OX_32F, OX_BGR, 3, 10, nullptr, {2, 1, 4, 2}, 0};
    int32_t out[3];
    oxImageExtractDerivedMembers(&img, out);
    EXPECT_EQ(std::vector<int32_t>(out, out + 3), (std::vector<int32_t>{12, 120, 72}));
    oxImageResetROI(&img);
    EXPECT_TRUE(img.roi.x == 0 && img.roi.y == 0 && img.roi.width == 10 && img.roi.height == 3);
    img.encoding = 7;
    oxImageExtractDerivedMembers(&img, out);
    EXPECT_EQ(out[0], -4);
}

TEST(ImageChannels, ExtractAndInsertFollowTheRoiAndKeepOtherChannels) {
    Image rgba = fromBytes(3, 2, OX_RGBA, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12,  //
                                           13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24});
    rgba->roi = {1, 0, 2, 2};
    Image plane = make(2, 2, OX_GRAY);
    ASSERT_EQ(oxImageExtractChannel(rgba.get(), plane.get(), 1), 0);  // blue is byte 2
    EXPECT_EQ(bytesOf(plane.get()), (std::vector<uint8_t>{7, 11, 19, 23}));
    ASSERT_EQ(oxImageExtractChannel(rgba.get(), plane.get(), 4), 0);  // alpha is byte 3
    EXPECT_EQ(bytesOf(plane.get()), (std::vector<uint8_t>{8, 12, 20, 24}));
    std::memset(plane->data, 0xEE, 4);
    ASSERT_EQ(oxImageInsertChannel(plane.get(), rgba.get(), 2), 0);  // green is byte 1
    EXPECT_EQ(bytesOf(rgba.get()), (std::vector<uint8_t>{1, 2, 3, 4, 5, 0xEE, 7, 8, 9, 0xEE, 11, 12,  //
                                                         13, 14, 15, 16, 17, 0xEE, 19, 20, 21, 0xEE, 23, 24}));
}

TEST(ImageChannels, RefusalsAndEmptyRoi) {
    Image bgr = make(2, 2, OX_BGR), plane = make(2, 2, OX_GRAY), big = make(4, 4, OX_BGR);
    EXPECT_EQ(oxImageExtractChannel(bgr.get(), plane.get(), 4), 1);
    EXPECT_EQ(oxImageInsertChannel(plane.get(), bgr.get(), 0), 1);
    // A wider type gives -E, not -1: refused all the same instead of reading before the pixel.
    Image wide = make(2, 2, OX_BGR, OX_16U), widePlane = make(2, 2, OX_GRAY, OX_16U);
    EXPECT_EQ(oxImageExtractChannel(wide.get(), widePlane.get(), 4), 1);
    EXPECT_EQ(oxImageExtractChannel(big.get(), plane.get(), 1), 1);  // the plane is too small
    big->roi = {3, 3, 2, 2};
    EXPECT_EQ(oxImageExtractChannel(big.get(), plane.get(), 1), 1);  // the ROI leaves the source
    bgr->roi = {0, 0, 0, 2};
    EXPECT_EQ(oxImageExtractChannel(bgr.get(), plane.get(), 1), 0);  // copies nothing
}
