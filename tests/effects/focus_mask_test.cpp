// The focus mask: worked values, and whole-plane hashes for boxes inside,
// across and outside the image, degenerate ones (a zero half-axis, points
// swapped) and fractions that are not finite.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_support.hpp"

using namespace oxtest;

// 127.5 truncates; the fused sum gives 90 (separate products 89).
TEST(FocusMask, WorkedValues) {
    Image m = make(24, 202, OX_GRAY);
    const oxFocusMaskParams whole{0, 0, 1, 1};
    EXPECT_EQ(oxFocusMaskFill(&whole, m.get()) + m->data[101 * 24 + 18], 127);
    EXPECT_EQ(m->data[151 * 24 + 7], 90);
}

TEST(FocusMask, PlaneHashes) {
    const struct Case { const char* name; oxFocusMaskParams box; uint64_t hash; } cases[] = {
        {"band", {0.2f, 0.4f, 0.8f, 0.6f}, 0x27f3d60bde73bda9ull},          {"whole", {0.0f, 0.0f, 1.0f, 1.0f}, 0x0246babb034718cdull},
        {"default", {0.0f, 0.1f, 1.0f, 0.9f}, 0x50d28609021fd57eull},       {"swapped", {0.9f, 0.8f, 0.1f, 0.3f}, 0x07bd11e90387722bull},
        {"off left", {-0.5f, 0.2f, 0.3f, 0.9f}, 0xe16b9b33770d09dfull},    {"wide", {-3.0f, -2.0f, 4.0f, 3.0f}, 0xbfeabac416400e73ull},
        {"flat", {0.1f, 0.5f, 0.9f, 0.5f}, 0xfbb0d57c05111ec6ull},          {"thin", {0.5f, 0.0f, 0.5f, 1.0f}, 0xfbb0d57c05111ec6ull},
        {"nan", {NAN, 0.2f, 0.7f, 0.8f}, 0xca49e6f6f2b6ec5dull},           {"inf", {0.1f, -INFINITY, 0.7f, INFINITY}, 0x4251819cf078cd04ull},
    };
    for (const Case& c : cases) {
        uint64_t h = 1469598103934665603ull;
        auto fill = [&](int32_t w, int32_t rows, uint32_t seed) {
            Image m = noise(w, rows, OX_GRAY, OX_8U, seed);
            EXPECT_EQ(oxFocusMaskFill(&c.box, m.get()), 0);
            h = (h ^ hashImage(m.get())) * 1099511628211ull;
        };
        for (int32_t w : {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 1031})
            for (int32_t rows : {1, 2, 9}) fill(w, rows, 31);
        fill(1000, 750, 32);
        EXPECT_EQ(h, c.hash) << c.name;
    }
}
