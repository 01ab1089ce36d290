// Hot operations of the image core on a 12-megapixel image.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 4000, kHeight = 3000;

void BM_GrayFromBgr(benchmark::State& state) {
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageCvtColor(src.get(), dst.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_GrayFromBgr)->Unit(benchmark::kMillisecond);

void BM_CopyBgr(benchmark::State& state) {
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 2);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(oxCopy(src.get(), dst.get()));
    state.SetBytesProcessed(state.iterations() * kWidth * kHeight * 3);
}
BENCHMARK(BM_CopyBgr)->Unit(benchmark::kMillisecond);

void BM_FillBgr(benchmark::State& state) {
    auto img = oxtest::make(kWidth, kHeight, OX_BGR);
    for (auto _ : state) {
        oxImageSetVal(img.get(), 300.0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kWidth * kHeight * 3);
}
BENCHMARK(BM_FillBgr)->Unit(benchmark::kMillisecond);

void BM_FillGray32F(benchmark::State& state) {
    auto img = oxtest::make(kWidth, kHeight, OX_GRAY, OX_32F);
    for (auto _ : state) {
        oxImageSetVal(img.get(), 0.5);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kWidth * kHeight * 4);
}
BENCHMARK(BM_FillGray32F)->Unit(benchmark::kMillisecond);

void BM_InvertGray(benchmark::State& state) {
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 3);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageInvert(src.get(), dst.get()));
    state.SetBytesProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_InvertGray)->Unit(benchmark::kMillisecond);

}  // namespace
