#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

struct BilateralDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};

Image copyOf(const oxImage* img) {
    Image c = make(img->width, img->height, img->encoding);
    std::memcpy(c->data, img->data, byteCount(img));
    return c;
}

// The effect composed from its building blocks with the sigmas written out:
// work = src resized to workW x workH (or src itself), passes, back, boost.
Image composed(const oxImage* src, int32_t workW, int32_t workH, double space, double range, bool firstInPlace) {
    const bool scaled = workW != 0;
    Image work = scaled ? make(workW, workH, src->encoding) : copyOf(src);
    if (scaled) oxResize(src, work.get(), 0, nullptr);
    Image out = copyOf(work.get());
    std::unique_ptr<oxBilateralParams, BilateralDeleter> p(oxBilateralParamsDefault());
    p->spaceSigma = space, p->rangeSigma = range;
    for (int32_t i = 0; i < 3; ++i) oxBilateralFilter(p.get(), i || firstInPlace ? out.get() : work.get(), out.get());
    if (scaled) {
        Image back = make(src->width, src->height, src->encoding);
        oxResize(out.get(), back.get(), 0, nullptr);
        out = std::move(back);
    }
    const oxHighBoostParams boost{1, {3, 3}, 0.9f, 2.0f};
    oxHighBoostFilter(&boost, out.get(), out.get(), nullptr);
    return out;
}

}  // namespace

TEST(Saturate, WorkedPixels) {
    // Tied maxima: the tie rules choose which channel is recomputed as the
    // middle one, and it comes out one below the maximum.
    struct Case { uint8_t in[3]; float f; uint8_t out[3]; } cases[] = {
        {{200, 100, 50}, 2.0f, {200, 66, 0}},   {{10, 200, 200}, 2.0f, {0, 200, 200}},
        {{80, 80, 80}, 2.0f, {80, 80, 80}},     {{200, 100, 50}, 0.0f, {200, 200, 200}},
        {{200, 100, 50}, -1.0f, {200, 236, 255}}, {{7, 90, 30}, 0.7f, {31, 90, 47}},  // 31.9 truncated first
        {{6, 6, 5}, 2.0f, {5, 6, 4}},           {{6, 5, 6}, 2.0f, {6, 4, 5}},
        {{5, 6, 6}, 2.0f, {4, 6, 5}},           {{200, 100, 50}, kNaN, {200, 66, 0}},
    };
    for (const Case& c : cases) {
        Image src = fromBytes(1, 1, OX_BGR, {c.in[0], c.in[1], c.in[2]}), dst = make(1, 1, OX_BGR);
        const oxSaturateParams p{c.f};
        ASSERT_EQ(oxSaturateFilter(&p, src.get(), dst.get(), nullptr), 0);
        EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(c.out, c.out + 3)) << int(c.in[0]) << " f " << c.f;
    }
}

