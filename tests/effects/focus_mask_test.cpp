// Whole-plane hashes of the focus mask for boxes inside, across and outside
// the image, degenerate ones (a zero half-axis, points swapped) and fractions
// that are not finite.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Case {
    const char* name;
    oxFocusMaskParams box;
    uint64_t hash;
};

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();

}  // namespace

TEST(FocusMaskPinned, PlaneHashes) {
    const Case cases[] = {
        {"band", {0.2f, 0.4f, 0.8f, 0.6f}, 0x27f3d60bde73bda9ull},          {"whole", {0.0f, 0.0f, 1.0f, 1.0f}, 0x0246babb034718cdull},
        {"default", {0.0f, 0.1f, 1.0f, 0.9f}, 0x50d28609021fd57eull},       {"swapped", {0.9f, 0.8f, 0.1f, 0.3f}, 0x07bd11e90387722bull},
        {"off left", {-0.5f, 0.2f, 0.3f, 0.9f}, 0xe16b9b33770d09dfull},    {"wide", {-3.0f, -2.0f, 4.0f, 3.0f}, 0xbfeabac416400e73ull},
        {"flat", {0.1f, 0.5f, 0.9f, 0.5f}, 0xfbb0d57c05111ec6ull},          {"thin", {0.5f, 0.0f, 0.5f, 1.0f}, 0xfbb0d57c05111ec6ull},
        {"nan", {kNaN, 0.2f, 0.7f, 0.8f}, 0xca49e6f6f2b6ec5dull},           {"inf", {0.1f, -kInf, 0.7f, kInf}, 0x4251819cf078cd04ull},
    };
    for (const Case& c : cases) {
        uint64_t h = 1469598103934665603ull;
        for (int32_t w : {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 1031})
            for (int32_t rows : {1, 2, 9}) {
                Image m = noise(w, rows, OX_GRAY, OX_8U, 31);
                EXPECT_EQ(oxFocusMaskFill(&c.box, m.get()), 0);
                h = (h ^ hashImage(m.get())) * 1099511628211ull;
            }
        Image big = noise(1000, 750, OX_GRAY, OX_8U, 32);
        EXPECT_EQ(oxFocusMaskFill(&c.box, big.get()), 0);
        h = (h ^ hashImage(big.get())) * 1099511628211ull;
        EXPECT_EQ(h, c.hash) << c.name;
    }
}
