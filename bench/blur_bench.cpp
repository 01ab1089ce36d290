// Box blur on a 12-megapixel grey image.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

void BM_BoxBlurRadius3Gray(benchmark::State& state) {
    constexpr int32_t kWidth = 4000, kHeight = 3000;
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    const oxBlurParams params{3, 3};
    for (auto _ : state) benchmark::DoNotOptimize(oxBlurFilter(&params, src.get(), dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_BoxBlurRadius3Gray)->Unit(benchmark::kMillisecond);

}  // namespace
