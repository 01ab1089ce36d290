// The colour bilateral pass of the simplify effect (radius 1 at its
// 1024 x 768 working size, space sigma 7, range sigma 0.28) on each
// instruction-set path: out of place as its first pass runs, in place as
// the other seven. Arguments: path (0 reference, 1 baseline, 2 AVX2; a path
// the processor lacks runs the widest it has), in place, and noise (1) or
// a picture-like image (0).
#include <benchmark/benchmark.h>

#include <vector>

#include "core/detail/isa.hpp"
#include "effects/detail/bilateral_ops.hpp"
#include "support/test_support.hpp"

namespace {

namespace d = ox::detail;

void BM_BilateralColourPath(benchmark::State& state) {
    const auto isa = static_cast<d::Isa>(state.range(0));
    const bool inPlace = state.range(1) != 0, noise = state.range(2) != 0;
    constexpr int32_t w = 1024, h = 768;
    auto src = oxtest::noise(w, h, OX_BGR, OX_8U, 1);
    if (!noise)
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                for (int32_t c = 0; c < 3; ++c) {
                    uint8_t& v = src->data[3 * (y * w + x) + c];
                    v = static_cast<uint8_t>((x / 4 + y / 3 + 60 * c + ((x / 128 + y / 96) % 2) * 70 + v % 9) % 256);
                }
    auto dst = oxtest::make(w, h, OX_BGR);
    d::BilateralSpace space;
    d::buildBilateralSpace(7.0f, space);
    d::ColourRange range;
    if (d::buildColourRange(d::bilateralRangeFactor(0.28f), range) != d::Status::Ok) {
        state.SkipWithError("out of memory");
        return;
    }
    const d::View<uint8_t> in = d::wholeView<uint8_t>(src.get()), out = d::wholeView<uint8_t>(dst.get());
    d::limitIsa(isa);
    for (auto _ : state) {
        if (inPlace) std::memcpy(dst->data, src->data, size_t(w) * h * 3);  // the same input every time
        benchmark::DoNotOptimize(d::bilateralColourPass(inPlace ? out : in, out, 1, space.centre(), range.byNorm()));
    }
    d::limitIsa(d::Isa::Avx2);
    state.SetItemsProcessed(state.iterations() * w * h);
    state.SetLabel(d::isaName(std::min(isa, d::detectedIsa())));
}
BENCHMARK(BM_BilateralColourPath)
    ->ArgsProduct({{0, 1, 2}, {0, 1}, {0, 1}})
    ->ArgNames({"path", "in_place", "noise"})
    ->Unit(benchmark::kMillisecond);

}  // namespace
