// The Simplify effect: bilateral smoothing on a working image of bounded
// size, the high boost, and the entry point for raw buffers that adds the
// saturation boost.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "effects/detail/bilateral_ops.hpp"
#include "effects/detail/entry.hpp"
#include "ox_elementwise.h"
#include "ox_resize.h"
#include "ox_sharpen.h"
#include "ox_simplify.h"

using namespace ox::detail;

namespace {

constexpr int32_t kEntryMaxSize = 1024;

struct Sigmas {
    double space, range;
};

// Both from the working size n = width + height with integer divisions, so
// a working image with n below 256 gets spatial sigma 0 (the filter then
// keeps the centre alone). The range sigma is formed in float.
Sigmas sigmasFor(int64_t width, int64_t height, float rangeFactor) {
    const int64_t n = width + height;
    return {static_cast<double>(n / 256), static_cast<double>(rangeFactor * static_cast<float>(n / 64))};
}

bool isColour8(const oxImage* img) {
    return img->data && img->type == OX_8U && (img->encoding == OX_BGR || img->encoding == OX_RGB) &&
           img->width >= 0 && img->height >= 0;
}

// ---- Stages of other families --------------------------------------------
// The resize, the high boost and the saturation run through the exported
// functions for now, each called from this one place.

int32_t resizeBilinear(const oxImage* src, oxImage* dst) { return oxResize(src, dst, 0, nullptr); }

int32_t highBoost(oxImage* img) {
    const oxHighBoostParams boost{1, {3, 3}, 0.9f, 2.0f};
    return oxHighBoostFilter(&boost, img, img, nullptr);
}

int32_t saturate(oxImage* img, float factor) {
    const oxSaturateParams saturate{factor};
    return oxSaturateFilter(&saturate, img, img, nullptr);
}

// ---- Smoothing -------------------------------------------------------------

// The bilateral passes from `in` into `out` (radius 1), the first one out of
// place unless `in` is `out`; false when aborted or out of memory. The
// weights are those of a bilateral record with these sigmas (converted to
// float as the filter converts them), its colour table in the compact form
// the passes read: no 64 MiB table is made. A pass filters nothing where
// the filter would refuse, an image whose size no buffer can have; nothing
// else is left for it to refuse after the checks before it.
bool smooth(const oxImage* in, oxImage* out, int32_t iterations, Sigmas sigmas, AbortFlag abortFlag) {
    ColourRange range;
    if (buildColourRange(bilateralRangeFactor(static_cast<float>(sigmas.range)), range) != Status::Ok) return false;
    BilateralSpace space;
    buildBilateralSpace(static_cast<float>(sigmas.space), space);
    const bool filterable = checkedProduct({in->width, in->height, 3}).has_value();
    for (int32_t i = 0; i < iterations; ++i) {
        if (abortRequested(abortFlag)) return false;
        if (!filterable) continue;
        const oxImage* from = i == 0 ? in : out;
        bilateralColourPass(wholeView<const uint8_t>(from), wholeView<uint8_t>(out), 1, space.centre(), range.byNorm());
    }
    return true;
}

int32_t simplify(const oxImage* src, oxImage* dst, const oxSimplifyParams& p, AbortFlag abortFlag) {
    if (p.iterations < 1) return oxCopy(src, dst);  // no high boost either
    if (!isColour8(src) || !isColour8(dst) || src->encoding != dst->encoding) return code(Status::Refused);

    const int32_t h = src->height, w = src->width;
    const float s = static_cast<float>(p.maxSize) / static_cast<float>(std::max(h, w));
    const bool scaled = s <= 1.0f;
    int32_t workW = w, workH = h;
    if (scaled) {
        workW = saturateTrunc<int32_t>(s * static_cast<float>(w));
        workH = saturateTrunc<int32_t>(s * static_cast<float>(h));
        if (workW < 1 || workH < 1) return code(Status::Refused);
    } else if (dst->width != w || dst->height != h) {
        return code(Status::Refused);
    }
    const Sigmas sigmas = sigmasFor(workW, workH, p.rangeFactor);
    if (std::isnan(sigmas.range)) return code(Status::Refused);

    if (!scaled) {
        if (!smooth(src, dst, p.iterations, sigmas, abortFlag)) return code(Status::Refused);
        return highBoost(dst);
    }

    ImagePtr work(oxImageCreateWithType(workW, workH, src->encoding, OX_8U));
    ImagePtr smoothed(work ? oxImageCreateAs(work.get()) : nullptr);
    if (!smoothed) return code(Status::Refused);
    if (const int32_t r = resizeBilinear(src, work.get()); r != 0) return r;
    // The first pass overwrites all of it; until then an abort or a missing
    // parameter record must hand back the unfiltered working image.
    std::memcpy(smoothed->data, work->data, static_cast<size_t>(*bufferBytes(work.get())));
    const bool filtered = smooth(work.get(), smoothed.get(), p.iterations, sigmas, abortFlag);
    const bool back = resizeBilinear(smoothed.get(), dst) == 0;
    if (!filtered || !back) return code(Status::Refused);
    return highBoost(dst);
}

int32_t yewSimplify(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels, int32_t iterations,
                    float rangeFactor, float saturation) {
    if (!srcPixels || !dstPixels || width < 0 || height < 0) return code(Status::Refused);
    const oxSimplifyParams params{kEntryMaxSize, iterations, rangeFactor};
    HeaderPtr src = wrapBgr(width, height, srcPixels);
    HeaderPtr dst = wrapBgr(width, height, dstPixels);
    if (!src || !dst) return code(Status::Refused);
    if (const int32_t r = simplify(src.get(), dst.get(), params, nullptr); r != 0) return r;
    if (!(saturation > 0.0f)) return code(Status::Ok);
    return saturate(dst.get(), std::fmaf(2.0f, saturation, 1.0f));
}

}  // namespace

extern "C" {

OX_API oxSimplifyParams* oxSimplifyParamsDefault(void) {
    auto* p = allocateRecord<oxSimplifyParams>();
    if (p) *p = {1024, 8, 1.25f};
    return p;
}

OX_API void oxSimplifyParamsRelease(oxSimplifyParams** params) { releaseRecord(params); }

OX_API int32_t oxSimplify(const oxImage* src, oxImage* dst, const oxSimplifyParams* params,
                          const volatile int32_t* abortFlag) {
    if (!src || !dst || !params) return code(Status::Refused);
    return simplify(src, dst, *params, abortFlag);
}

OX_API int32_t oxYewSimplify(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                             int32_t iterations, float rangeFactor, float saturation) {
    return yewSimplify(width, height, srcPixels, dstPixels, iterations, rangeFactor, saturation);
}

}  // extern "C"
