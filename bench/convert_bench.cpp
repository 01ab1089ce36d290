// Type conversion of a 12-megapixel BGR image, both directions between
// bytes and floats.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 4000, kHeight = 3000;

void convert(benchmark::State& state, int32_t from, int32_t to) {
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, from, 5);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR, to);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageCvtType(src.get(), dst.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight * 3);
}

void BM_CvtType8UTo32F(benchmark::State& state) { convert(state, OX_8U, OX_32F); }
BENCHMARK(BM_CvtType8UTo32F)->Unit(benchmark::kMillisecond);

void BM_CvtType32FTo8U(benchmark::State& state) { convert(state, OX_32F, OX_8U); }
BENCHMARK(BM_CvtType32FTo8U)->Unit(benchmark::kMillisecond);

}  // namespace
