// Helpers for the tests that hold every instruction-set path to the plain
// reference: run a call once per path and narrow the library for a scope.
// Only the path tests use this; they link the internal archive.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/detail/isa.hpp"

namespace oxtest {

using ox::detail::Isa;

// Narrows the library to one path for the life of the scope.
class IsaScope {
public:
    explicit IsaScope(Isa isa) noexcept { ox::detail::limitIsa(isa); }
    ~IsaScope() { ox::detail::limitIsa(Isa::Avx2); }
    IsaScope(const IsaScope&) = delete;
    IsaScope& operator=(const IsaScope&) = delete;
};

// Every path this processor runs, the reference first.
inline std::vector<Isa> availableIsas() {
    std::vector<Isa> out;
    for (int32_t i = 0; i <= static_cast<int32_t>(ox::detail::detectedIsa()); ++i) out.push_back(static_cast<Isa>(i));
    return out;
}

// Widths that leave every vector loop a remainder: 1 to 33 and a large odd one.
inline std::vector<int32_t> awkwardWidths() {
    std::vector<int32_t> out;
    for (int32_t w = 1; w <= 33; ++w) out.push_back(w);
    out.push_back(1031);
    return out;
}

// n seeded values 0..255 as T: the bytes of a random picture, or the same
// values as floats for the float paths.
template <class T> std::vector<T> noiseValues(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(rng() % 256);
    return v;
}

// Runs `run` (which returns the output bytes) on every path and expects the
// bytes of the reference on each; `what` names the case in a failure.
template <class Run> void expectSameOnEveryPath(const std::string& what, Run run) {
    std::vector<uint8_t> reference;
    {
        IsaScope scope(Isa::Reference);
        reference = run();
    }
    for (Isa isa : availableIsas()) {
        if (isa == Isa::Reference) continue;
        IsaScope scope(isa);
        const std::vector<uint8_t> got = run();
        ASSERT_EQ(got.size(), reference.size()) << what << " on " << ox::detail::isaName(isa);
        for (size_t i = 0; i < got.size(); ++i)
            ASSERT_EQ(got[i], reference[i]) << what << " on " << ox::detail::isaName(isa) << ": first difference at byte " << i;
    }
}

}  // namespace oxtest
