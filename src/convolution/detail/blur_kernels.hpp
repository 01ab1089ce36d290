// The inner loops of the box blur, shared by the portable path and the AVX2
// path: a window sum divided by the window length n = 2r + 1 and truncated,
// exactly as the float quotient of the plain running mean.
#pragma once

#include <cstdint>

#include "core/detail/isa.hpp"

namespace ox::detail {

// Up to this radius every window sum is an integer below 2^16, exact in
// float, so the passes can run in 16-bit integers.
constexpr int32_t kBoxExactRadius = 128;

// Multiply-high of 16-bit lanes: (a * b) >> 16.
inline uint16_t mulHigh16(uint16_t a, uint16_t b) noexcept {
    return static_cast<uint16_t>((static_cast<uint32_t>(a) * static_cast<uint32_t>(b)) >> 16);
}

// T / n as two multiply-highs, taken only once it has been checked against
// the float quotient for every possible sum (see boxDivider). first == 0:
// no such pair exists for this n.
struct BoxDivider {
    uint16_t first = 0;
    uint16_t second = 0;

    uint8_t operator()(uint16_t t) const noexcept { return static_cast<uint8_t>(mulHigh16(mulHigh16(t, first), second)); }
    explicit operator bool() const noexcept { return first != 0; }
};

#if OX_HAVE_AVX2_PATH
// Window means along a mirrored line of interleaved samples: for
// i = 0 .. count - 1, out[i] = divide(sum of line[i + k * stride] for
// k = 0 .. 2r). stride is 1 (a plane) or 3 (packed colour); r <= 128 and
// `divide` is a found divider. Reads up to 32 bytes past the line's end
// (count + 2r * stride bytes), so the line buffer carries that padding.
OX_TARGET_AVX2 void boxRowMeansAvx2(const uint8_t* line, int64_t count, int32_t r, int32_t stride, BoxDivider divide,
                                    uint8_t* out) noexcept;

// One output row of the column pass over `count` columns in 16-bit lanes:
// t = running + enter; out = divide(t); running = t - leave.
OX_TARGET_AVX2 void boxColumnStepAvx2(const uint8_t* enter, const uint8_t* leave, uint16_t* running, uint8_t* out,
                                      int64_t count, BoxDivider divide) noexcept;
#endif

}  // namespace ox::detail
