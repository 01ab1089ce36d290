#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;
using Bytes = std::vector<uint8_t>;

static Image filled(int32_t w, int32_t h, int32_t enc, const Bytes& px) {
    Image img = make(w, h, enc);
    for (size_t i = 0; i < byteCount(img.get()); ++i) img->data[i] = px[i % px.size()];
    return img;
}

static int sharpen(double amount, const oxImage* s, oxImage* d, const oxImage* m = nullptr, const int32_t* stop = 0) {
    const oxSharpenParams p{amount};
    return oxSharpenFilter(&p, s, m, d, stop);
}

TEST(HighBoost, WorkedValues) {
    struct Case { const char* name; int32_t w, srcEnc, dstEnc; Bytes src; oxHighBoostParams p; Bytes out; };
    const Case cases[] = {  // out: the first bytes of dst, which starts as 77 everywhere
        {"flat: ratio in float (double: 134, 80)", 2, OX_BGR, OX_BGR, {0, 150, 90}, {1, {1, 1}, 0.9f, 2}, {0, 135, 81}},
        {"blue saturates: all held back", 2, OX_BGR, OX_RGBA, {200, 50, 50}, {1, {1, 1}, 2, 10}, {63, 63, 255, 77}},
        {"red saturates alone", 2, OX_BGR, OX_BGR, {50, 50, 200}, {1, {1, 1}, 2, 10}, {100, 100, 255}},
        {"mean 0: undivided", 3, OX_GRAY, OX_GRAY, {0, 1, 0}, {1, {1, 0}, 200, 300}, {0, 200, 0}},
        {"disabled: dst untouched", 2, OX_BGR, OX_BGR, {0, 150, 90}, {0, {1, 1}, 0.9f, 2}, {77, 77, 77, 77}},
    };
    for (const Case& c : cases) {
        const int32_t h = c.p.blur.radiusY ? 2 : 1;
        Image src = filled(c.w, h, c.srcEnc, c.src), dst = filled(c.w, h, c.dstEnc, {77});
        ASSERT_EQ(oxHighBoostFilter(&c.p, src.get(), dst.get(), nullptr), 0) << c.name;
        EXPECT_EQ(Bytes(dst->data, dst->data + c.out.size()), c.out) << c.name;
    }
}

// Byte 0 (20) differs from every right-column pixel, and flat channel 2 shows
// channel 1's detail in its top and bottom rows. Past 255 the low 8 bits stay.
TEST(Sharpen, WorkedValues) {
    const Bytes in = {20, 30, 200, 50, 30, 100, 50, 30, 250, 50, 30, 100, 50, 30, 100, 50, 30, 250,
                      90, 30, 100, 50, 30, 240, 50, 30, 200, 50, 30, 100, 50, 30, 250, 50, 30, 100};
    struct Case { double amount; bool inPlace; Bytes out; } cases[] = {  // in place, byte 0 is sharpened first
        {0.30000001192092896, false, {10, 28, 182, 43, 27, 65, 34, 24, 206, 36, 23, 39, 43, 28, 90, 44, 25, 231,
                                      82, 24, 64, 43, 21, 195, 44, 29, 182, 47, 28, 65, 34, 25, 206, 36, 23, 39}},
        {-1.0, true, {50, 34, 2, 72, 38, 215, 103, 38, 124, 94, 41, 31, 72, 36, 131, 67, 45, 53,
                      116, 45, 210, 72, 53, 122, 67, 31, 2, 58, 36, 214, 103, 36, 124, 94, 41, 31}},
    };
    for (const Case& c : cases) {
        Image src = filled(4, 3, OX_BGR, in), out = make(4, 3, OX_BGR);
        ASSERT_EQ(sharpen(c.amount, src.get(), c.inPlace ? src.get() : out.get()), 0);
        EXPECT_EQ(bytesOf(c.inPlace ? src.get() : out.get()), c.out) << c.amount;
    }
}

// Weight 0 keeps the input and 255 the sharpened image, in place too.
TEST(Sharpen, MaskBlendsWithTheInput) {
    const Bytes input = bytesOf(noise(9, 7, OX_BGR, OX_8U, 6).get());
    auto run = [&](double amount, bool inPlace, Image mask) {
        Image src = filled(9, 7, OX_BGR, input), out = make(9, 7, OX_BGR);
        EXPECT_EQ(sharpen(amount, src.get(), inPlace ? src.get() : out.get(), mask.get()), 0);
        return bytesOf(inPlace ? src.get() : out.get());
    };
    for (bool inPlace : {false, true}) {
        const Bytes sharpened = run(0.3, inPlace, nullptr);
        EXPECT_EQ(run(0.3, inPlace, filled(9, 7, OX_GRAY, {0})), input) << inPlace;
        EXPECT_EQ(run(0.3, inPlace, filled(9, 7, OX_GRAY, {255})), sharpened) << inPlace;
    }
}

