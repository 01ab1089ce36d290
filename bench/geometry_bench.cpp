// Bilinear resize of a 12-megapixel colour image to a working size and
// back, as the painterly effect does.
#include <benchmark/benchmark.h>

#include "path_cap.hpp"
#include "support/test_support.hpp"

namespace {

// The 12-megapixel colour resize to the working size (down) and back (up),
// each path against the plain loops.
void BM_ResizeBgr12MP(benchmark::State& state) {
    const bool up = state.range(0) != 0;
    const int32_t mode = static_cast<int32_t>(state.range(1));
    auto big = oxtest::noise(4000, 3000, OX_BGR, OX_8U, 1);
    auto small = oxtest::noise(1024, 768, OX_BGR, OX_8U, 2);
    const oxImage* src = up ? small.get() : big.get();
    oxImage* dst = up ? big.get() : small.get();
    oxbench::PathCap cap(state, 2);
    if (!cap) return;
    for (auto _ : state) benchmark::DoNotOptimize(oxResize(src, dst, mode, nullptr));
    state.SetItemsProcessed(state.iterations() * int64_t{dst->width} * dst->height);
}
BENCHMARK(BM_ResizeBgr12MP)
    ->ArgNames({"up", "mode", "isa"})
    ->ArgsProduct({{0, 1}, {OX_RESIZE_BILINEAR, OX_RESIZE_NEAREST}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond);

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

// The tilt-shift entry's lens step on a 12-megapixel colour image (crop and
// scale back to the same size), and the distortion alone (no crop), each
// path against the plain whole-image reference. Argument 0 is the path cap
// (0 reference, 1 baseline, 2 AVX2), argument 1 the crop flag.
void BM_LensDistortion12MP(benchmark::State& state) {
    constexpr int32_t kWidth = 4000, kHeight = 3000;
    oxbench::PathCap cap(state);
    if (!cap) return;
    auto src = oxtest::noise(kWidth, kHeight, OX_BGR, OX_8U, 3);
    auto dst = oxtest::make(kWidth, kHeight, OX_BGR);
    const oxLensDistortionParams params{0.2f, 0.5f, 0.5f, static_cast<int32_t>(state.range(1))};
    for (auto _ : state) benchmark::DoNotOptimize(oxLensDistortionFilter(&params, src.get(), dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(BM_LensDistortion12MP)->ArgsProduct({{0, 1, 2}, {1, 0}})->Unit(benchmark::kMillisecond);

}  // namespace
