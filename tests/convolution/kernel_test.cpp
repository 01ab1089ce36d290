#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

#include "support/test_support.hpp"

namespace {

using oxtest::Kernel;

std::vector<float> taps(const float* w, int32_t r) { return {w, w + 2 * r + 1}; }

// sigma recovered from the first two weights: w[r+1]/w[r] = exp(-1/(2 sigma^2)).
double sigmaOf(const oxSepKernel* k) {
    const int32_t r = k->radiusX;
    return std::sqrt(-0.5 / std::log(static_cast<double>(k->kernelX[r + 1]) / k->kernelX[r]));
}

}  // namespace

TEST(KernelSizes, SigmaFromSizeSizeFromSigmaAndAperture) {
    const struct {
        int32_t size;
        double sigma;
    } fromSize[] = {{3, 0.8}, {5, 1.1}, {4, 1.1}, {7, 1.4}, {1, 0.5}, {-3, 0.2}, {21, 3.5}};  // size/2 truncates
    for (const auto& c : fromSize) EXPECT_NEAR(getSigmaFromSize(c.size), c.sigma, 1e-12) << c.size;
    const int32_t most = std::numeric_limits<int32_t>::max();
    const struct {
        double sigma;
        int32_t size, aperture;
    } fromSigma[] = {{0.0, 3, 1},   {-2.0, 3, 1},         {0.374, 3, 1},
                     {0.375, 5, 2}, {0.6, 5, 2},          {1.0, 9, 4},
                     {2.0, 17, 8},  {std::nan(""), 3, 1}, {1e300, most, (most - 1) / 2}};
    for (const auto& c : fromSigma) {
        EXPECT_EQ(getSizeFromSigma(c.sigma), c.size) << c.sigma;
        EXPECT_EQ(oxSepKernelGaussianGetApertureFromSigma(c.sigma), c.aperture) << c.sigma;
    }
}

TEST(KernelBorder, RulesWorkedValues) {
    const struct {
        int32_t i, lo, hi, expand, reflect;
    } cases[] = {{-2, 0, 9, 0, 2}, {11, 0, 9, 9, 7}, {9, 0, 9, 9, 9}, {12, 0, 9, 9, 6},
                 {0, 0, 9, 0, 0},  {5, 0, 9, 5, 5},  {1, 2, 9, 2, 1}};  // lo - i below, not 2*lo - i
    for (const auto& c : cases) {
        EXPECT_EQ(oxSepKernelPadExpandFunc(c.i, c.lo, c.hi), c.expand) << c.i;
        EXPECT_EQ(oxSepKernelPadReflectFunc(c.i, c.lo, c.hi), c.reflect) << c.i;
    }
}

TEST(KernelCreate, RefusesBadRadiiAndFlags) {
    const struct {
        int32_t rx, ry, rz, normalize, border;
    } bad[] = {{0, 1, 1, 0, 0}, {1, 1, -1, 0, 0}, {1, 1, 1, -1, 0},        {1, 1, 1, 0, 2},
               {1, 1, 1, 2, 1}, {1, 1, 1, 0, -1}, {1073741824, 1, 1, 0, 0}};
    for (const auto& c : bad) EXPECT_EQ(oxSepKernelCreate3D(c.rx, c.ry, c.rz, c.normalize, c.border), nullptr);
    Kernel k(oxSepKernelCreate3D(2, 3, 1, 1, OX_PAD_REFLECT)), flat(oxSepKernelCreate(4, 2, 0, OX_PAD_EXPAND));
    EXPECT_EQ(taps(k->kernelY, 3), std::vector<float>(7, 0.0f));
    EXPECT_TRUE(k->isNormalized == 0 && k->padCache->lengthX == 0 && k->padCache->tableX == nullptr);
    EXPECT_EQ(taps(flat->kernelZ, flat->radiusZ), (std::vector<float>{0, 1, 0}));
}

