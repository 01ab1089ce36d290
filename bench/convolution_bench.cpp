// Separable Gaussian blur: radius 10 on a 1024x768 BGR image, and the same
// on one float plane to show the cost of the passes alone.
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

}  // namespace
