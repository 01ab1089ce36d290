#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;
using Bytes = std::vector<uint8_t>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();

TEST(Simplify, AbortsAndRefusals) {
    struct Case {  // source: dst holds the source afterwards, else it is untouched
        const char* name; int32_t w, h, inEnc, outEnc, outW, max, passes; float rf; int32_t abort, status; bool source;
    } cases[] = {
        {"abort, 1024 wide scales: unfiltered working image", 1024, 4, OX_BGR, OX_BGR, 1024, 1024, 2, .1f, 1, 1, true},
        {"abort, 1023 wide is direct", 1023, 4, OX_BGR, OX_BGR, 1023, 1024, 2, .1f, 1, 1, false},
        {"NaN rangeFactor", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, kNaN, 0, 1, false},
        {"infinite rangeFactor times n / 64 = 0", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, kInf, 0, 1, false},
        {"grey", 20, 20, OX_GRAY, OX_GRAY, 20, 1024, 1, .1f, 0, 1, false},
        {"RGB into BGR", 20, 20, OX_RGB, OX_BGR, 20, 1024, 1, .1f, 0, 1, false},
        {"direct path, other width", 20, 20, OX_BGR, OX_BGR, 21, 1024, 1, .1f, 0, 1, false},
        {"working height 0.64", 100, 4, OX_BGR, OX_BGR, 100, 16, 1, .1f, 0, 1, false},
        {"no passes: a copy, no boost", 20, 20, OX_BGR, OX_BGR, 20, 1024, 0, kNaN, 0, 0, true},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.inEnc, OX_8U, 5), dst = make(c.outW, c.h, c.outEnc);
        std::memset(dst->data, 0xAB, byteCount(dst.get()));
        const oxSimplifyParams p{c.max, c.passes, c.rf};
        EXPECT_EQ(oxSimplify(src.get(), dst.get(), &p, &c.abort), c.status) << c.name;
        EXPECT_EQ(bytesOf(dst.get()), c.source ? bytesOf(src.get()) : Bytes(byteCount(dst.get()), 0xAB)) << c.name;
    }
}

// Whatever a host passes: a status, no access outside the exactly sized buffers (sanitizer
// build), no leak, and a failing call on a small image leaves dst untouched or as the source.
TEST(YewSimplify, SizeAndParameterSweep) {
    struct Size { int32_t w, h, status; } sizes[] = {  // status with the first parameters
        {0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 1000, 1}, {1000, 3, 1}, {5000, 2, 1}, {4, 4, 0}, {1030, 5, 0},
    };
    struct Params { int32_t iterations; float rf, saturation; } params[] = {
        {2, 0.1f, 0.3f}, {1, kNaN, 0.5f}, {0, kNaN, kNaN}, {-7, kInf, kInf}, {1, kInf, -kInf}, {2, -kInf, 1e30f},
    };
    for (const Size& s : sizes) for (const Params& p : params) for (bool inPlace : {false, true}) {
        const size_t bytes = size_t(s.w) * s.h * 3;
        std::unique_ptr<uint8_t[]> src(new uint8_t[bytes]), dst(new uint8_t[bytes]);
        for (size_t i = 0; i < bytes; ++i) src[i] = uint8_t(i * 37 + i / 7), dst[i] = 0xAB;
        const Bytes in(src.get(), src.get() + bytes);
        uint8_t* out = inPlace ? src.get() : dst.get();
        const int32_t r = oxYewSimplify(s.w, s.h, src.get(), out, p.iterations, p.rf, p.saturation);
        SCOPED_TRACE(testing::Message() << s.w << "x" << s.h << " iterations " << p.iterations << " rf " << p.rf
                                        << " saturation " << p.saturation << " in place " << inPlace);
        ASSERT_TRUE(r == 0 || r == 1);
        EXPECT_EQ(r, &p == params ? s.status : p.iterations < 1 ? 0 : std::isnan(p.rf) ? 1 : r);
        const Bytes got(out, out + bytes);
        if (r == 1 && s.w + s.h < 256 && !inPlace) { EXPECT_TRUE(got == in || got == Bytes(bytes, 0xAB)); }
    }
    uint8_t px[3] = {1, 2, 3};
    EXPECT_EQ(oxYewSimplify(1, 1, nullptr, px, 1, 0.1f, 0.3f) + oxYewSimplify(1, 1, px, nullptr, 0, 0.1f, 0.3f) +
                  oxYewSimplify(-1, 5, px, px, 0, 0.1f, 0.3f) + oxYewSimplify(5, -1, px, px, 1, 0.1f, 0.3f), 4);
}