TEST(KernelCreate, CopyIsDeepAndStartsWithAnEmptyCache) {
    Kernel g(oxSepKernelGaussian(2));
    oxVolume vol{OX_8U, 5, 5, 5, nullptr, nullptr, {}};
    ASSERT_EQ(oxSepKernelPreComputePadding3D(g.get(), &vol), 0);
    oxSepKernel* c = oxSepKernelCopy(g.get());
    EXPECT_EQ(taps(c->kernelZ, 2), taps(g->kernelZ, 2));
    EXPECT_TRUE(c->kernelX != g->kernelX && c->isNormalized == 1 && c->padCache->lengthX == 0);
    oxSepKernelRelease(&c);
    EXPECT_EQ(c, nullptr);
    oxSepKernelRelease(&c);
}

// Weights are pinned bit for bit where listed (float steps of the exact
// sigma); sigma is otherwise read back from the ratio of two weights.
TEST(KernelGaussian, RadiusSigmaAndWeights) {
    const std::vector<float> r1{0x1.0b4516p-1f, 0x1.e975d2p-3f}, r2{0x1.7a6a64p-2f, 0x1.f4a7a6p-3f, 0x1.21dbecp-4f};
    const struct {
        bool fromSigma;
        int32_t radius;
        double sigma;
        int32_t expectRadius;
        double expectSigma;
        std::vector<float> centreOutwards;
    } cases[] = {{false, 1, 0, 1, 0.8, r1},   {false, 2, 0, 2, 1.1, r2},   {false, 10, 0, 10, 3.5, {}},
                 {true, -1, 2.0, 8, 2.0, {}}, {true, 20, 2.0, 8, 2.0, {}}, {true, 3, 2.0, 3, 2.0, {}},
                 {true, -1, 0.0, 1, 0.8, r1}, {true, 4, -1.0, 1, 0.8, r1}};
    for (const auto& c : cases) {
        Kernel k(c.fromSigma ? oxSepKernelGaussianFromSigma(c.radius, c.sigma) : oxSepKernelGaussian(c.radius));
        ASSERT_TRUE(k) << c.radius;
        const int32_t r = k->radiusX;
        EXPECT_TRUE(r == c.expectRadius && k->radiusY == r && k->radiusZ == r) << c.radius << " " << c.sigma;
        for (size_t i = 0; i < c.centreOutwards.size(); ++i) EXPECT_EQ(k->kernelX[r + i], c.centreOutwards[i]);
        EXPECT_NEAR(sigmaOf(k.get()), c.expectSigma, 1e-4);
        EXPECT_TRUE(taps(k->kernelY, r) == taps(k->kernelX, r) && taps(k->kernelZ, r) == taps(k->kernelX, r));
        EXPECT_TRUE(k->normalize == 1 && k->isNormalized == 1 && k->border == OX_PAD_EXPAND);
        EXPECT_NEAR(std::accumulate(k->kernelX, k->kernelX + 2 * r + 1, 0.0f), 1.0f, 1e-6f);
    }
    EXPECT_EQ(oxSepKernelGaussian(0), nullptr);
    EXPECT_EQ(oxSepKernelGaussian(-3), nullptr);
    EXPECT_EQ(oxSepKernelGaussianFromSigma(0, 2.0), nullptr);
}

TEST(KernelGaussian, InitArrSubstitutesFromTheArgumentsAsPassed) {
    Kernel g2(oxSepKernelGaussian(2));
    std::vector<float> w(19, -7.0f);
    initArr(w.data(), 5, 0.0);  // sigma from the size
    EXPECT_EQ(std::vector<float>(w.begin(), w.begin() + 5), taps(g2->kernelX, 2));
    EXPECT_EQ(w[5], -7.0f);
    std::fill(w.begin(), w.end(), -7.0f);
    initArr(w.data(), 0, 2.0);  // size from the sigma: 17 taps
    EXPECT_GT(w[16], 0.0f);
    EXPECT_EQ(w[17], -7.0f);
    std::fill(w.begin(), w.end(), -7.0f);
    initArr(w.data(), 4, 1.0);  // an even size would need 5 entries
    EXPECT_EQ(w, std::vector<float>(19, -7.0f));
}

