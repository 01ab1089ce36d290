// Run-time choice of the instruction-set path.
#include "core/detail/isa.hpp"

#include <atomic>

namespace ox::detail {

namespace {

Isa probe() noexcept {
#if OX_HAVE_AVX2_PATH
    // The builtins also check that the operating system saves the wide
    // registers, not only that the processor has them.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) return Isa::Avx2;
#endif
    return Isa::Baseline;
}

// Relaxed is enough: the cap only selects between paths that give the
// same bytes.
std::atomic<int32_t> cap{static_cast<int32_t>(Isa::Avx2)};

}  // namespace

Isa detectedIsa() noexcept {
    static const Isa detected = probe();
    return detected;
}

Isa activeIsa() noexcept {
    const auto limit = static_cast<Isa>(cap.load(std::memory_order_relaxed));
    const Isa detected = detectedIsa();
    return limit < detected ? limit : detected;
}

void limitIsa(Isa limit) noexcept { cap.store(static_cast<int32_t>(limit), std::memory_order_relaxed); }

const char* isaName(Isa isa) noexcept {
    switch (isa) {
    case Isa::Reference: return "reference";
    case Isa::Baseline: return "baseline";
    case Isa::Avx2: return "avx2";
    }
    return "?";
}

}  // namespace ox::detail
