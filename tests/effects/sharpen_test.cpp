#include <gtest/gtest.h>

#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;
using Bytes = std::vector<uint8_t>;

namespace {

// w x h image repeating `px` over its whole buffer.
Image filled(int32_t w, int32_t h, int32_t enc, const Bytes& px) {
    Image img = make(w, h, enc);
    for (size_t i = 0; i < byteCount(img.get()); ++i) img->data[i] = px[i % px.size()];
    return img;
}

int32_t sharpen(double amount, const oxImage* src, oxImage* dst, const oxImage* mask = nullptr,
                const int32_t* abortFlag = nullptr) {
    const oxSharpenParams p{amount};
    return oxSharpenFilter(&p, src, mask, dst, abortFlag);
}

}  // namespace

TEST(HighBoost, WorkedValues) {
    struct Case { const char* name; int32_t w, srcEnc, dstEnc; Bytes src; oxHighBoostParams p; Bytes out; };
    const Case cases[] = {  // out: the first bytes of dst, which starts as 77 everywhere
        {"flat: ratio in float (double: 134, 80)", 2, OX_BGR, OX_BGR, {0, 150, 90}, {1, {1, 1}, 0.9f, 2}, {0, 135, 81}},
        {"maxRatio caps", 2, OX_BGR, OX_BGR, {100, 100, 100}, {1, {1, 1}, 2, 1.5f}, {150, 150, 150}},
        {"blue saturates: all held back", 2, OX_BGR, OX_RGBA, {200, 50, 50}, {1, {1, 1}, 2, 10}, {63, 63, 255, 77}},
        {"red saturates alone", 2, OX_BGR, OX_BGR, {50, 50, 200}, {1, {1, 1}, 2, 10}, {100, 100, 255}},
        {"mean 0: undivided", 3, OX_GRAY, OX_GRAY, {0, 1, 0}, {1, {1, 0}, 200, 300}, {0, 200, 0}},
    };
    for (const Case& c : cases) {
        const int32_t h = c.p.blur.radiusY ? 2 : 1;
        Image src = filled(c.w, h, c.srcEnc, c.src), dst = filled(c.w, h, c.dstEnc, {77});
        ASSERT_EQ(oxHighBoostFilter(&c.p, src.get(), dst.get(), nullptr), 0) << c.name;
        EXPECT_EQ(Bytes(dst->data, dst->data + c.out.size()), c.out) << c.name;
    }
}

// The first byte (20) differs from every right-column pixel, and channel 2
// is flat, so its top and bottom rows show channel 1's detail. In place,
// channels 2 and 3 see the sharpened first byte.
TEST(Sharpen, WorkedValues) {
    const Bytes in = {20, 30, 200, 50, 30, 100, 50, 30, 250, 50, 30, 100, 50, 30, 100, 50, 30, 250,
                      90, 30, 100, 50, 30, 240, 50, 30, 200, 50, 30, 100, 50, 30, 250, 50, 30, 100};
    struct Case { double amount; bool inPlace; Bytes out; } cases[] = {
        {0.30000001192092896, false, {10, 28, 182, 43, 27, 65, 34, 24, 206, 36, 23, 39, 43, 28, 90, 44, 25, 231,
                                      82, 24, 64, 43, 21, 195, 44, 29, 182, 47, 28, 65, 34, 25, 206, 36, 23, 39}},
        {0.30000001192092896, true, {10, 28, 182, 43, 27, 64, 34, 22, 206, 36, 21, 39, 43, 28, 90, 44, 25, 231,
                                     82, 23, 63, 43, 20, 194, 44, 29, 182, 47, 28, 65, 34, 22, 206, 36, 21, 39}},
        {-1.0, false, {50, 34, 2, 72, 38, 216, 103, 47, 138, 94, 50, 46, 72, 36, 131, 67, 45, 55,  // low 8 bits
                       116, 49, 218, 72, 57, 132, 67, 31, 2, 58, 36, 215, 103, 45, 138, 94, 50, 45}},
    };
    for (const Case& c : cases) {
        Image src = filled(4, 3, OX_BGR, in), out = make(4, 3, OX_BGR);
        ASSERT_EQ(sharpen(c.amount, src.get(), c.inPlace ? src.get() : out.get()), 0);
        EXPECT_EQ(bytesOf(c.inPlace ? src.get() : out.get()), c.out) << c.amount << (c.inPlace ? " in place" : "");
    }
}

