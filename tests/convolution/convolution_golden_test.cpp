// Golden outputs of the separable convolution on BGR photographs and noise
// (format in support/golden.hpp): the Gaussian the tilt-shift effect blurs
// with, a small one, and an asymmetric kernel with the reflect rule.
#include "support/golden.hpp"

using namespace oxtest;

namespace {

enum class Weights { Gaussian, Asymmetric };

struct Params {
    Weights weights;
    int32_t radius;  // of the Gaussian; the asymmetric kernel has radius 2 across and 3 down
    bool inPlace;
};
using Golden = golden::Case<Params>;

const Golden kGolden[] = {
    // name                    photo / noise size          weights             radius in place  hash
    {"astronaut_gauss10",      {"astronaut.png", 0, 0},   {Weights::Gaussian,   10, false}, 0x5adf02b0d46681e3ull},
    {"astronaut_gauss10_self", {"astronaut.png", 0, 0},   {Weights::Gaussian,   10, true},  0x5adf02b0d46681e3ull},
    {"chelsea_gauss3",         {"chelsea.png", 0, 0},     {Weights::Gaussian,   3,  false}, 0x452bcc4593de0452ull},
    {"coffee_asymmetric",      {"coffee.png", 0, 0},      {Weights::Asymmetric, 0,  true},  0x144159a9993ad3f4ull},
    {"rocket_gauss10_small",   {"rocket.jpg", 101, 67},   {Weights::Gaussian,   10, false}, 0x95513c9b154e3e6bull},
    {"noise_gauss1",           {nullptr, 67, 45},         {Weights::Gaussian,   1,  true},  0x0e2374479f3b1970ull},
    {"noise_asymmetric",       {nullptr, 1031, 7},        {Weights::Asymmetric, 0,  false}, 0xc4763c5a0a912fb7ull},
};

Kernel asymmetric() {
    // Negative taps and a sum above 1 drive the 8-bit result past both ends.
    Kernel k(oxSepKernelCreate(2, 3, 0, OX_PAD_REFLECT));
    const float x[] = {-0.75f, 0.5f, 1.25f, 0.25f, 0.125f}, y[] = {0.5f, -0.25f, 0.0f, 1.0f, 0.0625f, 0.125f, -0.5f};
    std::copy(std::begin(x), std::end(x), k->kernelX);
    std::copy(std::begin(y), std::end(y), k->kernelY);
    return k;
}

class ConvolutionGolden : public testing::TestWithParam<Golden> {};

TEST_P(ConvolutionGolden, OutputBytes) {
    const Golden& g = GetParam();
    const Params& p = g.params;
    OX_GOLDEN_SOURCE(src, g.source, 5);
    Kernel k = p.weights == Weights::Gaussian ? Kernel(oxSepKernelGaussian(p.radius)) : asymmetric();
    Image dst = make(src->width, src->height, OX_BGR);
    oxImage* out = p.inPlace ? src.get() : dst.get();
    ASSERT_EQ(oxSeparableConvolutionFilter(src.get(), out, k.get()), 0);
    golden::expect("convolution", g.name, out->data, out->width, out->height, g.hash);
}

INSTANTIATE_TEST_SUITE_P(Cases, ConvolutionGolden, testing::ValuesIn(kGolden), golden::CaseName());

}  // namespace
