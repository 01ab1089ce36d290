// Golden outputs of the Simplify entry point (format in support/golden.hpp).
#include "support/golden.hpp"

using namespace oxtest;

namespace {

struct Params {
    int32_t iterations;
    float rangeFactor, saturation;
    bool inPlace;
};
using Golden = golden::Case<Params>;

// Working sizes of the scaled cases: 1024 x 682 (682.67 truncated), 1024 x 651,
// 1024 x 1 (1.024), 682 x 1024 (portrait), 1024 x 1024.
const Golden kGolden[] = {
    // name                    photo / noise size           it  rf     sat   in place  hash
    {"coffee_direct",          {"coffee.png", 0, 0},       {8, 0.10f, 0.3f, false}, 0x672344bc8bb9eeb3ull},
    {"astronaut_in_place",     {"astronaut.png", 0, 0},    {4, 0.25f, 0.5f, true},  0xb0548e05d5da57e2ull},
    {"chelsea_unsaturated",    {"chelsea.png", 0, 0},      {2, 1.25f, 0.0f, false}, 0x3867ad5491879ff5ull},
    {"coffee_scaled",          {"coffee.png", 1200, 800},  {3, 0.10f, 0.3f, false}, 0x3e2d9f57e35b4691ull},
    {"noise_scaled",           {nullptr, 1100, 700},       {2, 0.10f, 0.3f, false}, 0xff08b8c20b2426b0ull},
    {"noise_scaled_in_place",  {nullptr, 1100, 700},       {2, 0.10f, 0.3f, true},  0xff08b8c20b2426b0ull},
    {"noise_5000x5_scaled",    {nullptr, 5000, 5},         {2, 0.20f, 0.3f, false}, 0xb1e4c3b36c28ff54ull},
    {"noise_tall_scaled",      {nullptr, 800, 1200},       {2, 0.10f, 0.3f, false}, 0x6c097859712ce25aull},
    {"noise_square_scaled",    {nullptr, 1100, 1100},      {2, 0.10f, 0.3f, false}, 0x258017b67a07129eull},
    {"noise_odd_direct",       {nullptr, 257, 131},        {3, 0.50f, 0.2f, false}, 0x5607f0ce13f28f41ull},
    {"noise_small_direct",     {nullptr, 40, 30},          {3, 0.05f, 0.4f, false}, 0x97187dd6f2098112ull},
    {"noise_copy_saturated",   {nullptr, 64, 48},          {0, 0.10f, 0.5f, false}, 0xc0a8d29d17978f06ull},
};

class SimplifyGolden : public testing::TestWithParam<Golden> {};

TEST_P(SimplifyGolden, OutputBytes) {
    const Golden& g = GetParam();
    const Params& p = g.params;
    OX_GOLDEN_SOURCE(src, g.source, 42);
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = p.inPlace ? src.get() : dst.get();
    const int32_t w = src->width, h = src->height;
    ASSERT_EQ(oxYewSimplify(w, h, src->data, out->data, p.iterations, p.rangeFactor, p.saturation), 0);
    golden::expect("simplify", g.name, out->data, w, h, g.hash);
}

INSTANTIATE_TEST_SUITE_P(Cases, SimplifyGolden, testing::ValuesIn(kGolden), golden::CaseName());

}  // namespace
