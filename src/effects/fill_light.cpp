// Fill light: a lighten blend of a brightened image over its base.
#include <algorithm>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "ox_fill_light.h"

using namespace ox::detail;

namespace {

// The increment trunc(d * amount) for every positive difference d, product
// in double. Saturating to int32 keeps infinities and huge amounts defined;
// a NaN product adds nothing.
struct Increments {
    int64_t by[256];
    explicit Increments(double amount) {
        for (int32_t d = 0; d < 256; ++d) by[d] = saturateTrunc<int32_t>(static_cast<double>(d) * amount);
    }
    // Only the upper end is clamped: a result below 0 (negative amounts)
    // keeps its low eight bits, deliberately.
    uint8_t lighten(uint8_t base, uint8_t light) const {
        const int64_t out = by[std::max(light - base, 0)] + base;
        return static_cast<uint8_t>(static_cast<uint64_t>(std::min<int64_t>(out, 255)));
    }
};

int32_t fillLight(double amount, const oxImage* base, const oxImage* light, oxImage* destination,
                  AbortFlag abortFlag) {
    if (!isColour(base) || !isColour(light) || !isColour(destination)) return code(Status::Refused);
    if (!walkable(light) || !walkable(base) || !covers(base, light) || !writableFor(destination, light))
        return code(Status::Refused);
    const Increments inc(amount);
    const ColourBytes b = colourBytes(base), l = colourBytes(light), d = colourBytes(destination);
    for (int32_t y = 0; y < light->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        if (light->width <= 0) continue;
        const uint8_t* bp = b.rowAt(y);
        const uint8_t* lp = l.rowAt(y);
        uint8_t* dp = d.rowAt(y);
        for (int32_t x = 0; x < light->width; ++x, bp += b.step, lp += l.step, dp += d.step) {
            const uint8_t ob = inc.lighten(bp[b.b], lp[l.b]);
            const uint8_t og = inc.lighten(bp[b.g], lp[l.g]);
            const uint8_t orr = inc.lighten(bp[b.r], lp[l.r]);
            dp[d.b] = ob;
            dp[d.g] = og;
            dp[d.r] = orr;
        }
    }
    return code(Status::Ok);
}

}  // namespace

int32_t ox::detail::fillLightStage(double amount, const oxImage* base, const oxImage* light, oxImage* destination,
                                   AbortFlag abortFlag) {
    return fillLight(amount, base, light, destination, abortFlag);
}

extern "C" {

OX_API oxFillLightParams* oxFillLightParamsDefault(void) {
    auto* p = allocateRecord<oxFillLightParams>();
    if (p != nullptr) p->amount = 1.0;
    return p;
}

OX_API void oxFillLightParamsRelease(oxFillLightParams** params) { releaseRecord(params); }

OX_API int32_t oxFillLight(const oxFillLightParams* params, const oxImage* base, const oxImage* light,
                           oxImage* destination, const volatile int32_t* abortFlag) {
    if (params == nullptr || base == nullptr || light == nullptr || destination == nullptr)
        return code(Status::Refused);
    return fillLight(params->amount, base, light, destination, abortFlag);
}

}  // extern "C"
