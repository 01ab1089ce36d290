// Separable Gaussian blur: radius 10 on a 1024x768 BGR image, the same on
// one float plane to show the cost of the passes alone, and radius 2 on a
// 256x256x64 8-bit volume.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 1024, kHeight = 768;

void BM_GaussianRadius10Bgr(benchmark::State& state) {
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR);
    oxtest::Kernel kernel(oxSepKernelGaussian(10));
    for (auto _ : state) benchmark::DoNotOptimize(oxSeparableConvolutionFilter(src.get(), dst.get(), kernel.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_GaussianRadius10Bgr)->Unit(benchmark::kMillisecond);

void BM_GaussianRadius10GrayFloat(benchmark::State& state) {
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_32F, 2);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY, OX_32F);
    oxtest::Kernel kernel(oxSepKernelGaussian(10));
    for (auto _ : state) benchmark::DoNotOptimize(oxSeparableConvolutionFilter(src.get(), dst.get(), kernel.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_GaussianRadius10GrayFloat)->Unit(benchmark::kMillisecond);

void BM_GaussianRadius2Volume(benchmark::State& state) {
    constexpr int32_t kSide = 256, kDepth = 64;
    oxVolume* src = oxVolumeCreate(kSide, kSide, kDepth);
    oxVolume* dst = oxVolumeCreate(kSide, kSide, kDepth);
    for (int32_t z = 0; z < kDepth; ++z) oxtest::fillNoise(src->planes[z], 3 + z);
    oxtest::Kernel kernel(oxSepKernelGaussian(2));
    for (auto _ : state) benchmark::DoNotOptimize(oxSeparableConvolutionFilter3D(src, dst, kernel.get()));
    state.SetItemsProcessed(state.iterations() * kSide * kSide * kDepth);
    oxVolumeRelease(&src);
    oxVolumeRelease(&dst);
}
BENCHMARK(BM_GaussianRadius2Volume)->Unit(benchmark::kMillisecond);

}  // namespace
