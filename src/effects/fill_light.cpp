// Fill light: a lighten blend of a brightened image over its base.
#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "ox_fill_light.h"

using namespace ox::detail;

namespace {

// base + trunc(positive difference * amount), product in double. Only the
// upper end is clamped: a result below 0 (negative amounts) keeps its low
// eight bits, deliberately.
inline uint8_t lighten(uint8_t base, uint8_t light, double amount) {
    const int32_t diff = light > base ? light - base : 0;
    const int64_t out = static_cast<int64_t>(saturateTrunc<int32_t>(static_cast<double>(diff) * amount)) + base;
    return out >= 255 ? uint8_t{255} : static_cast<uint8_t>(static_cast<uint64_t>(out));
}

int32_t fillLight(double amount, const oxImage* base, const oxImage* light, oxImage* destination,
                  AbortFlag abortFlag) {
    if (!isColour(base) || !isColour(light) || !isColour(destination)) return code(Status::Refused);
    if (!walkable(light) || !walkable(base) || !covers(base, light) || !writableFor(destination, light))
        return code(Status::Refused);
    const ColourBytes b = colourBytes(base), l = colourBytes(light), d = colourBytes(destination);
    for (int32_t y = 0; y < light->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        const uint8_t* bp = b.rowAt(y);
        const uint8_t* lp = l.rowAt(y);
        uint8_t* dp = d.rowAt(y);
        for (int32_t x = 0; x < light->width; ++x, bp += b.step, lp += l.step, dp += d.step) {
            const uint8_t ob = lighten(bp[b.b], lp[l.b], amount);
            const uint8_t og = lighten(bp[b.g], lp[l.g], amount);
            const uint8_t orr = lighten(bp[b.r], lp[l.r], amount);
            dp[d.b] = ob;
            dp[d.g] = og;
            dp[d.r] = orr;
        }
    }
    return code(Status::Ok);
}

}  // namespace

extern "C" {

OX_API oxFillLightParams* oxFillLightParamsDefault(void) {
    auto* p = allocateRecord<oxFillLightParams>();
    if (p != nullptr) p->amount = 1.0;
    return p;
}

OX_API void oxFillLightParamsRelease(oxFillLightParams** params) { releaseHeapRecord(params); }

OX_API int32_t oxFillLight(const oxFillLightParams* params, const oxImage* base, const oxImage* light,
                           oxImage* destination, const volatile int32_t* abortFlag) {
    if (params == nullptr || base == nullptr || light == nullptr || destination == nullptr)
        return code(Status::Refused);
    return fillLight(params->amount, base, light, destination, abortFlag);
}

}  // extern "C"
