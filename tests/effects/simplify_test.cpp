#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/test_support.hpp"

using namespace oxtest;
using Bytes = std::vector<uint8_t>;

TEST(Simplify, AbortsAndRefusals) {
    struct Case {  // source: dst holds the source afterwards, else it is untouched
        const char* name; int32_t w, h, inEnc, outEnc, outW, max, passes; float rf; int32_t abort, status; bool source;
    } cases[] = {
        {"abort, 1024 wide scales: unfiltered working image", 1024, 4, OX_BGR, OX_BGR, 1024, 1024, 2, .1f, 1, 1, true},
        {"abort, 1023 wide is direct", 1023, 4, OX_BGR, OX_BGR, 1023, 1024, 2, .1f, 1, 1, false},
        {"NaN rangeFactor", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, NAN, 0, 1, false},
        {"infinite rangeFactor times n / 64 = 0", 20, 20, OX_BGR, OX_BGR, 20, 1024, 1, INFINITY, 0, 1, false},
        {"grey", 20, 20, OX_GRAY, OX_GRAY, 20, 1024, 1, .1f, 0, 1, false},
        {"RGB into BGR", 20, 20, OX_RGB, OX_BGR, 20, 1024, 1, .1f, 0, 1, false},
        {"direct path, other width", 20, 20, OX_BGR, OX_BGR, 21, 1024, 1, .1f, 0, 1, false},
        {"working height 0.64", 100, 4, OX_BGR, OX_BGR, 100, 16, 1, .1f, 0, 1, false},
        {"no passes: a copy, no boost", 20, 20, OX_BGR, OX_BGR, 20, 1024, 0, NAN, 0, 0, true},
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
        {2, 0.1f, 0.3f}, {1, NAN, 0.5f}, {0, NAN, NAN}, {-7, INFINITY, INFINITY}, {1, INFINITY, -INFINITY}, {2, -INFINITY, 1e30f},
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

// oxSimplify (resize to the working size, bilateral passes, resize back,
// high boost) on both paths, for either encoding, into a smaller image, in
// place, and where a caller's image carries a ROI, which the resize and the
// high boost honour. Smooth ramps under the noise make the range weights
// vary; the destination starts as 0x3C, so bytes outside its ROI count.
TEST(Simplify, PinnedOutputs) {
    struct Case {
        const char* name; int32_t enc, w, h, outW, outH; oxRect srcRoi, dstRoi; bool inPlace; uint64_t hash;
    } cases[] = {
        {"scaled BGR", OX_BGR, 400, 260, 400, 260, {}, {}, false, 0x63c96f62aa740288ull},
        {"scaled RGB into a smaller image", OX_RGB, 400, 260, 333, 217, {}, {}, false, 0x94526bd5dfb2ddc5ull},
        {"scaled, source ROI", OX_BGR, 400, 260, 400, 260, {10, 8, 380, 240}, {}, false, 0x5cdb4cb0f30b57d4ull},
        {"scaled, destination ROI", OX_BGR, 400, 260, 400, 260, {}, {5, 6, 300, 200}, false, 0xa5731de542f39deeull},
        {"direct BGR", OX_BGR, 200, 150, 200, 150, {}, {}, false, 0x369d223765bfac66ull},
        {"direct RGB in place", OX_RGB, 200, 150, 200, 150, {}, {}, true, 0xc36c84ee292c050dull},
        {"direct, destination ROI", OX_BGR, 200, 150, 200, 150, {}, {3, 4, 150, 100}, false, 0x554958acb0ffdc78ull},
    };
    const oxSimplifyParams p{300, 3, 0.05f};
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.enc, OX_8U, 9), dst = make(c.outW, c.outH, c.enc);
        for (int32_t y = 0; y < c.h; ++y)
            for (int32_t i = 0; i < 3 * c.w; ++i) {
                uint8_t& v = src->data[size_t(y) * 3 * c.w + i];
                v = uint8_t(v / 8 + (i / 3 + 2 * y + 40 * (i % 3)) % 200);
            }
        std::memset(dst->data, 0x3C, byteCount(dst.get()));
        if (c.srcRoi.width > 0) src->roi = c.srcRoi;
        if (c.dstRoi.width > 0) dst->roi = c.dstRoi;
        oxImage* out = c.inPlace ? src.get() : dst.get();
        ASSERT_EQ(oxSimplify(src.get(), out, &p, nullptr), 0) << c.name;
        EXPECT_EQ(hashImage(out), c.hash) << c.name;
    }
}
