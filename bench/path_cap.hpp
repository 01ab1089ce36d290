// Benchmarks that time a fast path against its plain reference take the
// path as an argument (0 reference, 1 baseline, 2 AVX2). PathCap narrows the
// library to that path for its lifetime, labels the row with it, and skips
// the row on a processor that lacks the path (so a "2" row on an older
// machine is not silently the baseline timed twice).
#pragma once

#include <benchmark/benchmark.h>

#include "core/detail/isa.hpp"

namespace oxbench {

class PathCap {
public:
    explicit PathCap(benchmark::State& state, int argument = 0) {
        const auto isa = static_cast<ox::detail::Isa>(state.range(argument));
        available_ = isa <= ox::detail::detectedIsa();
        if (!available_) {
            state.SkipWithError("path not available on this processor");
            return;
        }
        ox::detail::limitIsa(isa);
        state.SetLabel(ox::detail::isaName(isa));
    }
    ~PathCap() { ox::detail::limitIsa(ox::detail::Isa::Avx2); }
    PathCap(const PathCap&) = delete;
    PathCap& operator=(const PathCap&) = delete;

    explicit operator bool() const { return available_; }

private:
    bool available_ = false;
};

}  // namespace oxbench
