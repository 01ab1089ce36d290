// The pieces of the bilinear resize that its plain, portable and AVX2 paths
// share: the table entries, the per-sample arithmetic and the AVX2 kernels.
// Every path computes each output with exactly this arithmetic; only the
// number of samples done at once differs.
#pragma once

#include <cstdint>

#include "core/detail/isa.hpp"

namespace ox::detail::resize {

// A source index and the share (0..1024) of the next source sample.
struct Tap {
    int32_t index;
    int32_t weight;
};

// One horizontally interpolated sample, in 1/1024 units, from the sample
// `a` and its right neighbour `b`.
inline int32_t interpolateOne(int32_t a, int32_t b, int32_t w) noexcept { return a * 1024 + (b - a) * w; }

// An output byte from the interpolated upper and lower samples, rounded to
// nearest (524288 is half of 2^20). Results are 0..255, so the shift works
// on an unsigned value.
inline uint8_t blendOne(int32_t a, int32_t b, int32_t wy) noexcept {
    return static_cast<uint8_t>(static_cast<uint32_t>(a * 1024 + (b - a) * wy + 524288) >> 20);
}

// With the lower row out of play it is not read at all.
inline uint8_t blendUpper(int32_t a) noexcept { return static_cast<uint8_t>(static_cast<uint32_t>(a * 1024 + 524288) >> 20); }

// Weights as the 16-bit pair (1024 - w, w): a * (1024 - w) + b * w is the
// same integer as a * 1024 + (b - a) * w, and one multiply-add of 16-bit
// pairs forms it.
inline int32_t weightPair(int32_t w) noexcept { return (1024 - w) | (w << 16); }

#if OX_HAVE_AVX2_PATH
// Samples per step of interpolateAvx2.
constexpr int32_t avx2InterpolateStep(int32_t channels) noexcept { return channels == 3 ? 24 : 8; }

// Interpolates the first `count` samples of a row (a multiple of
// avx2InterpolateStep) from the row `s` of `rowBytes` bytes, `channels`
// (1 to 4) interleaved. `offsets` holds each sample's byte offset for 1 or 2 channels, each
// pixel's for 3 or 4; `pairs` each sample's weightPair. Every read must lie
// inside the row: 4 bytes at a sample's offset, 8 at a pixel's.
OX_TARGET_AVX2 void interpolateAvx2(const uint8_t* s, const int32_t* offsets, const int32_t* pairs, int64_t count,
                                    int32_t channels, int64_t rowBytes, int32_t* out) noexcept;

// blendOne over n samples, or blendUpper when wy is 0 (then `b` is not read).
OX_TARGET_AVX2 void blendAvx2(const int32_t* a, const int32_t* b, int32_t wy, uint8_t* d, int64_t n) noexcept;
#endif

}  // namespace ox::detail::resize