// Headers whose sizes no buffer can have, on the direct path (a maximum
// size above both sides): the passes filter nothing and the call fails
// without touching the caller's bytes, aborted or not.
TEST(Simplify, SizesNoBufferCanHaveAreLeftAlone) {
    uint8_t bytes[64];
    std::memset(bytes, 0x5A, sizeof bytes);
    struct HeaderDeleter {
        void operator()(oxImage* p) const { oxImageReleaseHeader(&p); }
    };
    std::unique_ptr<oxImage, HeaderDeleter> src(oxImageCreateHeader(1 << 30, 1 << 30, OX_BGR)),
        dst(oxImageCreateHeader(1 << 30, 1 << 30, OX_BGR));
    src->data = bytes, dst->data = bytes + 32;
    const oxSimplifyParams p{INT32_MAX, 2, 0.1f};
    for (int32_t abort : {0, 1}) {
        EXPECT_EQ(oxSimplify(src.get(), dst.get(), &p, &abort), 1);
        EXPECT_EQ(std::count(bytes, bytes + 64, 0x5A), 64);
    }
}

// oxSimplify against its steps run one by one through the exported
// functions (resize, bilateral filter with a record, resize back, high
// boost): the same bytes for either encoding, on both paths, in place, and
// where a caller's image carries a ROI, which the resize and the high
// boost honour.
TEST(Simplify, MatchesItsStagesRunOneByOne) {
    struct Case {
        const char* name; int32_t enc, w, h, outW, outH; oxRect srcRoi, dstRoi; bool inPlace;
    } cases[] = {
        {"scaled BGR", OX_BGR, 400, 260, 400, 260, {}, {}, false},
        {"scaled RGB into a smaller image", OX_RGB, 400, 260, 333, 217, {}, {}, false},
        {"scaled, source ROI", OX_BGR, 400, 260, 400, 260, {10, 8, 380, 240}, {}, false},
        {"scaled, destination ROI", OX_BGR, 400, 260, 400, 260, {}, {5, 6, 300, 200}, false},
        {"direct BGR", OX_BGR, 200, 150, 200, 150, {}, {}, false},
        {"direct RGB in place", OX_RGB, 200, 150, 200, 150, {}, {}, true},
        {"direct, destination ROI", OX_BGR, 200, 150, 200, 150, {}, {3, 4, 150, 100}, false},
    };
    const int32_t maxSize = 300, iterations = 3;
    const float rangeFactor = 0.05f;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto withRoi = [](Image img, oxRect roi) {
            if (roi.width > 0) img->roi = roi;
            return img;
        };
        Image src = withRoi(noise(c.w, c.h, c.enc, OX_8U, 9), c.srcRoi);
        for (int32_t y = 0; y < c.h; ++y)  // smooth ramps under the noise, so that the range weights vary
            for (int32_t i = 0; i < 3 * c.w; ++i) {
                uint8_t& v = src->data[size_t(y) * 3 * c.w + i];
                v = uint8_t(v / 8 + (i / 3 + 2 * y + 40 * (i % 3)) % 200);
            }
        Image got = withRoi(make(c.outW, c.outH, c.enc), c.dstRoi), want = withRoi(make(c.outW, c.outH, c.enc), c.dstRoi);
        std::memset(got->data, 0x3C, byteCount(got.get()));
        std::memset(want->data, 0x3C, byteCount(want.get()));
        if (c.inPlace) {
            std::memcpy(got->data, src->data, byteCount(src.get()));
            std::memcpy(want->data, src->data, byteCount(src.get()));
        }
        const oxSimplifyParams p{maxSize, iterations, rangeFactor};
        ASSERT_EQ(oxSimplify(c.inPlace ? got.get() : src.get(), got.get(), &p, nullptr), 0);

        // The same steps by hand.
        const float s = float(maxSize) / float(std::max(c.w, c.h));
        const bool scaled = s <= 1.0f;
        const int32_t ww = scaled ? int32_t(s * float(c.w)) : c.w, wh = scaled ? int32_t(s * float(c.h)) : c.h;
        Image work = make(ww, wh, c.enc), smoothed = make(ww, wh, c.enc);
        const oxImage* from = c.inPlace ? want.get() : src.get();
        oxImage* into = want.get();
        if (scaled) {
            ASSERT_EQ(oxResize(src.get(), work.get(), OX_RESIZE_BILINEAR, nullptr), 0);
            from = work.get(), into = smoothed.get();
        }
        oxBilateralParams* bp = oxBilateralParamsDefault();
        ASSERT_NE(bp, nullptr);
        const int32_t n = ww + wh;
        bp->radius = 1;
        bp->spaceSigma = double(n / 256);
        bp->rangeSigma = double(rangeFactor * float(n / 64));
        for (int32_t i = 0; i < iterations; ++i) oxBilateralFilter(bp, i == 0 ? from : into, into);
        oxBilateralParamsRelease(&bp);
        if (scaled) { ASSERT_EQ(oxResize(smoothed.get(), want.get(), OX_RESIZE_BILINEAR, nullptr), 0); }
        const oxHighBoostParams boost{1, {3, 3}, 0.9f, 2.0f};
        ASSERT_EQ(oxHighBoostFilter(&boost, want.get(), want.get(), nullptr), 0);
        EXPECT_EQ(bytesOf(got.get()), bytesOf(want.get()));
    }
}
