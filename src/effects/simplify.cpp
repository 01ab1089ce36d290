// The Simplify effect: bilateral smoothing on a working image of bounded
// size, the high boost, and the entry point for raw buffers that adds the
// saturation boost.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "core/detail/core_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "effects/detail/bilateral_ops.hpp"
#include "effects/detail/entry.hpp"
#include "effects/detail/saturate_ops.hpp"
#include "effects/detail/sharpen_ops.hpp"
#include "geometry/detail/resize_ops.hpp"
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

// A non-empty image with a buffer its sizes can describe, whose ROI is all
// of it: every stage reads and writes it as a whole packed buffer, and runs
// on the internal operation directly. Any other image of a caller goes
// through the exported function, which has its own rules for it (and
// refuses a header no buffer can match before it allocates anything).
bool isWhole(const oxImage* img) {
    return img->width > 0 && img->height > 0 && hasBuffer(img) && roiIsWhole(img);
}

// ---- Stages of other families --------------------------------------------

// Bilinear resize between two colour images of one encoding, one of them
// the effect's own (no memory shared). On whole images this is what the
// exported resize runs, the interleaved operation, after its one refusal
// left for such images: a scratch beyond what its size query reports.
int32_t resizeStage(const oxImage* from, oxImage* to) {
    if (!isWhole(from) || !isWhole(to)) return oxResize(from, to, OX_RESIZE_BILINEAR, nullptr);
    if (resizeScratchTooLarge(from, to, OX_RESIZE_BILINEAR)) return code(Status::Refused);
    return code(resizeBilinear(wholeView<const uint8_t>(from), wholeView<uint8_t>(to)));
}

// The final high boost, in place: radius 3, gain 0.9, ratio at most 2.
int32_t highBoostStage(oxImage* img) {
    const oxHighBoostParams boost{1, {3, 3}, 0.9f, 2.0f};
    if (!isWhole(img)) return oxHighBoostFilter(&boost, img, img, nullptr);
    const ChannelOffsets at = channelOffsets(img);
    return code(highBoost(wholeView<const uint8_t>(img), at, wholeView<uint8_t>(img), at, boost, nullptr));
}

// The entry point's saturation boost on its own BGR destination, in place.
int32_t saturateStage(oxImage* img, float factor) {
    if (!isWhole(img)) {
        const oxSaturateParams saturate{factor};
        return oxSaturateFilter(&saturate, img, img, nullptr);
    }
    const View<uint8_t> v = wholeView<uint8_t>(img);
    return code(saturatePixels(v, channelOrderOf(OX_BGR), v, channelOrderOf(OX_BGR), factor, nullptr));
}

// ---- Smoothing -------------------------------------------------------------

enum class Smoothed { None, Some, Stopped };

// The bilateral passes from `in` into `out` (radius 1), the first one out of
// place unless `in` is `out`. Smoothed::None: nothing was written to `out`
// (aborted before the first pass, or no memory for the weights); Stopped:
// aborted later; Some: all passes ran. The weights are those of a bilateral
// record with these sigmas (converted to float as the filter converts
// them), its colour table in the compact form the passes read, the one
// this thread keeps: no 64 MiB table is made. A pass filters nothing where
// the filter would refuse, an image whose size no buffer can have; nothing
// else is left for it to refuse after the checks before it.
Smoothed smooth(const oxImage* in, oxImage* out, int32_t iterations, Sigmas sigmas, AbortFlag abortFlag) {
    const float* byNorm = threadColourRange(bilateralRangeFactor(static_cast<float>(sigmas.range)));
    if (!byNorm) return Smoothed::None;
    BilateralSpace space;
    buildBilateralSpace(static_cast<float>(sigmas.space), space);
    const bool filterable = checkedProduct({in->width, in->height, 3}).has_value();
    for (int32_t i = 0; i < iterations; ++i) {
        if (abortRequested(abortFlag)) return i == 0 ? Smoothed::None : Smoothed::Stopped;
        if (!filterable) continue;
        const oxImage* from = i == 0 ? in : out;
        bilateralColourPass(wholeView<const uint8_t>(from), wholeView<uint8_t>(out), 1, space.centre(), byNorm);
    }
    return Smoothed::Some;
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
        if (smooth(src, dst, p.iterations, sigmas, abortFlag) != Smoothed::Some) return code(Status::Refused);
        return highBoostStage(dst);
    }

    ImagePtr work(oxImageCreateWithType(workW, workH, src->encoding, OX_8U));
    ImagePtr smoothed(work ? oxImageCreateAs(work.get()) : nullptr);
    if (!smoothed) return code(Status::Refused);
    if (const int32_t r = resizeStage(src, work.get()); r != 0) return r;
    // An abort or a missing weight table before the first pass hands back
    // the unfiltered working image, which is then `work` itself.
    const Smoothed filtered = smooth(work.get(), smoothed.get(), p.iterations, sigmas, abortFlag);
    const bool back = resizeStage(filtered == Smoothed::None ? work.get() : smoothed.get(), dst) == 0;
    if (filtered != Smoothed::Some || !back) return code(Status::Refused);
    return highBoostStage(dst);
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
    return saturateStage(dst.get(), std::fmaf(2.0f, saturation, 1.0f));
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
