// The saturation change's AVX2 loop, beside the plain one in saturate.cpp.
#pragma once

#include <cstdint>

#include "core/detail/interleave_avx2.hpp"

namespace ox::detail {

#if OX_HAVE_AVX2_PATH
// The leading pixels of a run of `n`, 32 at a time: blue, green and red of
// pixels of `inChannels` bytes (3 or 4), taken with `gather`, written to
// pixels of `outChannels` bytes with `scatter` (their other bytes stay).
// Each lane runs the plain loop's operations on the same floats, ties
// between channels broken as there. Returns how many pixels it did, a
// multiple of 32; the caller does the rest. Reads and writes no byte past
// the n pixels.
OX_TARGET_AVX2 int32_t saturateRowAvx2(const uint8_t* s, int32_t inChannels, const Shuffle16& gather, uint8_t* d,
                                       int32_t outChannels, const Shuffle16& scatter, int32_t n, float factor) noexcept;
#endif

}  // namespace ox::detail
