// The tables the library builds from exp and log, pinned by hash: the
// bilateral range and space weights (a float exp of a float), the transfer
// gain table (float exp and log) and Gaussian kernels (a float of the exp
// of a double). The suite also runs on arm64 and on x86-64 with the maths
// library forced off its fused multiply-add code, so a table that followed
// one platform's last bit would fail there. (Every float argument of exp
// and log has been checked to round to the same float with any exp or log
// accurate to one unit; tests/platform/libm_check.cpp repeats that check.)
#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct BilateralDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};

uint64_t mix(uint64_t h, const void* data, size_t size) { return (h ^ hashBytes(data, size)) * 1099511628211ull; }

}  // namespace

// The range table for three sigmas (the small one puts most weights among
// the subnormals), with the space table of its record. The planes a = 0
// and a = 255 hold every squared distance from 0 to 3 * 255^2.
TEST(MathTables, BilateralWeights) {
    struct Case {
        double space, range;
        uint64_t hash;
    } cases[] = {{0.7, 0.013, 0x9f1e1fc414908a77ull}, {2.5, 0.21, 0x7906e1221a1eaa8dull}, {9.0, 1.7, 0x14a871f14aee82f6ull}};
    for (const Case& c : cases) {
        std::unique_ptr<oxBilateralParams, BilateralDeleter> p(oxBilateralParamsDefault());
        p->spaceSigma = c.space;
        p->rangeSigma = c.range;
        p->radius = 1;
        Image src = noise(3, 3, OX_BGR, OX_8U, 1), dst = make(3, 3, OX_BGR);
        ASSERT_EQ(oxBilateralFilter(p.get(), src.get(), dst.get()), 0);  // builds both tables
        uint64_t h = mix(1469598103934665603ull, p->tables2D->rangeWeights[0], sizeof p->tables2D->rangeWeights[0]);
        h = mix(h, p->tables2D->rangeWeights[255], sizeof p->tables2D->rangeWeights[255]);
        h = mix(h, p->tables2D->spaceWeights, sizeof p->tables2D->spaceWeights);
        EXPECT_EQ(h, c.hash) << c.range << std::hex << " 0x" << h << "ull";
    }
}

// Gain tables over steepness, strength and mean brightness.
TEST(MathTables, TransferGains) {
    uint64_t h = 1469598103934665603ull;
    oxTransferEnhanceAddParams add{};
    for (float steepness : {0.05f, 0.3f, 0.77f, 2.5f})
        for (float strength : {0.4f, 1.0f, 1.4f})
            for (float mean : {12.0f, 70.0f, 101.5f, 150.0f, 230.0f}) {
                const oxTransferEnhanceStats stats{mean * 1000.0f, 1000.0f};
                const oxTransferEnhanceParams params{steepness, strength, 7};
                oxTransferEnhanceAddParamsCompute(&stats, &params, &add);
                h = mix(h, add.gainTable, sizeof add.gainTable);
            }
    EXPECT_EQ(h, 0x996ab4e679abcf09ull) << std::hex << "0x" << h << "ull";
}

// Kernels of every radius up to 60 with the sigma the radius derives, and
// of sigmas from 0.1 to 20.
TEST(MathTables, GaussianKernels) {
    uint64_t h = 1469598103934665603ull;
    auto add = [&](int32_t radius, double sigma) {
        Kernel k(oxSepKernelGaussianFromSigma(radius, sigma));
        ASSERT_TRUE(k);
        h = mix(h, k->kernelX, sizeof(float) * (2 * k->radiusX + 1));
    };
    for (int32_t r = 1; r <= 60; ++r) add(r, 0.0);
    for (int32_t i = 1; i <= 200; ++i) add(-1, 0.1 * i);
    EXPECT_EQ(h, 0x4ad0fb64d6d645aull) << std::hex << "0x" << h << "ull";
}
