// Tilt-shift: the blur-and-blend filter, its parameter record and the entry
// point for raw colour buffers with its lens step.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "convolution/detail/convolution_ops.hpp"
#include "convolution/detail/kernel_rules.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "effects/detail/entry.hpp"
#include "effects/detail/focus_mask_ops.hpp"
#include "geometry/detail/lens_ops.hpp"
#include "ox_convolution.h"
#include "ox_elementwise.h"
#include "ox_kernel.h"
#include "ox_resize.h"
#include "ox_tiltshift.h"

using namespace ox::detail;

namespace {

constexpr int32_t kEntryMaxSize = 1024;

// A point coordinate limited to 0.01..0.99; NaN passes through as it is.
float clampPoint(double v) {
    if (v < 0.01) return 0.01f;
    if (v > 0.99) return 0.99f;
    return static_cast<float>(v);
}

struct Point {
    float x, y;
};

// Kernel radius: trunc(strength * (maxSize / 20)) in float, with 0 raised
// to 1. A negative radius is kept: no kernel can be made from it.
int32_t blurRadius(float strength, int32_t maxSize) {
    const int32_t k = saturateTrunc<int32_t>(strength * (static_cast<float>(maxSize) / 20.0f));
    return k == 0 ? 1 : k;
}

struct Size {
    int32_t width, height;
};

// The working image has maxSize pixels on its longer side, in float; a
// small image is enlarged.
Size workingSize(int32_t maxSize, int32_t width, int32_t height) {
    const float s = static_cast<float>(maxSize) / static_cast<float>(std::max(height, width));
    auto side = [s](int32_t n) { return saturateTrunc<int32_t>(s * static_cast<float>(n)); };
    return {side(width), side(height)};
}

// The sharp region is the ellipse inscribed in three times the box that the
// two points span, centred between them.
oxFocusMaskParams maskBox(Point a, Point b) {
    const float cx = (a.x + b.x) * 0.5f, cy = (a.y + b.y) * 0.5f;
    const float ex = std::abs(a.x - b.x) * 0.5f, ey = std::abs(a.y - b.y) * 0.5f;
    return {cx - 3.0f * ex, cy - 3.0f * ey, cx + 3.0f * ex, cy + 3.0f * ey};
}

// The convolution refuses a working image shorter than the kernel, and
// whatever happened before it would be thrown away; refusing first avoids
// building a kernel the size of a huge strength. Absurd working sizes
// (beyond any allocation: the working images and the convolution's scratch
// take less than 64 bytes a pixel) are refused before anything is made.
bool blurCanRun(int32_t radius, Size s) {
    const int64_t taps = 2 * static_cast<int64_t>(radius) + 1;
    if (radius < 1 || s.width < taps || s.height < taps) return false;
    return checkedProduct({s.width, s.height, 64}).has_value();
}

// ---------------------------------------------------------------- stages
// The steps other families provide, each called from this one place with
// the statuses the exported functions return. The resizes and the blend
// touch the caller's images, which may carry any ROI and encoding, so they
// go through the exported functions' checks (which then run the same
// interleaved operations); the blur and the mask work on the filter's own
// images and call the operations directly.

int32_t resizeStage(const oxImage* from, oxImage* to) { return oxResize(from, to, OX_RESIZE_BILINEAR, nullptr); }

// The working image is the filter's own: whole, 8-bit, of a valid
// encoding. The convolution runs on it in place, interleaved; a refused
// kernel is a 1, as the exported filter reports it.
int32_t blurStage(oxImage* image, const oxSepKernel* kernel) {
    PreparedKernel k;
    if (prepareKernel(kernel, image->width, image->height, k) != Status::Ok) return 1;
    ChannelPlaces places = kBgrPlaces;
    if (channelCount(image->encoding) > 1)
        for (int32_t c = 0; c < 3; ++c) places.at[c] = oxGetChannelOffsetFromEncoding(image->encoding, c + 1);
    return code(separableConvolution<uint8_t>(wholeView<const uint8_t>(image), wholeView<uint8_t>(image), k, places,
                                              places));
}

// The mask is the filter's own grey image of the source's size.
void maskStage(const oxFocusMaskParams& box, oxImage* mask) { focusMaskFill(box, wholeView<uint8_t>(mask)); }

int32_t blendStage(const oxImage* blurred, const oxImage* sharp, oxImage* dst, const oxImage* mask) {
    return oxAddWeigthedM(blurred, sharp, dst, mask);
}

// ---------------------------------------------------------------- filter

// The blur and blend. When `keep` is given, the full-size blurred image is
// handed to the caller instead of freed, so that a later step can use its
// memory as scratch.
int32_t tiltShift(const oxTiltShiftParams& p, const oxImage* src, oxImage* dst, ImagePtr* keep = nullptr) {
    const Point a{clampPoint(p.ax), clampPoint(p.ay)}, b{clampPoint(p.bx), clampPoint(p.by)};
    const int32_t radius = blurRadius(p.strength, p.maxSize);
    const Size work = workingSize(p.maxSize, src->width, src->height);
    if (!blurCanRun(radius, work)) return 1;
    KernelPtr kernel(oxSepKernelGaussian(radius));
    if (!kernel) return 1;
    ImagePtr mask(oxImageCreate(src->width, src->height, OX_GRAY));
    if (!mask) return 1;
    maskStage(maskBox(a, b), mask.get());
    ImagePtr small(oxImageCreate(work.width, work.height, src->encoding));
    ImagePtr blurred(oxImageCreateAs(src));
    if (!small || !blurred) return 1;
    if (const int32_t r = resizeStage(src, small.get()); r != 0) return r;
    const int32_t r = blurStage(small.get(), kernel.get());
    kernel.reset();
    if (r != 0) return r;
    // Only a refusal of the resize back counts: any other code goes on.
    if (resizeStage(small.get(), blurred.get()) == 1) return 1;
    small.reset();
    const int32_t blended = blendStage(blurred.get(), src, dst, mask.get());
    if (keep) *keep = std::move(blurred);
    return blended;
}

// The destination takes the source, unless they are one buffer.
void passThrough(const oxImage* src, oxImage* dst) {
    if (src->data != dst->data) oxCopy(src, dst);
}

// The lens step of the entry, cropped and scaled back to the same size. A
// source narrower or lower than 2 pixels is refused, as the exported lens
// filter refuses it; the BGR buffers are known good otherwise, so the
// operation runs on them directly. `scratch` is memory the blur no longer
// needs; the crop is distorted into it when it is large enough.
int32_t lensStep(float amount, Point a, Point b, const oxImage* from, oxImage* to, std::span<uint8_t> scratch) {
    if (from->width < 2 || from->height < 2) return code(Status::Refused);
    const LensParams lens{amount, (a.x + b.x) / 2.0f, (a.y + b.y) / 2.0f, true};
    return code(lensDistortion(lens, wholeView<const uint8_t>(from), wholeView<uint8_t>(to), nullptr, scratch));
}

int32_t yewTiltShift(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels, float strength,
                     float lensAmount, Point a, Point b) {
    HeaderPtr src = wrapBgr(width, height, srcPixels);
    HeaderPtr dst = wrapBgr(width, height, dstPixels);
    if (!src || !dst) return 1;
    bool blurred = false;
    ImagePtr spare;
    if (saturateTrunc<int32_t>(static_cast<double>(strength) * 51.2) >= 1) {
        const oxTiltShiftParams p{kEntryMaxSize, strength, a.x, a.y, b.x, b.y};
        // A failed blur is not reported; the source stands in for it, so
        // the destination never keeps bytes the call did not define.
        blurred = tiltShift(p, src.get(), dst.get(), &spare) == 0;
    }
    if (lensAmount == 0.0f) {
        if (!blurred) passThrough(src.get(), dst.get());
        return 0;
    }
    std::span<uint8_t> scratch;
    if (spare) scratch = {spare->data, static_cast<size_t>(*bufferBytes(spare.get()))};
    const int32_t r = lensStep(lensAmount, a, b, blurred ? dst.get() : src.get(), dst.get(), scratch);
    if (r != 0 && !blurred) passThrough(src.get(), dst.get());
    return r;
}

}  // namespace

extern "C" {

OX_API oxTiltShiftParams* oxTiltShiftParamsDefault(void) {
    auto* p = allocateRecord<oxTiltShiftParams>();
    if (p) *p = {1024, 0.2f, 0.0, static_cast<double>(0.3f), 1.0, static_cast<double>(0.3f)};
    return p;
}

OX_API void oxTiltShiftParamsRelease(oxTiltShiftParams** params) { releaseRecord(params); }

OX_API int32_t oxTiltShiftFilter(const oxTiltShiftParams* params, const oxImage* src, oxImage* dst) {
    if (!params || !src || !dst) return 1;
    return tiltShift(*params, src, dst);
}

OX_API int32_t oxYewTiltShift(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                              float strength, float lensAmount, float ax, float ay, float bx, float by) {
    if (width < 0 || height < 0 || !srcPixels || !dstPixels) return 1;
    return yewTiltShift(width, height, srcPixels, dstPixels, strength, lensAmount, {clampPoint(ax), clampPoint(ay)},
                        {clampPoint(bx), clampPoint(by)});
}

}  // extern "C"
