// Golden outputs of the Enhance effect: any change to a single output byte
// fails with the case's name. Photographs are skipped when not fetched.
#include <gtest/gtest.h>

#include <string>

#include "support/photos.hpp"

using namespace oxtest;

namespace {

enum Run { kEntry, kEntrySameBuffer, kAllStagesInPlace };

struct Golden {
    const char* name;
    const char* photo;  // null: noise of w x h
    int32_t w, h;
    Run run;
    float steepness;
    uint64_t hash;
};

void PrintTo(const Golden& g, std::ostream* os) { *os << g.name; }

const Golden kGolden[] = {
    // name                    photo            w    h    run                steep hash
    {"chelsea_entry",           "chelsea.png",   0,   0,   kEntry,            0.3f, 0x8cf50f5e9e913f60ull},
    {"astronaut_entry_steep",   "astronaut.png", 0,   0,   kEntry,            0.6f, 0x8f6315b4bd822808ull},
    {"coffee_contrast_only",    "coffee.png",    0,   0,   kEntry,            0.0f, 0xa4f4aeea0fe511f2ull},
    {"rocket_entry",            "rocket.jpg",    0,   0,   kEntry,            0.3f, 0x1752e05480f85c01ull},
    {"noise_entry",             nullptr,         257, 131, kEntry,            0.3f, 0x7da2d50ab1c7d4f6ull},
    {"noise_entry_same_buffer", nullptr,         257, 131, kEntrySameBuffer,  0.3f, 0x7da2d50ab1c7d4f6ull},
    {"chelsea_all_stages",      "chelsea.png",   0,   0,   kAllStagesInPlace, 0.3f, 0x66a8a1962b060337ull},
    {"coffee_all_stages",       "coffee.png",    0,   0,   kAllStagesInPlace, 0.5f, 0x5182e4ac0195e411ull},
    {"noise_all_stages",        nullptr,         331, 217, kAllStagesInPlace, 0.3f, 0x8e84e3dfa179d60aull},
};

class EnhanceGolden : public testing::TestWithParam<Golden> {};

TEST_P(EnhanceGolden, OutputBytes) {
    const Golden& g = GetParam();
    Image src = g.photo ? loadPhoto(g.photo) : noise(g.w, g.h, OX_BGR, OX_8U, 42);
    if (!src) GTEST_SKIP() << "photograph " << g.photo << " not fetched";
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = g.run == kEntry ? dst.get() : src.get();
    if (g.run == kAllStagesInPlace) {
        // Every stage on, contrast mixed at 204, blended through noise weights.
        const oxEnhanceParams p{1, 1, 0.8f, 9.0f, 4.0f, g.steepness, 1.4f, 7, 1, 0.6f, 1, 0.3f};
        Image weights = noise(src->width, src->height, OX_GRAY, OX_8U, 11);
        ASSERT_EQ(oxEnhanceFilter(&p, src.get(), weights.get(), src.get(), nullptr), 0);
    } else {
        ASSERT_EQ(oxYewEnhance(src->width, src->height, src->data, out->data, g.steepness), 0);
    }
    EXPECT_EQ(hashImage(out), g.hash) << std::hex << "0x" << hashImage(out) << "ull";
}

INSTANTIATE_TEST_SUITE_P(Cases, EnhanceGolden, testing::ValuesIn(kGolden),
                         [](const testing::TestParamInfo<Golden>& info) { return std::string(info.param.name); });

}  // namespace
