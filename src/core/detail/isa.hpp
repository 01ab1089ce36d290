// Instruction-set paths chosen at run time. Every fast loop keeps a plain
// reference beside it; a dispatcher picks the widest path this processor
// runs, and tests and benchmarks can narrow the choice to compare the paths
// byte for byte. The library itself never narrows it and reads no
// environment to decide.
#pragma once

#include <cstdint>
#include <type_traits>

// Functions of the AVX2 path carry this attribute instead of whole files
// being built with -mavx2: header inline functions used from them stay
// baseline code, so the linker can never pick an AVX2 copy for a caller
// on an older processor.
#if defined(__x86_64__) && defined(__GNUC__)
#define OX_HAVE_AVX2_PATH 1
#define OX_TARGET_AVX2 [[gnu::target("avx2,fma")]]
#define OX_AVX2_KERNEL(f) (f)
#else
#define OX_HAVE_AVX2_PATH 0
#define OX_TARGET_AVX2
#define OX_AVX2_KERNEL(f) nullptr
#endif

namespace ox::detail {

// Ordered from narrowest to widest. Reference runs the plain loops the fast
// paths are checked against; Baseline is the portable restructured code
// (SSE2 on x86-64, NEON through the compiler on arm64); Avx2 needs AVX2 and
// FMA.
enum class Isa : int32_t { Reference = 0, Baseline = 1, Avx2 = 2 };

// The widest path this processor supports, found once.
Isa detectedIsa() noexcept;

// The path dispatchers take now: the detected one unless narrowed.
Isa activeIsa() noexcept;

// Caps the path for every later call (tests and benchmarks only). A cap
// above what the processor runs has no effect.
void limitIsa(Isa cap) noexcept;

inline bool useAvx2() noexcept { return OX_HAVE_AVX2_PATH && activeIsa() >= Isa::Avx2; }
inline bool useReference() noexcept { return activeIsa() == Isa::Reference; }

// The kernel of the active path: the plain reference, the portable form, or
// the AVX2 form (pass OX_AVX2_KERNEL(f): null where the build has none).
template <class F> F pathKernel(F reference, F baseline, std::type_identity_t<F> avx2) noexcept {
    if (avx2 && useAvx2()) return avx2;
    return useReference() ? reference : baseline;
}

const char* isaName(Isa isa) noexcept;

}  // namespace ox::detail