TEST(Saturate, ChannelsByEncodingAlphaKeptAbortAndRefusals) {
    const oxSaturateParams p{2.0f};
    Image rgb = fromBytes(1, 1, OX_RGB, {50, 100, 200}), argb = fromBytes(1, 1, OX_ARGB, {9, 9, 9, 9});
    ASSERT_EQ(oxSaturateFilter(&p, rgb.get(), argb.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(argb.get()), (std::vector<uint8_t>{9, 0, 66, 200}));
    Image grey = fromBytes(2, 1, OX_GRAY, {7, 8}), bgr = make(2, 1, OX_BGR);
    ASSERT_EQ(oxSaturateFilter(&p, grey.get(), bgr.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(bgr.get()), (std::vector<uint8_t>{7, 7, 7, 8, 8, 8}));
    const int32_t stop = 1;
    Image small = fromBytes(1, 1, OX_BGR, {1, 2, 3});
    EXPECT_EQ(oxSaturateFilter(&p, bgr.get(), small.get(), nullptr), 1);  // destination too small
    EXPECT_EQ(oxSaturateFilter(&p, rgb.get(), small.get(), &stop), 2);
    EXPECT_EQ(oxSaturateFilter(nullptr, rgb.get(), small.get(), nullptr), 1);
    EXPECT_EQ(bytesOf(small.get()), (std::vector<uint8_t>{1, 2, 3}));
}

// Sigmas from integer divisions of the working size (range in float),
// working sizes truncated, the first pass in place when src is dst.
TEST(Simplify, MatchesTheComposedPipeline) {
    struct Case { int32_t w, h, maxSize, workW, workH; float rf; double space, range; bool inPlace; } cases[] = {
        {300, 200, 1024, 0, 0, 0.1f, 1.0, double(0.1f * 7.0f), false},  // n = 500
        {300, 200, 1024, 0, 0, 0.3f, 1.0, double(0.3f * 7.0f), true},
        {5000, 5, 1024, 1024, 1, 0.2f, 4.0, double(0.2f * 16.0f), true},  // 1024 x 1.024 in float
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, OX_BGR, OX_8U, c.w), orig = copyOf(src.get()), dst = make(c.w, c.h, OX_BGR);
        oxImage* out = c.inPlace ? src.get() : dst.get();
        const oxSimplifyParams p{c.maxSize, 3, c.rf};
        ASSERT_EQ(oxSimplify(src.get(), out, &p, nullptr), 0);
        Image want = composed(orig.get(), c.workW, c.workH, c.space, c.range, c.inPlace && !c.workW);
        EXPECT_EQ(bytesOf(out), bytesOf(want.get())) << c.w << "x" << c.h;
    }
}

TEST(Simplify, AbortsAndRefusals) {
    enum Dst { Untouched, Source };
    struct Case {
        const char* name; int32_t w, h, srcEnc, dstEnc, dstW, maxSize, iterations; float rf; int32_t abort, status; Dst dst;
    } cases[] = {
        {"abort, s = 1 scales: unfiltered working image", 300, 200, OX_BGR, OX_BGR, 300, 300, 2, 0.1f, 1, 1, Source},
        {"abort, direct path", 299, 200, OX_BGR, OX_BGR, 299, 300, 2, 0.1f, 1, 1, Untouched},
        {"NaN rangeFactor", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, kNaN, 0, 1, Untouched},
        {"infinite rangeFactor times n / 64 = 0", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, kInf, 0, 1, Untouched},
        {"grey", 20, 20, OX_GRAY, OX_GRAY, 20, 1024, 1, 0.1f, 0, 1, Untouched},
        {"RGB into BGR", 20, 20, OX_RGB, OX_BGR, 20, 1024, 1, 0.1f, 0, 1, Untouched},
        {"direct path, other width", 20, 20, OX_BGR, OX_BGR, 21, 1024, 1, 0.1f, 0, 1, Untouched},
        {"working height 0.64", 100, 4, OX_BGR, OX_BGR, 100, 16, 1, 0.1f, 0, 1, Untouched},
        {"maxSize 0", 20, 20, OX_BGR, OX_BGR, 20, 0, 1, 0.1f, 0, 1, Untouched},
        {"no passes: a copy, no boost", 20, 20, OX_BGR, OX_BGR, 20, 1024, 0, kNaN, 0, 0, Source},
        {"3 columns: the boost's blur refuses", 3, 20, OX_BGR, OX_BGR, 3, 1024, 1, 0.1f, 0, 1, Source},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, OX_8U, 5), dst = make(c.dstW, c.h, c.dstEnc);
        std::memset(dst->data, 0xAB, byteCount(dst.get()));
        const oxSimplifyParams p{c.maxSize, c.iterations, c.rf};
        EXPECT_EQ(oxSimplify(src.get(), dst.get(), &p, &c.abort), c.status) << c.name;
        if (c.dst == Source) EXPECT_EQ(bytesOf(dst.get()), bytesOf(src.get())) << c.name;
        else EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(byteCount(dst.get()), 0xAB)) << c.name;
    }
}

// Whatever a host passes: a status, no access outside the two buffers
// (sized exactly, checked by the sanitizer build), no leak, and a failing
// call on a small image leaves dst untouched or as the source.
TEST(YewSimplify, SizeAndParameterSweep) {
    struct Size { int32_t w, h, status; } sizes[] = {  // status with the first parameters
        {0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 1000, 1}, {1000, 3, 1}, {5000, 2, 1}, {4, 4, 0}, {1030, 5, 0},
    };
    struct Params { int32_t iterations; float rf, saturation; } params[] = {
        {2, 0.1f, 0.3f}, {1, kNaN, 0.5f}, {0, kNaN, kNaN}, {-7, kInf, kInf}, {1, kInf, -kInf}, {2, -kInf, 1e30f},
    };
    for (const Size& s : sizes) {
        const size_t bytes = size_t(s.w) * s.h * 3;
        for (const Params& p : params) {
            for (bool inPlace : {false, true}) {
                std::unique_ptr<uint8_t[]> src(new uint8_t[bytes]), dst(new uint8_t[bytes]);
                for (size_t i = 0; i < bytes; ++i) src[i] = uint8_t(i * 37 + i / 7), dst[i] = 0xAB;
                const std::vector<uint8_t> in(src.get(), src.get() + bytes);
                uint8_t* out = inPlace ? src.get() : dst.get();
                const int32_t r = oxYewSimplify(s.w, s.h, src.get(), out, p.iterations, p.rf, p.saturation);
                const std::vector<uint8_t> got(out, out + bytes);
                SCOPED_TRACE(testing::Message() << s.w << "x" << s.h << " iterations " << p.iterations << " rf "
                                                << p.rf << " saturation " << p.saturation << " in place " << inPlace);
                ASSERT_TRUE(r == 0 || r == 1);
                const int32_t want = &p == params ? s.status : p.iterations < 1 ? 0 : std::isnan(p.rf) ? 1 : r;
                EXPECT_EQ(r, want);
                if (r == 1 && s.w + s.h < 256 && !inPlace) {
                    EXPECT_TRUE(got == in || got == std::vector<uint8_t>(bytes, 0xAB));
                }
            }
        }
    }
    uint8_t px[3] = {1, 2, 3};
    EXPECT_EQ(oxYewSimplify(1, 1, nullptr, px, 1, 0.1f, 0.3f), 1);
    EXPECT_EQ(oxYewSimplify(1, 1, px, nullptr, 0, 0.1f, 0.3f), 1);
    EXPECT_EQ(oxYewSimplify(-1, 5, px, px, 0, 0.1f, 0.3f), 1);
    EXPECT_EQ(oxYewSimplify(5, -1, px, px, 1, 0.1f, 0.3f), 1);
}