// Weight 0 keeps the input and 255 the sharpened image, in place too (the
// blend starts from an untouched copy); amount 0 changes nothing.
TEST(Sharpen, MaskBlendsWithTheInput) {
    const Bytes input = bytesOf(noise(9, 7, OX_BGR, OX_8U, 6).get());
    auto run = [&](double amount, bool inPlace, Image mask) {
        Image src = filled(9, 7, OX_BGR, input), out = make(9, 7, OX_BGR);
        EXPECT_EQ(sharpen(amount, src.get(), inPlace ? src.get() : out.get(), mask.get()), 0);
        return bytesOf(inPlace ? src.get() : out.get());
    };
    for (bool inPlace : {false, true}) {
        const Bytes sharpened = run(0.3, inPlace, nullptr);
        EXPECT_NE(sharpened, input);
        EXPECT_EQ(run(0.0, inPlace, nullptr), input) << inPlace;
        EXPECT_EQ(run(0.3, inPlace, filled(9, 7, OX_GRAY, {0})), input) << inPlace;
        EXPECT_EQ(run(0.3, inPlace, filled(9, 7, OX_GRAY, {255})), sharpened) << inPlace;
    }
}

TEST(Detail, RefusalsLeaveDestination) {
    const int32_t raised = 1;
    struct Case {
        const char* name;
        bool sharpen;
        int32_t w, h, srcEnc, dstW, dstEnc, roiW, enabled;  // roiW 0: full ROI
        const int32_t* abort;
        int32_t status;
    } cases[] = {
        {"boost disabled", false, 6, 5, OX_BGR, 6, OX_BGR, 0, 0, nullptr, 0},
        {"boost aborted gives 1", false, 6, 5, OX_BGR, 6, OX_BGR, 0, 1, &raised, 1},
        {"boost of a grey ROI narrower than its image", false, 6, 5, OX_GRAY, 6, OX_BGR, 5, 1, nullptr, 1},
        {"boost walk leaves dst", false, 6, 5, OX_BGR, 5, OX_BGR, 0, 1, nullptr, 1},
        {"boost ROI not wider than the radius", false, 6, 5, OX_BGR, 6, OX_BGR, 1, 1, nullptr, 1},
        {"sharpen grey source", true, 5, 4, OX_GRAY, 5, OX_BGR, 0, 1, nullptr, 1},
        {"sharpen grey destination", true, 5, 4, OX_BGR, 5, OX_GRAY, 0, 1, nullptr, 1},
        {"sharpen one row", true, 5, 1, OX_BGR, 5, OX_BGR, 0, 1, nullptr, 1},
        {"sharpen narrower dst", true, 5, 4, OX_RGBA, 4, OX_BGR, 0, 1, nullptr, 1},
        {"sharpen aborted", true, 5, 4, OX_BGR, 5, OX_BGR, 0, 1, &raised, 2},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, OX_8U, 3), dst = noise(c.dstW, c.h, c.dstEnc, OX_8U, 4);
        if (c.roiW) src->roi.width = c.roiW;
        const oxHighBoostParams p{c.enabled, {1, 1}, 0.9f, 2};
        const uint64_t before = hashImage(dst.get());
        EXPECT_EQ(c.sharpen ? sharpen(0.3, src.get(), dst.get(), nullptr, c.abort)
                            : oxHighBoostFilter(&p, src.get(), dst.get(), c.abort), c.status) << c.name;
        EXPECT_EQ(hashImage(dst.get()), before) << c.name;
    }
}

// Whole outputs on awkward sizes, so that faster forms cannot change a bit
// unnoticed; and the defaults.
TEST(Detail, GoldenHashesAndDefaults) {
    oxHighBoostParams* hp = oxHighBoostParamsDefault();
    oxSharpenParams* sp = oxSharpenParamsDefault();
    EXPECT_TRUE(hp->blur.radiusX == 1 && hp->blur.radiusY == 1 && sp->amount == 0.30000001192092896);
    oxHighBoostParamsRelease(&hp);
    oxSharpenParamsRelease(&sp);
    const oxHighBoostParams p{1, {3, 2}, 0.9f, 2};
    struct Case { int32_t w, h, enc; bool sharpen; uint64_t hash; } cases[] = {
        {31, 17, OX_BGR, false, 11664514172597440070ull}, {17, 31, OX_GRAY, false, 16274308919731450622ull},
        {31, 17, OX_BGR, true, 1875317812178010155ull}, {17, 3, OX_RGBA, true, 13113001675322199845ull}};
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.enc, OX_8U, 9), dst = noise(c.w, c.h, c.enc, OX_8U, 10);
        ASSERT_EQ(c.sharpen ? sharpen(0.3, src.get(), dst.get()) : oxHighBoostFilter(&p, src.get(), dst.get(), nullptr), 0);
        EXPECT_EQ(hashImage(dst.get()), c.hash) << c.w << "x" << c.h;
    }
}
