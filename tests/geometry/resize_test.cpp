#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "support/photos.hpp"
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

TEST(Resize, BilinearIsPinned) {
    Image src = noise(37, 23, OX_BGR, OX_8U, 9);
    EXPECT_EQ(hashImage(resized(src.get(), 16, 11, 0).get()), 7966265261562652812ull);
    EXPECT_EQ(hashImage(resized(src.get(), 80, 51, 0).get()), 16104243632728090140ull);
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

// Whole destination buffers (pixels outside the target ROI and channels the
// resize does not write included) pinned by hash, so that the interleaved
// and vectorised paths cannot move a byte.
namespace {

struct Side {
    int32_t w, h, encoding;
    oxRect roi;  // width 0: the whole image
};

struct Pinned {
    const char* name;
    const char* photo;  // null: seeded noise of the source's size
    Side src, dst;
    int32_t mode, type;
    uint64_t hash;
};

Image sideImage(const Side& s, int32_t type, uint32_t seed) {
    Image img = noise(s.w, s.h, s.encoding, type, seed);
    if (s.roi.width) img->roi = s.roi;
    return img;
}

void expectPinned(const Pinned& c, Image src) {
    if (c.src.roi.width) src->roi = c.src.roi;
    Image dst = sideImage(c.dst, c.type, 77);
    ASSERT_EQ(oxResize(src.get(), dst.get(), c.mode, nullptr), 0) << c.name;
    EXPECT_EQ(hashImage(dst.get()), c.hash) << c.name << ": got 0x" << std::hex << hashImage(dst.get());
}

// Dimensions chosen so that ratios fall on and between source samples, with
// long zero-weight tails, sources of one row or column, and channel orders
// that differ between the two sides.
const Pinned kPinned[] = {
    // name                 photo          src {w, h, enc, roi}                       dst {w, h, enc, roi}                     mode type hash
    {"grey_1x1_up",          nullptr, {1, 1, OX_GRAY, {}},                 {33, 7, OX_GRAY, {}},                 0, OX_8U, 0x21aaa180535f47eaull},
    {"grey_row_down",        nullptr, {1031, 1, OX_GRAY, {}},              {17, 2, OX_GRAY, {}},                 0, OX_8U, 0x6fc31d73294d0183ull},
    {"grey_column_up",       nullptr, {1, 9, OX_GRAY, {}},                 {1031, 3, OX_GRAY, {}},               0, OX_8U, 0xf7f2ee02a4847130ull},
    {"grey_awkward",         nullptr, {33, 31, OX_GRAY, {}},               {29, 37, OX_GRAY, {}},                0, OX_8U, 0xbd22ef036be37030ull},
    {"grey_rois",            nullptr, {40, 30, OX_GRAY, {3, 5, 31, 17}},   {50, 20, OX_GRAY, {7, 2, 41, 15}},    0, OX_8U, 0xd5b84c6315f2f714ull},
    {"bgr_2_wide",           nullptr, {2, 3, OX_BGR, {}},                  {1031, 5, OX_BGR, {}},                0, OX_8U, 0x05730ea7beaa1b01ull},
    {"bgr_down_3_9",         nullptr, {401, 301, OX_BGR, {}},              {103, 77, OX_BGR, {}},                0, OX_8U, 0xc4af5c4ffa0e4d8bull},
    {"bgr_up_3_9",           nullptr, {103, 77, OX_BGR, {}},               {401, 301, OX_BGR, {}},               0, OX_8U, 0x322616d302437ec2ull},
    {"bgr_rois",             nullptr, {64, 48, OX_BGR, {5, 7, 33, 21}},    {70, 60, OX_BGR, {9, 11, 19, 45}},    0, OX_8U, 0xfc1cd858d1b7cd24ull},
    {"bgr_last_rows",        nullptr, {20, 20, OX_BGR, {7, 13, 13, 7}},    {31, 30, OX_BGR, {0, 5, 31, 25}},     0, OX_8U, 0xdd1ddd78cbd75443ull},
    {"rgba_awkward",         nullptr, {31, 9, OX_RGBA, {}},                {7, 29, OX_RGBA, {}},                 0, OX_8U, 0x0818d02fd72af2c0ull},
    {"argb_rois",            nullptr, {45, 40, OX_ARGB, {1, 2, 43, 37}},   {60, 50, OX_ARGB, {3, 4, 51, 13}},    0, OX_8U, 0x8e7888305945ee54ull},
    {"rgb_into_bgr",         nullptr, {23, 17, OX_RGB, {}},                {41, 9, OX_BGR, {}},                  0, OX_8U, 0x0d942ac0dce5f01full},
    {"bgr_into_rgba",        nullptr, {23, 17, OX_BGR, {}},                {41, 9, OX_RGBA, {}},                 0, OX_8U, 0x06c780f2ead96c7bull},
    {"argb_into_rgba",       nullptr, {19, 21, OX_ARGB, {}},               {13, 40, OX_RGBA, {}},                0, OX_8U, 0x0f836caa0fef4ccaull},
    {"bgr_equal_sizes",      nullptr, {57, 13, OX_BGR, {}},                {57, 13, OX_BGR, {}},                 0, OX_8U, 0x9a058dc7de59080bull},
    {"photo_down",           "coffee.png", {600, 400, OX_BGR, {}},         {157, 101, OX_BGR, {}},               0, OX_8U, 0x3ec7c721ea89ecf5ull},
    {"photo_up",             "chelsea.png", {451, 300, OX_BGR, {}},        {1031, 677, OX_BGR, {}},              0, OX_8U, 0x8d5e1fe3039532cbull},
    {"photo_roi",            "astronaut.png", {512, 512, OX_BGR, {100, 60, 301, 203}}, {700, 300, OX_BGR, {11, 13, 640, 280}}, 0, OX_8U, 0x4f9ae7968a3918e2ull},
    {"nearest_grey",         nullptr, {33, 31, OX_GRAY, {2, 3, 29, 27}},   {70, 20, OX_GRAY, {1, 1, 67, 17}},    -1, OX_8U, 0x96b6e0a810252dc4ull},
    {"nearest_bgr",          nullptr, {401, 301, OX_BGR, {}},              {103, 777, OX_BGR, {}},               -1, OX_8U, 0x9218706d5559c9baull},
    {"nearest_rgba",         nullptr, {31, 9, OX_RGBA, {1, 1, 29, 7}},     {1031, 5, OX_RGBA, {}},               -1, OX_8U, 0xf0e195f781a8f1f8ull},
    {"nearest_16u",          nullptr, {17, 13, OX_RGBA, {}},               {40, 6, OX_RGBA, {2, 0, 37, 5}},      -1, OX_16U, 0x2305a0e7504baba2ull},
    {"nearest_32f",          nullptr, {17, 13, OX_BGR, {}},                {5, 30, OX_BGR, {}},                  -1, OX_32F, 0x18ad01bd0ec77897ull},
    {"nearest_64f",          nullptr, {17, 13, OX_GRAY, {3, 2, 11, 9}},    {23, 19, OX_GRAY, {}},                -1, OX_64F, 0x2530001ae714d296ull},
};

class ResizePinned : public testing::TestWithParam<Pinned> {};

TEST_P(ResizePinned, WholeDestination) {
    const Pinned& c = GetParam();
    if (!c.photo) return expectPinned(c, sideImage({c.src.w, c.src.h, c.src.encoding, {}}, c.type, 5));
    OX_LOAD_PHOTO(photo, c.photo);
    Image src = make(c.src.w, c.src.h, OX_BGR);
    ASSERT_EQ(oxResize(photo.get(), src.get(), OX_RESIZE_BILINEAR, nullptr), 0);
    expectPinned(c, std::move(src));
}

INSTANTIATE_TEST_SUITE_P(Cases, ResizePinned, testing::ValuesIn(kPinned),
                         [](const testing::TestParamInfo<Pinned>& info) { return std::string(info.param.name); });

}  // namespace

// The caller-scratch forms with buffers of exactly the documented size (a
// path that needed more would be caught by the address sanitizer) give the
// allocating form's bytes; without a buffer they refuse.
TEST(Resize, CallerScratchFormsMatchTheAllocatingForm) {
    struct Case {
        int32_t sw, sh, dw, dh, encoding;
    } cases[] = {{37, 23, 16, 11, OX_BGR}, {16, 11, 80, 51, OX_RGBA}, {1, 1, 1031, 2, OX_BGR}, {1031, 2, 1, 1, OX_GRAY},
                 {9, 7, 33, 1, OX_GRAY}};
    for (const Case& c : cases) {
        Image src = noise(c.sw, c.sh, c.encoding, OX_8U, 6);
        const std::vector<uint8_t> want = bytesOf(resized(src.get(), c.dw, c.dh, OX_RESIZE_BILINEAR).get());
        Image dst = make(c.dw, c.dh, c.encoding);
        std::vector<uint8_t> scratch(oxResizeGetTempBufferSize(src.get(), dst.get(), OX_RESIZE_BILINEAR));
        ASSERT_EQ(oxResizeOpt(src.get(), dst.get(), OX_RESIZE_BILINEAR, nullptr, scratch.data()), 0);
        EXPECT_EQ(bytesOf(dst.get()), want) << c.sw << "x" << c.sh << " -> " << c.dw << "x" << c.dh;
        if (c.encoding != OX_GRAY) {
            EXPECT_EQ(oxResizeOpt(src.get(), dst.get(), OX_RESIZE_BILINEAR, nullptr, nullptr), 1);
            continue;
        }
        std::vector<int32_t> work((16 * c.dw + 8 * c.dh) / sizeof(int32_t));
        std::fill_n(dst->data, byteCount(dst.get()), 0);
        ASSERT_EQ(oxResize1C(src.get(), dst.get(), OX_RESIZE_BILINEAR, work.data()), 0);
        EXPECT_EQ(bytesOf(dst.get()), want);
        EXPECT_EQ(oxResize1C(src.get(), dst.get(), OX_RESIZE_BILINEAR, nullptr), 1);
    }
}

// Source and target ROIs in one image: a grey image is read row by row as
// the target is written, a colour image channel by channel. Both orders
// show in the bytes, so they are pinned.
TEST(Resize, SourceAndTargetInOneImage) {
    struct Case {
        int32_t encoding, mode;
        oxRect from, to;
        uint64_t hash;
    } cases[] = {
        {OX_GRAY, OX_RESIZE_BILINEAR, {0, 0, 20, 15}, {3, 2, 37, 28}, 0xe90de5e8c3dab833ull},
        {OX_GRAY, OX_RESIZE_BILINEAR, {5, 4, 35, 26}, {0, 0, 17, 13}, 0xda70c5a2ccac65f0ull},
        {OX_BGR, OX_RESIZE_BILINEAR, {0, 0, 20, 15}, {3, 2, 37, 28}, 0xfa5c2fdae2a63e54ull},
        {OX_RGBA, OX_RESIZE_BILINEAR, {5, 4, 35, 26}, {0, 0, 17, 13}, 0xe48bc4de26c442f3ull},
        {OX_BGR, OX_RESIZE_NEAREST, {0, 0, 20, 15}, {3, 2, 37, 28}, 0x4c5988f2b3390f13ull},
        {OX_BGR, OX_RESIZE_NEAREST, {5, 4, 35, 26}, {0, 0, 17, 13}, 0xbb9086e65dcbc01cull},
    };
    for (const Case& c : cases) {
        Image img = noise(40, 30, c.encoding, OX_8U, 8);
        img->roi = c.from;
        std::unique_ptr<oxImage, void (*)(oxImage*)> header(oxImageCreateHeader(40, 30, c.encoding),
                                                            [](oxImage* h) { oxImageReleaseHeader(&h); });
        header->data = img->data;
        header->roi = c.to;
        ASSERT_EQ(oxResize(img.get(), header.get(), c.mode, nullptr), 0);
        EXPECT_EQ(hashImage(img.get()), c.hash) << c.encoding << "/" << c.mode << ": got 0x" << std::hex << hashImage(img.get());
    }
}
