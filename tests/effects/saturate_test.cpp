// Whole-buffer hashes of the saturation change over seeded noise: every
// encoding pair the walk accepts, in place and not, factors that raise,
// lower, invert or are not finite, and images on both sides of the size
// from which the per-pair terms are tabulated.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Case {
    const char* name;
    int32_t inEnc, outEnc;
    float factor;
    bool inPlace;
    uint64_t hash;
};

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();

uint64_t run(const Case& c, int32_t w, int32_t h) {
    Image src = noise(w, h, c.inEnc, OX_8U, 21), dst = noise(w, h, c.outEnc, OX_8U, 22);
    // Grey runs and equal channels take the early exit; put some in.
    for (int64_t i = 0; i + 3 <= int64_t(byteCount(src.get())); i += 21) std::memset(src->data + i, src->data[i], 3);
    oxImage* out = c.inPlace ? src.get() : dst.get();
    const oxSaturateParams p{c.factor};
    EXPECT_EQ(oxSaturateFilter(&p, src.get(), out, nullptr), 0);
    return hashImage(out);
}

}  // namespace

TEST(SaturatePinned, NoiseHashes) {
    const Case cases[] = {
        {"bgr 0.3", OX_BGR, OX_BGR, 0.3f, false, 0x3f48b2639ad3768full},   {"bgr 0.3 in place", OX_BGR, OX_BGR, 0.3f, true, 0x3f48b2639ad3768full},
        {"rgb 2", OX_RGB, OX_RGB, 2.0f, true, 0x3d4982a765d4bec9ull},      {"bgr to argb 1.7", OX_BGR, OX_ARGB, 1.7f, false, 0x070724c936c51d5aull},
        {"rgba -1", OX_RGBA, OX_RGBA, -1.0f, true, 0x8425bb934f51fe7aull}, {"argb to rgb 0", OX_ARGB, OX_RGB, 0.0f, false, 0x9f3cde7df09a0e9bull},
        {"grey to bgr 3", OX_GRAY, OX_BGR, 3.0f, false, 0x08bfe76068f1cf16ull}, {"bgr nan", OX_BGR, OX_BGR, kNaN, true, 0x5b071dbfad240bdfull},
        {"bgr inf", OX_BGR, OX_BGR, kInf, true, 0x5b071dbfad240bdfull},    {"bgr 1", OX_BGR, OX_BGR, 1.0f, false, 0x70c83e59ec45cdf1ull},
    };
    for (const Case& c : cases) {
        uint64_t h = 1469598103934665603ull;
        for (int32_t w : {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 1031}) h = (h ^ run(c, w, 3)) * 1099511628211ull;
        h = (h ^ run(c, 300, 230)) * 1099511628211ull;  // tabulated terms
        EXPECT_EQ(h, c.hash) << c.name;
    }
}