TEST(KernelNormalize, DividesByTheFloatSum) {
    const float big = FLT_MAX;
    const struct {
        std::vector<float> x;
        int32_t normalize;
        bool ok;
        std::vector<float> expect;
    } cases[] = {{{1, 2, 1}, 1, true, {0.25f, 0.5f, 0.25f}}, {{1, 2, 1}, 0, true, {1, 2, 1}},
                 {{-1, 0, 1}, 1, false, {}},  // derivative: sums to 0
                 {{1e8f, 1, -1e8f}, 1, false, {}},  // 0 in float, 1 in double
                 {{big, big, 0}, 1, false, {}},     {{1, 2, 1}, 2, false, {}}};
    for (const auto& c : cases) {
        Kernel k(oxSepKernelCreate(1, 1, 0, OX_PAD_REFLECT));
        std::copy(c.x.begin(), c.x.end(), k->kernelX);
        k->kernelY[1] = 2.0f;
        k->normalize = c.normalize;
        Kernel n(oxSepKernelGetNormalizedKernel(k.get()));
        ASSERT_EQ(n != nullptr, c.ok) << c.x[0];
        if (!n) continue;
        EXPECT_EQ(taps(n->kernelX, 1), c.expect);
        EXPECT_EQ(n->kernelY[1], c.normalize == 1 ? 1.0f : 2.0f);
        EXPECT_TRUE(n->normalize == 0 && n->border == OX_PAD_REFLECT && n->isNormalized == 0);
    }
}

TEST(KernelFit, ImageAndVolumeMustHoldTheWholeKernel) {
    Kernel k(oxSepKernelCreate3D(2, 1, 3, 0, 0));
    const struct {
        int32_t w, h, d, image, volume;
    } cases[] = {{5, 3, 7, 1, 1}, {4, 3, 7, 0, 0}, {5, 2, 7, 0, 0}, {5, 3, 6, 1, 0}};
    for (const auto& c : cases) {
        const oxImage img{OX_8U, OX_GRAY, c.h, c.w, nullptr, {}, 0};
        const oxVolume vol{OX_8U, c.d, c.w, c.h, nullptr, nullptr, {}};
        EXPECT_EQ(oxSepKernelCheckForImage(k.get(), &img), c.image);
        EXPECT_EQ(oxSepKernelCheckForVolume(k.get(), &vol), c.volume);
    }
}

TEST(KernelPadCache, TablesGrowOnlyAndAreRefilledForEachVolume) {
    Kernel k(oxSepKernelCreate3D(2, 1, 1, 0, OX_PAD_REFLECT));
    oxVolume big{OX_8U, 3, 10, 4, nullptr, nullptr, {}};
    ASSERT_EQ(oxSepKernelPreComputePadding3D(k.get(), &big), 0);
    const oxSepKernelPadCache& c = *k->padCache;
    EXPECT_EQ(c.centreX, c.tableX + 2);
    EXPECT_EQ(std::vector<int32_t>(c.tableX, c.tableX + 15),
              (std::vector<int32_t>{2, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 8, 7, 6}));
    EXPECT_EQ(std::vector<int32_t>(c.tableZ, c.tableZ + 6), (std::vector<int32_t>{1, 0, 1, 2, 1, 0}));
    const int32_t* before = c.tableX;
    oxVolume small{OX_8U, 3, 4, 4, nullptr, nullptr, {}};
    k->border = OX_PAD_EXPAND;
    ASSERT_EQ(oxSepKernelPreComputePadding3D(k.get(), &small), 0);
    EXPECT_EQ(c.tableX, before);
    EXPECT_EQ(c.lengthX, 10);
    EXPECT_EQ(std::vector<int32_t>(c.centreX - 2, c.centreX + 7), (std::vector<int32_t>{0, 0, 0, 1, 2, 3, 3, 3, 3}));
    oxVolume empty{OX_8U, 0, 4, 4, nullptr, nullptr, {}};
    EXPECT_EQ(oxSepKernelPreComputePadding3D(k.get(), &empty), 1);
}