TEST(Detail, RefusalsLeaveDestination) {
    const int32_t raised = 1;
    struct Case { const char* name; bool sharpen; int32_t w, h, enc, dstW, roiW; const int32_t* stop; int32_t status; };
    const Case cases[] = {
        {"boost aborted gives 1", false, 6, 5, OX_BGR, 6, 6, &raised, 1},
        {"boost of a grey ROI narrower than its image", false, 6, 5, OX_GRAY, 6, 5, nullptr, 1},
        {"boost walk leaves dst", false, 6, 5, OX_BGR, 5, 6, nullptr, 1},
        {"sharpen grey source", true, 5, 4, OX_GRAY, 5, 5, nullptr, 1},
        {"sharpen one row", true, 5, 1, OX_BGR, 5, 5, nullptr, 1},
        {"sharpen narrower dst", true, 5, 4, OX_RGBA, 4, 5, nullptr, 1},
        {"sharpen aborted", true, 5, 4, OX_BGR, 5, 5, &raised, 2},
    };
    const oxHighBoostParams p{1, {1, 1}, 0.9f, 2};
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.enc, OX_8U, 3), dst = noise(c.dstW, c.h, OX_BGR, OX_8U, 4);
        src->roi.width = c.roiW;
        const uint64_t before = hashImage(dst.get());
        EXPECT_EQ(c.sharpen ? sharpen(0.3, src.get(), dst.get(), nullptr, c.stop)
                            : oxHighBoostFilter(&p, src.get(), dst.get(), c.stop), c.status) << c.name;
        EXPECT_EQ(hashImage(dst.get()), before) << c.name;
    }
}

// Whole 4-channel outputs, so that faster forms cannot change a bit unnoticed.
TEST(Detail, GoldenHashes) {
    const oxHighBoostParams p{1, {3, 2}, 0.9f, 2};
    Image src = noise(31, 17, OX_RGBA, OX_8U, 9), dst = noise(31, 17, OX_RGBA, OX_8U, 10);
    ASSERT_EQ(oxHighBoostFilter(&p, src.get(), dst.get(), nullptr), 0);
    EXPECT_EQ(hashImage(dst.get()), 2604142458958882525ull);
    ASSERT_EQ(sharpen(0.3, dst.get(), dst.get()), 0);
    EXPECT_EQ(hashImage(dst.get()), 15454631370884671539ull);
}

// High boost over every layout it walks: grey and colour sources, other
// destination encodings, ROIs, in place, ratios that saturate and radii
// that skip a pass. The destination starts as noise, so bytes the filter
// must not write are part of the hash.
TEST(HighBoost, PinnedOutputsOfEveryLayout) {
    struct Case {
        int32_t srcEnc, dstEnc, w, h;
        oxHighBoostParams p;
        bool roi, inPlace;
        uint64_t hash;
    } cases[] = {
        {OX_BGR, OX_BGR, 1031, 6, {1, {3, 3}, 0.9f, 2.0f}, false, false, 0x52ad36f5189a0ebeull},
        {OX_BGR, OX_BGR, 33, 21, {1, {3, 3}, 0.9f, 2.0f}, false, true, 0xb17c4a37a82492daull},
        {OX_RGB, OX_RGBA, 29, 13, {1, {2, 1}, 1.7f, 3.0f}, false, false, 0x2a172f532ccb77ecull},
        {OX_ARGB, OX_BGR, 17, 15, {1, {1, 4}, 3.0f, 1.5f}, false, false, 0xb239ea2285c48212ull},
        {OX_RGBA, OX_RGBA, 23, 11, {1, {0, 0}, 1.2f, 9.0f}, false, true, 0xeef80b9428d8eaf6ull},
        {OX_BGR, OX_BGR, 40, 20, {1, {3, 3}, 0.9f, 2.0f}, true, false, 0xe618d3d194b1efc1ull},
        {OX_GRAY, OX_GRAY, 1031, 5, {1, {3, 3}, 0.9f, 2.0f}, false, false, 0x607b5d5b91570f82ull},
        {OX_GRAY, OX_GRAY, 19, 19, {1, {4, 0}, 2.5f, 2.0f}, false, true, 0xa59df967e1564d7dull},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, OX_8U, static_cast<uint32_t>(c.w + c.h));
        Image dst = noise(c.w, c.h, c.dstEnc, OX_8U, 5);
        if (c.roi) src->roi = dst->roi = {3, 2, c.w - 7, c.h - 5};
        oxImage* out = c.inPlace ? src.get() : dst.get();
        ASSERT_EQ(oxHighBoostFilter(&c.p, src.get(), out, nullptr), 0) << &c - cases;
        EXPECT_EQ(hashImage(out), c.hash) << &c - cases;
    }
}
