// Bilinear resize of a 12-megapixel colour image to a working size and
// back, as the painterly effect does.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

void BM_BilinearResizeBgrDownAndUp(benchmark::State& state) {
    auto big = oxtest::noise(4000, 3000, OX_BGR, OX_8U, 1);
    auto small = oxtest::make(1024, 768, OX_BGR);
    auto back = oxtest::make(4000, 3000, OX_BGR);
    for (auto _ : state) {
        benchmark::DoNotOptimize(oxResize(big.get(), small.get(), 0, nullptr));
        benchmark::DoNotOptimize(oxResize(small.get(), back.get(), 0, nullptr));
    }
    state.SetItemsProcessed(state.iterations() * (4000 * 3000 + 1024 * 768));
}
BENCHMARK(BM_BilinearResizeBgrDownAndUp)->Unit(benchmark::kMillisecond);

// Lens distortion with the default parameters (crop and resize back) on a
// 1024x768 colour frame.
void BM_LensDistortionCropBgr(benchmark::State& state) {
    auto src = oxtest::noise(1024, 768, OX_BGR, OX_8U, 2);
    auto dst = oxtest::make(1024, 768, OX_BGR);
    const oxLensDistortionParams params{0.5f, 0.5f, 0.5f, 1};
    for (auto _ : state) benchmark::DoNotOptimize(oxLensDistortionFilter(&params, src.get(), dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * 1024 * 768);
}
BENCHMARK(BM_LensDistortionCropBgr)->Unit(benchmark::kMillisecond);

}  // namespace
