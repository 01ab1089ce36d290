// Hot operations of the detail effects: one colour bilateral pass at the
// simplify effect's working size, the rebuild of the colour range table, and
// the high boost and sharpen filters.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "support/test_support.hpp"

namespace {

struct ParamsDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};
using Params = std::unique_ptr<oxBilateralParams, ParamsDeleter>;

// A 1024 x 768 working image: spatial sigma (1024 + 768) / 256 = 7 and range
// sigma 0.1 * (1792 / 64), as the effect derives them. Argument 0 is a
// picture-like image (smooth ramps, hard edges, mild grain), whose small
// differences keep the colour-table lookups near its start; argument 1 is
// pure noise, whose lookups land all over the 64 MiB table (the worst case).
void BM_BilateralColourPass(benchmark::State& state) {
    Params p(oxBilateralParamsDefault());
    p->spaceSigma = 7.0;
    p->rangeSigma = 0.1 * 28;
    p->radius = 1;
    auto src = oxtest::noise(1024, 768, OX_BGR, OX_8U, 1);
    if (state.range(0) == 0) {
        for (int32_t y = 0; y < 768; ++y)
            for (int32_t x = 0; x < 1024; ++x)
                for (int32_t c = 0; c < 3; ++c) {
                    uint8_t& v = src->data[3 * (y * 1024 + x) + c];
                    v = static_cast<uint8_t>((x / 4 + y / 3 + 60 * c + ((x / 128 + y / 96) % 2) * 70 + v % 9) % 256);
                }
    }
    auto dst = oxtest::make(1024, 768, OX_BGR);
    oxBilateralFilterGold3C(p.get(), src.get(), dst.get());  // tables built outside the timing
    for (auto _ : state) benchmark::DoNotOptimize(oxBilateralFilterGold3C(p.get(), src.get(), dst.get()));
    state.SetItemsProcessed(state.iterations() * 1024 * 768);
}
BENCHMARK(BM_BilateralColourPass)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// An empty image refreshes the tables and filters nothing; alternating the
// range sigma forces a rebuild of the 64 MiB table every time.
void BM_BilateralRangeTableBuild(benchmark::State& state) {
    Params p(oxBilateralParamsDefault());
    auto empty = oxtest::make(0, 0, OX_BGR);
    double sigmas[2] = {2.8, 3.5};
    int64_t i = 0;
    for (auto _ : state) {
        p->rangeSigma = sigmas[i++ & 1];
        benchmark::DoNotOptimize(oxBilateralFilterGold3C(p.get(), empty.get(), empty.get()));
    }
}
BENCHMARK(BM_BilateralRangeTableBuild)->Unit(benchmark::kMillisecond);


// The two detail operations on a 1024 x 768 colour image: high boost as the
// simplify effect runs it (radius 3, gain 0.9, maxRatio 2) and sharpen with
// the default amount, both out of place.
void BM_HighBoost(benchmark::State& state) {
    const oxHighBoostParams p{1, {3, 3}, 0.9f, 2.0f};
    auto src = oxtest::noise(1024, 768, OX_BGR, OX_8U, 2);
    auto dst = oxtest::make(1024, 768, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(oxHighBoostFilter(&p, src.get(), dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * 1024 * 768);
}
BENCHMARK(BM_HighBoost)->Unit(benchmark::kMillisecond);

void BM_Sharpen(benchmark::State& state) {
    const oxSharpenParams p{0.3};
    auto src = oxtest::noise(1024, 768, OX_BGR, OX_8U, 3);
    auto dst = oxtest::make(1024, 768, OX_BGR);
    for (auto _ : state) benchmark::DoNotOptimize(oxSharpenFilter(&p, src.get(), nullptr, dst.get(), nullptr));
    state.SetItemsProcessed(state.iterations() * 1024 * 768);
}
BENCHMARK(BM_Sharpen)->Unit(benchmark::kMillisecond);

// The Simplify effect as a host calls it (8 passes, range factor 0.1,
// saturation 0.3) on a 12-megapixel and a 1000 x 750 picture-like image:
// smooth ramps, hard edges and mild grain. "peak_MiB" is the process's peak
// resident size so far; run one size alone to read the effect's own peak.
void BM_YewSimplify(benchmark::State& state) {
    const auto w = static_cast<int32_t>(state.range(0)), h = static_cast<int32_t>(state.range(1));
    std::vector<uint8_t> src(size_t(w) * h * 3), dst(src.size());
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            for (int32_t c = 0; c < 3; ++c)
                src[3 * (size_t(y) * w + x) + c] = static_cast<uint8_t>(
                    (x / 8 + y / 6 + 60 * c + ((x / 256 + y / 192) % 2) * 70 + (x * 7 + y * 13) % 9) % 256);
    for (auto _ : state) benchmark::DoNotOptimize(oxYewSimplify(w, h, src.data(), dst.data(), 8, 0.1f, 0.3f));
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
    state.SetItemsProcessed(state.iterations() * w * h);
}
BENCHMARK(BM_YewSimplify)->Args({4000, 3000})->Args({1000, 750})->Unit(benchmark::kMillisecond);

}  // namespace

namespace {

// The tilt-shift entry point as a host calls it: strength 0.3 (blur radius
// 15 at the 1024-pixel working size), lens 0.2, a band between (0.2, 0.4)
// and (0.8, 0.6). The work does not depend on the pixel values. "peak_MiB"
// as for the Simplify effect: run one size alone to read its own peak.
void BM_YewTiltShift(benchmark::State& state) {
    const auto w = static_cast<int32_t>(state.range(0)), h = static_cast<int32_t>(state.range(1));
    auto src = oxtest::noise(w, h, OX_BGR, OX_8U, 1);
    std::vector<uint8_t> dst(oxtest::byteCount(src.get()));
    for (auto _ : state)
        benchmark::DoNotOptimize(oxYewTiltShift(w, h, src->data, dst.data(), 0.3f, 0.2f, 0.2f, 0.4f, 0.8f, 0.6f));
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
    state.SetItemsProcessed(state.iterations() * w * h);
}
BENCHMARK(BM_YewTiltShift)->Args({4000, 3000})->Args({1000, 750})->Unit(benchmark::kMillisecond);

}  // namespace
