// High boost as the Simplify effect runs it (radius 3, gain 0.9, maxRatio 2)
// on a 12-megapixel colour image, in place, each path against the plain
// reference.
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
#include "support/test_support.hpp"

namespace {

void BM_HighBoostInPlace12MP(benchmark::State& state) {
    constexpr int32_t kWidth = 4000, kHeight = 3000;
    oxbench::PathCap cap(state);
    if (!cap) return;
    const oxHighBoostParams p{1, {3, 3}, 0.9f, 2.0f};
    auto img = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 2);
    for (auto _ : state) benchmark::DoNotOptimize(oxHighBoostFilter(&p, img.get(), img.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
// Argument: the path cap (0 reference, 1 baseline, 2 AVX2).
BENCHMARK(BM_HighBoostInPlace12MP)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
