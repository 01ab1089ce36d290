// Golden outputs of the Enhance effect (format in support/golden.hpp).
#include "support/golden.hpp"

using namespace oxtest;

namespace {

enum Run { kEntry, kEntrySameBuffer, kAllStagesInPlace };

struct Params {
    Run run;
    float steepness;
};
using Golden = golden::Case<Params>;

const Golden kGolden[] = {
    // name                    photo / noise size         run                steep  hash
    {"chelsea_entry",           {"chelsea.png", 0, 0},   {kEntry, 0.3f},            0x8cf50f5e9e913f60ull},
    {"astronaut_entry_steep",   {"astronaut.png", 0, 0}, {kEntry, 0.6f},            0x8f6315b4bd822808ull},
    {"coffee_contrast_only",    {"coffee.png", 0, 0},    {kEntry, 0.0f},            0xa4f4aeea0fe511f2ull},
    {"rocket_entry",            {"rocket.jpg", 0, 0},    {kEntry, 0.3f},            0x1752e05480f85c01ull},
    {"noise_entry",             {nullptr, 257, 131},     {kEntry, 0.3f},            0x7da2d50ab1c7d4f6ull},
    {"noise_entry_same_buffer", {nullptr, 257, 131},     {kEntrySameBuffer, 0.3f},  0x7da2d50ab1c7d4f6ull},
    {"noise_small_entry",       {nullptr, 40, 30},       {kEntry, 0.5f},            0xc4fdb51b5a39319cull},
    {"chelsea_all_stages",      {"chelsea.png", 0, 0},   {kAllStagesInPlace, 0.3f}, 0x66a8a1962b060337ull},
    {"coffee_all_stages",       {"coffee.png", 0, 0},    {kAllStagesInPlace, 0.5f}, 0x5182e4ac0195e411ull},
    {"noise_all_stages",        {nullptr, 331, 217},     {kAllStagesInPlace, 0.3f}, 0x8e84e3dfa179d60aull},
};

class EnhanceGolden : public testing::TestWithParam<Golden> {};

TEST_P(EnhanceGolden, OutputBytes) {
    const Golden& g = GetParam();
    const Params& p = g.params;
    OX_GOLDEN_SOURCE(src, g.source, 42);
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = p.run == kEntry ? dst.get() : src.get();
    if (p.run == kAllStagesInPlace) {
        // Every stage on, contrast mixed at 204, blended through noise weights.
        const oxEnhanceParams all{1, 1, 0.8f, 9.0f, 4.0f, p.steepness, 1.4f, 7, 1, 0.6f, 1, 0.3f};
        Image weights = noise(src->width, src->height, OX_GRAY, OX_8U, 11);
        ASSERT_EQ(oxEnhanceFilter(&all, src.get(), weights.get(), src.get(), nullptr), 0);
    } else {
        ASSERT_EQ(oxYewEnhance(src->width, src->height, src->data, out->data, p.steepness), 0);
    }
    golden::expect("enhance", g.name, out->data, out->width, out->height, g.hash);
}

INSTANTIATE_TEST_SUITE_P(Cases, EnhanceGolden, testing::ValuesIn(kGolden), golden::CaseName());

}  // namespace
