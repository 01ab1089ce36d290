#include <gtest/gtest.h>

#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

std::vector<uint8_t> voxels(const oxVolume* v) {
    std::vector<uint8_t> all;
    for (int32_t z = 0; z < v->depth; ++z)
        all.insert(all.end(), v->planes[z]->data, v->planes[z]->data + byteCount(v->planes[z]));
    return all;
}

Kernel makeKernel(std::vector<std::vector<float>> w, int32_t normalize = 0, int32_t border = OX_PAD_EXPAND) {
    auto r = [&](int a) { return static_cast<int32_t>(w[a].size() / 2); };
    Kernel k(oxSepKernelCreate3D(r(0), r(1), r(2), normalize, border));
    float* to[3] = {k->kernelX, k->kernelY, k->kernelZ};
    for (int a = 0; a < 3; ++a) std::copy(w[a].begin(), w[a].end(), to[a]);
    return k;
}

const std::vector<float> kId{0, 1, 0};

}  // namespace

// With kernelZ = {0, 1, 0} each plane comes out as the image filter makes it;
// the work buffer has exactly the advertised size; in place agrees.
TEST(Convolution3D, IdentityDepthMatchesTheImageFilterInEveryForm) {
    for (int32_t type : {OX_8U, OX_32F, OX_64F})
        for (int32_t border : {OX_PAD_EXPAND, OX_PAD_REFLECT}) {
            Kernel k = makeKernel({{1, 2, 3, 4, 5}, {1, 4, 6, 4, 1}, kId}, 1, border);
            TestVolume src = noiseVolume(13, 9, 3, type, 5, border), dst = noiseVolume(13, 9, 3, type, 6);
            std::vector<uint8_t> buffer(oxSeparableConvolutionGetTempBufferSize3D(src.get()));
            ASSERT_EQ(buffer.size(), 13u * 9 * 4 * 4);
            ASSERT_EQ(oxSeparableConvolutionFilterOpt3D(src.get(), dst.get(), k.get(), buffer.data()), 0);
            for (int32_t z = 0; z < 3; ++z) {
                Image plane = make(13, 9, OX_GRAY, type);
                ASSERT_EQ(oxSeparableConvolutionFilter(src->planes[z], plane.get(), k.get()), 0);
                EXPECT_EQ(bytesOf(dst->planes[z]), bytesOf(plane.get())) << type << " border " << border << " z " << z;
            }
            ASSERT_EQ(oxSeparableConvolutionFilter3D(src.get(), src.get(), k.get()), 0);
            EXPECT_EQ(voxels(src.get()), voxels(dst.get())) << type << " border " << border;
        }
}

// A unit voxel at (2, 3, 4) spreads into the outer product of the mirrored
// kernels, formed in float axis by axis: (kx * ky) * kz, each rounded.
TEST(Convolution3D, DeltaGivesTheOuterProductInFloat) {
    const std::vector<float> kx{0.1f, 0.7f, 0.3f}, ky{0.3f, 0.11f, 0.9f, 0.13f, 0.5f},
        kz{0.17f, 0.31f, 0.23f, 0.7f, 0.37f, 0.19f, 0.29f};
    Kernel k = makeKernel({kx, ky, kz});
    for (int32_t type : {OX_32F, OX_64F}) {
        TestVolume src(oxVolumeCreateWithType(5, 7, 9, type)), dst = noiseVolume(5, 7, 9, type, 1);
        ox::detail::visitType(type, [&](auto t) { reinterpret_cast<typename decltype(t)::type*>(src->data)[157] = 1; });
        ASSERT_EQ(oxSeparableConvolutionFilter3D(src.get(), dst.get(), k.get()), 0);
        for (int32_t i = 0; i < 5 * 7 * 9; ++i) {
            const int32_t x = 3 - i % 5, y = 5 - i / 5 % 7, z = 7 - i / 35;  // tap indices
            const bool inside = x >= 0 && x < 3 && y >= 0 && y < 5 && z >= 0 && z < 7;
            ASSERT_EQ(ox::detail::readElement(dst->data, type, i), inside ? (kx[x] * ky[y]) * kz[z] : 0.0f) << i;
        }
    }
}

// The depth pass at both faces with both rules and an asymmetric kernelZ, over
// planes holding z + 1; a pad table left by a deeper volume is refused.
TEST(Convolution3D, DepthPassFacesThroughAMatchingPadCache) {
    const double expect[2][4] = {{11, 17, 24, 27}, {12, 17, 24, 23}};
    std::vector<float> inter(36);
    for (int32_t i = 0; i < 36; ++i) inter[i] = static_cast<float>(i / 9 + 1);
    for (int32_t border : {OX_PAD_EXPAND, OX_PAD_REFLECT}) {
        Kernel k = makeKernel({kId, kId, {1, 2, 4}}, 0, border);
        TestVolume deep(oxVolumeCreate(3, 3, 9)), dst(oxVolumeCreateWithType(3, 3, 4, OX_64F));
        ASSERT_EQ(oxSepKernelPreComputePadding3D(k.get(), deep.get()), 0);
        EXPECT_EQ(oxApplySepKernelD64D3D(inter.data(), dst.get(), k.get()), 1);
        ASSERT_EQ(oxSepKernelPreComputePadding3D(k.get(), dst.get()), 0);
        ASSERT_EQ(oxApplySepKernelD64D3D(inter.data(), dst.get(), k.get()), 0);
        for (int32_t z = 0; z < 4; ++z) EXPECT_EQ(at<double>(dst->planes[z], 4), expect[border][z]) << border << z;
    }
}

TEST(Convolution3D, RefusalsAndNoCoresLeaveTheDestinationAlone) {
    Kernel g(oxSepKernelGaussian(2)), zeroSum = makeKernel({{-1, 0, 1}, kId, kId}, 1);
    const struct {
        const char* what;
        int32_t w, d, type, dstW, cores, status;
        oxSepKernel* kernel;
    } cases[] = {{"16-bit", 6, 6, OX_16U, 6, 1, 1, g.get()},
                 {"sizes differ", 6, 6, OX_8U, 7, 1, 1, g.get()},
                 {"shallower than the kernel", 6, 4, OX_64F, 6, 1, 1, g.get()},
                 {"kernel sums to 0", 6, 6, OX_8U, 6, 1, 1, zeroSum.get()},
                 {"no core granted", 6, 6, OX_32F, 6, 0, 0, g.get()}};
    for (const auto& c : cases) {
        TestVolume src = noiseVolume(c.w, 6, c.d, c.type, 3), dst = noiseVolume(c.dstW, 6, c.d, c.type, 4);
        const std::vector<uint8_t> before = voxels(dst.get());
        oxSystemInfoSetNumberOfCores(c.cores);
        EXPECT_EQ(oxSeparableConvolutionFilter3D(src.get(), dst.get(), c.kernel), c.status) << c.what;
        oxSystemInfoSetNumberOfCores(1);
        EXPECT_EQ(voxels(dst.get()), before) << c.what;
    }
}
