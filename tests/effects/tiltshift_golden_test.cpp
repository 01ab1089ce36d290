// Golden outputs of the tilt-shift entry point and filter (format in
// support/golden.hpp).
#include "support/golden.hpp"

using namespace oxtest;

namespace {

struct Params {
    float strength, lens, ax, ay, bx, by;
    bool inPlace;
    int32_t status;  // 1: the lens step finds no crop; dst holds the blurred image
};
using Golden = golden::Case<Params>;

const Golden kGolden[] = {
    // name                   photo / noise size         strength lens  ax    ay    bx    by  in place status  hash
    {"astronaut_band",         {"astronaut.png", 0, 0}, {0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0}, 0x58dac5dc709a521eull},
    {"astronaut_in_place",     {"astronaut.png", 0, 0}, {0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, true,  0}, 0x58dac5dc709a521eull},
    {"chelsea_default_points", {"chelsea.png", 0, 0},   {0.2f,  0.0f,  0.0f, 0.3f, 1.0f, 0.3f, false, 0}, 0xe9947a3091244e92ull},
    {"coffee_tilted_strong",   {"coffee.png", 0, 0},    {1.0f, -0.3f,  0.1f, 0.1f, 0.5f, 0.9f, false, 0}, 0xca12dc13054961f0ull},
    {"astronaut_wide_band",    {"astronaut.png", 1000, 750}, {0.3f, 0.2f, 0.2f, 0.4f, 0.8f, 0.6f, true,  0}, 0x77794c7794d26b6aull},
    {"rocket_lens_only",       {"rocket.jpg", 0, 0},    {0.0f,  0.5f,  0.3f, 0.3f, 0.6f, 0.5f, true,  0}, 0x6681abc20e597b9dull},
    {"noise_band",             {nullptr, 333, 217},     {0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0}, 0x6a6e91b1e9b85b46ull},
    {"noise_small_band",       {nullptr, 40, 30},       {0.5f,  0.3f,  0.1f, 0.5f, 0.7f, 0.7f, false, 0}, 0x9a37c70ccf17bd46ull},
    {"noise_tall_radius_1",    {nullptr, 5, 700},       {0.02f, 0.5f, -1.0f, 5.0f, 0.5f, 0.5f, true,  1}, 0x432dbc7cef6dce1full},
};

class TiltShiftGolden : public testing::TestWithParam<Golden> {};

TEST_P(TiltShiftGolden, OutputBytes) {
    const Golden& g = GetParam();
    const Params& p = g.params;
    OX_GOLDEN_SOURCE(src, g.source, 1);
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = p.inPlace ? src.get() : dst.get();
    EXPECT_EQ(oxYewTiltShift(src->width, src->height, src->data, out->data, p.strength, p.lens, p.ax, p.ay, p.bx, p.by),
              p.status);
    golden::expect("tiltshift", g.name, out->data, out->width, out->height, g.hash);
}

INSTANTIATE_TEST_SUITE_P(Cases, TiltShiftGolden, testing::ValuesIn(kGolden), golden::CaseName());

}  // namespace

// The default points lie on one row: the mask is 0 everywhere (NaN on its
// centre row), so the whole output is the blurred image, at a 256 x 199
// working size (199.68) with kernel radius 2 (2.56).
TEST(TiltShiftFilter, DefaultPointsBlurEverywhere) {
    oxTiltShiftParams* p = oxTiltShiftParamsDefault();
    ASSERT_NE(p, nullptr);
    p->maxSize = 256;
    Image src = noise(50, 39, OX_BGR, OX_8U, 7), dst = make(50, 39, OX_BGR);
    EXPECT_EQ(oxTiltShiftFilter(p, src.get(), dst.get()), 0);
    oxTiltShiftParamsRelease(&p);
    golden::expect("tiltshift", "filter_default_points", dst->data, 50, 39, 0xa7d798e6fec0afb3ull);
}
