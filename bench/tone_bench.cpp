// The tone stages on a 12-megapixel BGR image.
#include <benchmark/benchmark.h>

#include "support/test_support.hpp"

namespace {

constexpr int32_t kWidth = 4000, kHeight = 3000;

template <class Run> void runOnNoise(benchmark::State& state, Run&& run) {
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(run(src.get(), dst.get()));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void BM_ColorCorrectionFilter(benchmark::State& state) {
    runOnNoise(state, [](const oxImage* s, oxImage* d) { return oxColorCorrectionFilter(s, nullptr, d, nullptr); });
}
BENCHMARK(BM_ColorCorrectionFilter)->Unit(benchmark::kMillisecond);

void BM_ContrastEnhanceFilter(benchmark::State& state) {
    oxContrastEnhanceParams* p = oxContrastEnhanceParamsDefault();
    runOnNoise(state, [p](const oxImage* s, oxImage* d) { return oxContrastEnhanceFilter(p, s, nullptr, d, nullptr); });
    oxContrastEnhanceParamsRelease(&p);
}
BENCHMARK(BM_ContrastEnhanceFilter)->Unit(benchmark::kMillisecond);

void BM_TransferEnhanceFilter(benchmark::State& state) {
    oxTransferEnhanceParams* p = oxTransferEnhanceParamsDefault();
    runOnNoise(state, [p](const oxImage* s, oxImage* d) { return oxTransferEnhanceFilter(p, s, nullptr, d, nullptr); });
    oxTransferEnhanceParamsRelease(&p);
}
BENCHMARK(BM_TransferEnhanceFilter)->Unit(benchmark::kMillisecond);

void BM_FillLight(benchmark::State& state) {
    oxFillLightParams* p = oxFillLightParamsDefault();
    p->amount = 0.5;
    auto light = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 2);
    runOnNoise(state, [&](const oxImage* s, oxImage* d) { return oxFillLight(p, s, light.get(), d, nullptr); });
    oxFillLightParamsRelease(&p);
}
BENCHMARK(BM_FillLight)->Unit(benchmark::kMillisecond);

}  // namespace
