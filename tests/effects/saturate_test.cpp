// The saturation change: worked pixels, and whole-buffer hashes over seeded
// noise for every encoding pair the walk accepts, in place and not, factors
// that raise, lower, invert or are not finite, on images on both sides of
// the size from which the per-pair terms are tabulated.
#include <gtest/gtest.h>

#include <cstring>
#include <cmath>

#include "support/test_support.hpp"

using namespace oxtest;
using Bytes = std::vector<uint8_t>;

TEST(Saturate, WorkedPixels) {
    // Tied maxima (6, 6, 5): the tie rules pick the channel recomputed as the middle one.
    struct Case { Bytes in; float f; Bytes out; int32_t inEnc = OX_BGR, outEnc = OX_BGR; } cases[] = {
        {{200, 100, 50}, 2.0f, {200, 66, 0}}, {{10, 200, 200}, 2.0f, {0, 200, 200}}, {{80, 80, 80}, 2.0f, {80, 80, 80}},
        {{200, 100, 50}, 0.0f, {200, 200, 200}}, {{200, 100, 50}, -1.0f, {200, 236, 255}},
        {{200, 100, 50}, NAN, {200, 66, 0}}, {{7, 90, 30}, 0.7f, {31, 90, 47}},  // 31.9 truncated first
        {{6, 6, 5}, 2.0f, {5, 6, 4}}, {{6, 5, 6}, 2.0f, {6, 4, 5}}, {{5, 6, 6}, 2.0f, {4, 6, 5}},
        {{50, 100, 200}, 2.0f, {9, 0, 66, 200}, OX_RGB, OX_ARGB}, {{7}, 2.0f, {7, 7, 7}, OX_GRAY, OX_BGR},
    };
    for (const Case& c : cases) {
        Image src = make(1, 1, c.inEnc), dst = make(1, 1, c.outEnc);
        std::memcpy(src->data, c.in.data(), c.in.size());
        std::memset(dst->data, 9, c.out.size());
        const oxSaturateParams p{c.f};
        ASSERT_EQ(oxSaturateFilter(&p, src.get(), dst.get(), nullptr), 0);
        EXPECT_EQ(bytesOf(dst.get()), c.out) << int(c.in[0]) << " f " << c.f;
    }
    const int32_t stop = 1;
    const oxSaturateParams p{2.0f};
    Image two = noise(2, 1, OX_BGR, OX_8U, 1), one = fromBytes(1, 1, OX_BGR, {1, 2, 3});
    EXPECT_EQ(oxSaturateFilter(&p, two.get(), one.get(), nullptr), 1);  // destination too small
    EXPECT_EQ(oxSaturateFilter(&p, one.get(), one.get(), &stop), 2);
    EXPECT_EQ(bytesOf(one.get()), (Bytes{1, 2, 3}));
}

TEST(Saturate, NoiseHashes) {
    const struct Case { const char* name; int32_t inEnc, outEnc; float factor; bool inPlace; uint64_t hash; } cases[] = {
        {"bgr 0.3", OX_BGR, OX_BGR, 0.3f, false, 0x3f48b2639ad3768full},   {"bgr 0.3 in place", OX_BGR, OX_BGR, 0.3f, true, 0x3f48b2639ad3768full},
        {"rgb 2", OX_RGB, OX_RGB, 2.0f, true, 0x3d4982a765d4bec9ull},      {"bgr to argb 1.7", OX_BGR, OX_ARGB, 1.7f, false, 0x070724c936c51d5aull},
        {"rgba -1", OX_RGBA, OX_RGBA, -1.0f, true, 0x8425bb934f51fe7aull}, {"argb to rgb 0", OX_ARGB, OX_RGB, 0.0f, false, 0x9f3cde7df09a0e9bull},
        {"grey to bgr 3", OX_GRAY, OX_BGR, 3.0f, false, 0x08bfe76068f1cf16ull}, {"bgr nan", OX_BGR, OX_BGR, NAN, true, 0x5b071dbfad240bdfull},
        {"bgr inf", OX_BGR, OX_BGR, INFINITY, true, 0x5b071dbfad240bdfull},    {"bgr 1", OX_BGR, OX_BGR, 1.0f, false, 0x70c83e59ec45cdf1ull},
    };
    for (const Case& c : cases) {
        uint64_t h = 1469598103934665603ull;
        auto run = [&](int32_t w, int32_t rows) {
            Image src = noise(w, rows, c.inEnc, OX_8U, 21), dst = noise(w, rows, c.outEnc, OX_8U, 22);
            // Grey runs and equal channels take the early exit; put some in.
            for (int64_t i = 0; i + 3 <= int64_t(byteCount(src.get())); i += 21) std::memset(src->data + i, src->data[i], 3);
            oxImage* out = c.inPlace ? src.get() : dst.get();
            const oxSaturateParams p{c.factor};
            EXPECT_EQ(oxSaturateFilter(&p, src.get(), out, nullptr), 0);
            h = (h ^ hashImage(out)) * 1099511628211ull;
        };
        for (int32_t w : {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 1031}) run(w, 3);
        run(300, 230);  // tabulated terms
        EXPECT_EQ(h, c.hash) << c.name;
    }
}
