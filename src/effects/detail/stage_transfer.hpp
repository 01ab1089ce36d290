// The transfer curve: a gain per neighbourhood brightness, taken from the
// inverse of a segment of the logistic function 1 / (1 + exp(-k x)). All
// arithmetic is single precision in the order written; exp and log run in
// double on the float argument and are rounded back to float, which gives
// the same float with every maths library accurate to one unit (with the
// few exceptions of log fixed below), so the table is the same on every
// processor.
#pragma once

#include <cmath>
#include <cstdint>

#include "core/detail/numeric.hpp"
#include "effects/detail/tone_kernels.hpp"

namespace ox::detail {

inline float expViaDouble(float x) noexcept { return static_cast<float>(std::exp(static_cast<double>(x))); }
// For 14 of the 2^31 positive floats the logarithm lies within one unit of
// the double from a point halfway between two floats, so a maths library
// accurate to one unit may round it either way; their results are fixed
// here, as the library has always returned them. Every other float rounds
// to the same float with any such library (tests/platform/libm_check.cpp
// tries them all), and exp has no such argument.
struct FixedLog {
    float x, log;
};
inline constexpr FixedLog kFixedLogs[] = {
    {0x1.917748p-100f, -0x1.137588p+6f}, {0x1.22d57p-65f, -0x1.676a7cp+5f},  {0x1.b97c7p-14f, -0x1.251748p+3f},
    {0x1.f0ddep-8f, -0x1.38733cp+2f},    {0x1.827a74p-7f, -0x1.1c2b2p+2f},   {0x1.2f1fd6p+3f, 0x1.1fcbdp+1f},
    {0x1.cb534cp+13f, 0x1.330e4ap+3f},   {0x1.bacb4ap+25f, 0x1.1e0694p+4f},  {0x1.c09d7cp+27f, 0x1.346a58p+4f},
    {0x1.d1309cp+62f, 0x1.5c9442p+5f},   {0x1.b121a6p+76f, 0x1.a9a3fp+5f},   {0x1.5190cp+78f, 0x1.b2bc8cp+5f},
    {0x1.6351d8p+95f, 0x1.08b51p+6f},    {0x1.cfd86ep+116f, 0x1.43ff6ep+6f},
};

inline float logViaDouble(float x) noexcept {
    for (const FixedLog& f : kFixedLogs)
        if (x == f.x) return f.log;
    return static_cast<float>(std::log(static_cast<double>(x)));
}

// Lower end of the segment before the strength: -6 for a dark image, -3
// for a bright one, linear in between.
inline float transferBase(float meanBrightness) noexcept {
    if (meanBrightness <= 70.0f) return -6.0f;
    if (meanBrightness >= 150.0f) return -3.0f;
    return ((meanBrightness + -70.0f) * 3.0f) / 80.0f + -6.0f;
}

struct TransferCurve {
    float k;   // steepness
    float a;   // lower end of the segment (upper end 0)
    float lo;  // logistic(a)
    float d;   // logistic(0) - logistic(a)
};

inline TransferCurve transferCurve(float meanBrightness, float steepness, float strength) noexcept {
    const float k = steepness;
    const float a = strength * transferBase(meanBrightness);
    const float hi = 1.0f / (expViaDouble(k * -0.0f) + 1.0f);
    const float lo = 1.0f / (expViaDouble(-k * a) + 1.0f);
    return {k, a, lo, hi - lo};
}

// Gain for neighbourhood brightness L: the brightness (L + 1) / 256 placed
// between logistic(a) and logistic(0), mapped back through the inverse
// logistic and normalised to 0..1.
inline float transferGain(const TransferCurve& c, int32_t brightness) noexcept {
    const float n = static_cast<float>(brightness + 1);
    const float y = (n * 0.00390625f) * c.d + c.lo;
    const float x = logViaDouble((1.0f / y) + -1.0f) * (-1.0f / c.k);
    const float t = (x - c.a) / (0.0f - c.a);
    return (t * 256.0f) / n;
}

// Table row L for the levels of a gain row (see gainRow): row[v] =
// trunc(gain(L) * level[v]) capped at 255; a negative or NaN product gives
// 0. With kByteLevels that is the stage's table.
inline void fillGainTable(const TransferCurve& c, const float* level, uint8_t* table) noexcept {
    for (int32_t L = 0; L < 256; ++L) gainRow(transferGain(c, L), level, table + L * 256);
}

}  // namespace ox::detail
