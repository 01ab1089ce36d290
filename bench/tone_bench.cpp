// The tone stages on a 12-megapixel BGR image.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "path_cap.hpp"
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

// The transfer table alone (65536 clamped products), per path: argument
// 0 reference, 1 baseline, 2 AVX2.
void BM_TransferTable(benchmark::State& state) {
    oxbench::PathCap cap(state);
    if (!cap) return;
    const oxTransferEnhanceParams params{0.3f, 1.4f, 7};
    const oxTransferEnhanceStats stats{1.2e9f, 1.2e7f};
    auto* out = static_cast<oxTransferEnhanceAddParams*>(std::malloc(sizeof(oxTransferEnhanceAddParams)));
    for (auto _ : state) {
        oxTransferEnhanceAddParamsCompute(&stats, &params, out);
        benchmark::DoNotOptimize(out->gainTable[255 * 256 + 128]);
    }
    std::free(out);
}
BENCHMARK(BM_TransferTable)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace

namespace {

// The Enhance entry point with the defaults it keeps (contrast, then the
// transfer curve of steepness 0.3).
// Third argument: the path cap (0 reference, 1 baseline, 2 AVX2).
void BM_YewEnhance(benchmark::State& state) {
    const auto w = static_cast<int32_t>(state.range(0)), h = static_cast<int32_t>(state.range(1));
    oxbench::PathCap cap(state, 2);
    if (!cap) return;
    auto src = oxtest::noise(w, h, OX_BGR, OX_8U, 1);
    auto dst = oxtest::make(w, h, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(oxYewEnhance(w, h, src->data, dst->data, 0.3f));
    state.SetItemsProcessed(state.iterations() * w * h);
}
BENCHMARK(BM_YewEnhance)
    ->ArgsProduct({{kWidth}, {kHeight}, {0, 1, 2}})
    ->ArgsProduct({{1000}, {750}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);

// Every stage on, in place, blended through a weight image: the copy, both
// extra mixes and the sharpen stage on top of the entry point's work.
void BM_EnhanceFilterAllStagesInPlace(benchmark::State& state) {
    const oxEnhanceParams params{1, 1, 0.8f, 9.0f, 4.0f, 0.3f, 1.4f, 7, 1, 0.6f, 1, 0.3f};
    auto img = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    auto weights = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(oxEnhanceFilter(&params, img.get(), weights.get(), img.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_EnhanceFilterAllStagesInPlace)->Unit(benchmark::kMillisecond);

}  // namespace
