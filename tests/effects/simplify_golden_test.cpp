// Golden outputs of the Simplify entry point: any change to a single output
// byte fails with the case's name. Photographs are skipped when not fetched.
#include <gtest/gtest.h>

#include <string>

#include "support/photos.hpp"

using namespace oxtest;

namespace {

struct Golden {
    const char *name, *photo;  // photo null: noise of w x h; else resized to w x h unless w is 0
    int32_t w, h, iterations;
    float rangeFactor, saturation;
    bool inPlace;
    uint64_t hash;
};

const Golden kGolden[] = {
    // name                 photo            w     h   it   rf     sat   in place  hash
    {"coffee_direct",       "coffee.png",    0,    0,   8, 0.10f, 0.3f, false, 0x672344bc8bb9eeb3ull},
    {"astronaut_in_place",  "astronaut.png", 0,    0,   4, 0.25f, 0.5f, true,  0xb0548e05d5da57e2ull},
    {"chelsea_unsaturated", "chelsea.png",   0,    0,   2, 1.25f, 0.0f, false, 0x3867ad5491879ff5ull},
    {"coffee_scaled",       "coffee.png",    1200, 800, 3, 0.10f, 0.3f, false, 0x3e2d9f57e35b4691ull},
    {"noise_scaled",        nullptr,         1100, 700, 2, 0.10f, 0.3f, false, 0xff08b8c20b2426b0ull},
    {"noise_scaled_in_place", nullptr,       1100, 700, 2, 0.10f, 0.3f, true,  0xff08b8c20b2426b0ull},
    {"noise_5000x5_scaled", nullptr,         5000, 5,   2, 0.20f, 0.3f, false, 0xb1e4c3b36c28ff54ull},  // at 1024 x 1
    {"noise_odd_direct",    nullptr,         257,  131, 3, 0.50f, 0.2f, false, 0x5607f0ce13f28f41ull},
    {"noise_copy_saturated", nullptr,        64,   48,  0, 0.10f, 0.5f, false, 0xc0a8d29d17978f06ull},
};

class SimplifyGolden : public testing::TestWithParam<Golden> {};

TEST_P(SimplifyGolden, OutputBytes) {
    const Golden& g = GetParam();
    Image src = g.photo ? loadPhoto(g.photo) : noise(g.w, g.h, OX_BGR, OX_8U, 42);
    if (!src) GTEST_SKIP() << "photograph " << g.photo << " not fetched";
    if (Image big = make(g.w, g.h, OX_BGR); g.photo && g.w && oxResize(src.get(), big.get(), OX_RESIZE_BILINEAR, nullptr) == 0)
        src = std::move(big);
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = g.inPlace ? src.get() : dst.get();
    const int32_t w = src->width, h = src->height;
    ASSERT_EQ(oxYewSimplify(w, h, src->data, out->data, g.iterations, g.rangeFactor, g.saturation), 0);
    EXPECT_EQ(hashImage(out), g.hash) << std::hex << "0x" << hashImage(out) << "ull";
}

INSTANTIATE_TEST_SUITE_P(Cases, SimplifyGolden, testing::ValuesIn(kGolden),
                         [](const testing::TestParamInfo<Golden>& info) { return std::string(info.param.name); });

}  // namespace
