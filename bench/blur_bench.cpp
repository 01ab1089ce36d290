// Box blur on 12-megapixel images, each fast path against the plain
// reference.
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
#include "support/test_support.hpp"

namespace {

void runBlur(benchmark::State& state, int32_t encoding, int32_t radius) {
    constexpr int32_t kWidth = 4000, kHeight = 3000;
    oxbench::PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, encoding, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, encoding);
    const oxBlurParams params{radius, radius};
    for (auto _ : state) benchmark::DoNotOptimize(oxBlurFilter(&params, src.get(), dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_BoxBlurRadius3Gray(benchmark::State& state) { runBlur(state, OX_GRAY, 3); }
void BM_BoxBlurRadius7Gray(benchmark::State& state) { runBlur(state, OX_GRAY, 7); }
void BM_BoxBlurRadius3BGR(benchmark::State& state) { runBlur(state, OX_BGR, 3); }

// Arguments: the path cap (0 reference, 1 baseline, 2 AVX2).
BENCHMARK(BM_BoxBlurRadius3Gray)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoxBlurRadius7Gray)->DenseRange(1, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BoxBlurRadius3BGR)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
