// The saturation change and the focus mask on 12 megapixels, each path
// against its plain reference (argument: 0 reference, 1 baseline, 2 AVX2).
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 4000, kHeight = 3000;

using oxbench::PathCap;

// In place, as the last stage of the simplification runs it.
void BM_PathSaturateBgr(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto img = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    const oxSaturateParams p{0.3f};
    for (auto _ : state) benchmark::DoNotOptimize(oxSaturateFilter(&p, img.get(), img.get(), nullptr));
}
BENCHMARK(BM_PathSaturateBgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PathFocusMask(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto mask = oxtest::make(kWidth, kHeight, OX_GRAY);
    const oxFocusMaskParams box{0.2f, 0.4f, 0.8f, 0.6f};
    for (auto _ : state) benchmark::DoNotOptimize(oxFocusMaskFill(&box, mask.get()));
}
BENCHMARK(BM_PathFocusMask)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
