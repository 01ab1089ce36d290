// The kernels of the separable passes for processors with AVX2: the
// portable kernels' contracts (passes.hpp), eight outputs per vector. Each
// output is still summed from 0 in tap order with a separate multiply and
// add (no fused multiply-add), so the bytes are those of the reference.
// Defined only where the AVX2 path is built; callers check useAvx2().
#pragma once

#include <cstdint>

#include "convolution/detail/samples.hpp"
#include "core/detail/isa.hpp"

namespace ox::detail::sep::avx2 {

#if OX_HAVE_AVX2_PATH
// out[x] = fromSum(sum over k of in[k][x] * w[k]) for x < n.
template <class T> OX_TARGET_AVX2 void gatherRow(const float* const* in, const Taps& t, int64_t n, T* out);

// Four neighbouring outputs of a vertical pass: out[j] from in[j .. j+2r];
// each loaded row serves every output it reaches.
template <class T> OX_TARGET_AVX2 void gatherRows4(const float* const* in, const Taps& t, int64_t n, T* const* out);

// n samples of T as floats.
template <class T> OX_TARGET_AVX2 void widen(const T* src, int64_t n, float* dst);
#endif

}  // namespace ox::detail::sep::avx2
