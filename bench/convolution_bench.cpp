// Separable Gaussian blur: radius 10 on a 1024x768 BGR image (the
// tilt-shift working image) and on one float plane, each on every
// instruction-set path (argument: 0 reference, 1 baseline, 2 AVX2, capped
// by the processor), and radius 2 on a 256x256x64 8-bit volume.
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 1024, kHeight = 768;

// Runs the filter on the path the benchmark's argument names.
void timeGaussian(benchmark::State& state, int32_t encoding, int32_t type) {
    oxbench::PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, encoding, type, 1);
    auto dst = oxtest::make(kWidth, kHeight, encoding, type);
    oxtest::Kernel kernel(oxSepKernelGaussian(10));
    for (auto _ : state) benchmark::DoNotOptimize(oxSeparableConvolutionFilter(src.get(), dst.get(), kernel.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_GaussianRadius10Bgr(benchmark::State& state) { timeGaussian(state, OX_BGR, OX_8U); }
BENCHMARK(BM_GaussianRadius10Bgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_GaussianRadius10GrayFloat(benchmark::State& state) { timeGaussian(state, OX_GRAY, OX_32F); }
BENCHMARK(BM_GaussianRadius10GrayFloat)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

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
