// Hot operations of the image core on a 12-megapixel image.
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
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

// Each fast path against its plain reference: the argument caps the path
// (0 reference, 1 baseline, 2 AVX2 where the processor has it).
namespace {

using oxbench::PathCap;

void BM_PathGreyFromBgr(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 1);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageCvtColor(src.get(), dst.get()));
}
BENCHMARK(BM_PathGreyFromBgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PathInvertGrey(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 3);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageInvert(src.get(), dst.get()));
}
BENCHMARK(BM_PathInvertGrey)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// One memmove on the reference and baseline paths; stores around the caches
// on the AVX2 path (the buffer is above 8 MiB).
void BM_PathCopyBgr(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 2);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(oxCopy(src.get(), dst.get()));
    state.SetBytesProcessed(state.iterations() * kWidth * kHeight * 3);
}
BENCHMARK(BM_PathCopyBgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PathGrey8UTo32F(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 4);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY, OX_32F);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageCvtType(src.get(), dst.get()));
}
BENCHMARK(BM_PathGrey8UTo32F)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PathGrey32FTo8U(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_32F, 4);
    auto dst = oxtest::make(kWidth, kHeight, OX_GRAY);
    for (auto _ : state) benchmark::DoNotOptimize(oxImageCvtType(src.get(), dst.get()));
}
BENCHMARK(BM_PathGrey32FTo8U)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// The blends as the effects call them: in place into b, BGR.
void BM_PathBlendConstantBgr(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto a = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 5), b = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 6);
    for (auto _ : state) benchmark::DoNotOptimize(oxAddWeigthedS(a.get(), b.get(), b.get(), 77));
}
BENCHMARK(BM_PathBlendConstantBgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

void BM_PathBlendMaskedBgr(benchmark::State& state) {
    PathCap cap(state);
    if (!cap) return;
    auto a = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 7), b = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 8);
    auto mask = oxtest::noise(kWidth, kHeight, OX_GRAY, OX_8U, 9);
    for (auto _ : state) benchmark::DoNotOptimize(oxAddWeigthedM(a.get(), b.get(), b.get(), mask.get()));
}
BENCHMARK(BM_PathBlendMaskedBgr)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
