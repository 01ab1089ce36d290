// Lens distortion: the radial backward mapping with a bilinear blend in
// float, the corner search that finds the region the distortion leaves
// defined, and the walk over a sequence of frames.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "ox_elementwise.h"
#include "ox_lens.h"
#include "ox_resize.h"

using namespace ox::detail;

namespace {

constexpr int kCornerSteps = 100;

struct Point {
    float x;
    float y;
};

// p + (p - centre) * k * |p - centre|^2, every step in float and in this
// order: the outputs of the hosts depend on the exact roundings.
struct Distortion {
    float k;
    float x0;
    float y0;

    Point operator()(Point p) const noexcept {
        const float dx = p.x - x0, dy = p.y - y0;
        const float f = k * (dx * dx + dy * dy);
        return {p.x + dx * f, p.y + dy * f};
    }
};

Distortion distortionOf(const oxLensDistortionParams& params, int32_t w, int32_t h) {
    const float fw = static_cast<float>(w), fh = static_cast<float>(h);
    return {params.amount / (fw * fh), params.cx * fw, params.cy * fh};
}

// ---------------------------------------------------------------- mapping

// Backward maps every pixel of `src` into the zeroed `work`; the channel
// count is a constant so that the neighbour offsets are too.
template <int64_t Channels>
Status distort(const Distortion& d, const oxImage* src, oxImage* work, AbortFlag abortFlag) {
    constexpr int64_t channels = Channels;
    const int32_t w = src->width, h = src->height;
    const int64_t stride = w * channels;
    // Compared in float, as the sample position is: the neighbour to the
    // right and the one below must exist.
    const float lastX = static_cast<float>(w - 1), lastY = static_cast<float>(h - 1);
    for (int32_t y = 0; y < h; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        uint8_t* out = work->data + y * stride;
        for (int32_t x = 0; x < w; ++x, out += channels) {
            const Point s = d({static_cast<float>(x), static_cast<float>(y)});
            // floor(s) < n is s < n for a whole n, so the test needs no
            // floor; NaN and infinities fail it too and leave the pixel 0.
            if (!(s.x >= 0.0f && s.y >= 0.0f && s.x < lastX && s.y < lastY)) continue;
            // Non-negative and below the last column and row: truncation is
            // the floor and the neighbours exist.
            const int32_t left = static_cast<int32_t>(s.x), top = static_cast<int32_t>(s.y);
            const float a = s.x - static_cast<float>(left), b = s.y - static_cast<float>(top);
            const float w00 = (1.0f - a) * (1.0f - b), w01 = (1.0f - a) * b;
            const float w10 = a * (1.0f - b), w11 = a * b;
            const uint8_t* p0 = src->data + top * stride + left * channels;
            const uint8_t* p1 = p0 + stride;
            for (int64_t c = 0; c < channels; ++c) {
                const float v = w00 * p0[c] + w01 * p1[c] + w10 * p0[c + channels] + w11 * p1[c + channels];
                out[c] = clampToByte(v);
            }
        }
    }
    return Status::Ok;
}

Status distortInto(const Distortion& d, const oxImage* src, oxImage* work, AbortFlag abortFlag) {
    switch (channelCount(src->encoding)) {
    case 1: return distort<1>(d, src, work, abortFlag);
    case 3: return distort<3>(d, src, work, abortFlag);
    default: return distort<4>(d, src, work, abortFlag);  // valid encodings have 1, 3 or 4
    }
}

// ---------------------------------------------------------------- crop

// Within one pixel of some corner of a w x h image (any corner, whichever
// one the search started from).
bool nearCorner(Point p, int32_t w, int32_t h) {
    const float right = static_cast<float>(w), bottom = static_cast<float>(h);
    const bool nearX = (p.x > -1.0f && p.x < 1.0f) || (p.x > static_cast<float>(w - 2) && p.x < right);
    const bool nearY = (p.y > -1.0f && p.y < 1.0f) || (p.y > static_cast<float>(h - 2) && p.y < bottom);
    return nearX && nearY;
}

bool outside(Point p, int32_t w, int32_t h) {
    return p.x < 0.0f || p.y < 0.0f || p.x > static_cast<float>(w - 1) || p.y > static_cast<float>(h - 1);
}

// Bisects between a corner (outer) and a point next to the centre (inner)
// for the outermost point whose distorted position stays in the image.
Point searchCorner(const Distortion& d, Point outer, Point inner, int32_t w, int32_t h) {
    Point mapped = d(outer);
    for (int step = 0; step < kCornerSteps && !nearCorner(mapped, w, h); ++step) {
        const Point mid{outer.x + (inner.x - outer.x) * 0.5f, outer.y + (inner.y - outer.y) * 0.5f};
        const Point at = d(mid);
        if (outside(at, w, h)) {
            outer = mid;
            mapped = at;
        } else {
            inner = mid;
        }
    }
    return outer;
}

int64_t trunc32(float v) { return saturateTrunc<int32_t>(v); }

// The rectangle inside the four corner points, or false when it is empty
// or not inside the image (extreme amounts or centres).
bool cropRect(const Distortion& d, int32_t w, int32_t h, oxRect& rect) {
    const float fw = static_cast<float>(w - 1), fh = static_cast<float>(h - 1);
    const Point topLeft = searchCorner(d, {0.0f, 0.0f}, {d.x0 - 1.0f, d.y0 - 1.0f}, w, h);
    const Point topRight = searchCorner(d, {fw, 0.0f}, {d.x0 + 1.0f, d.y0 - 1.0f}, w, h);
    const Point bottomLeft = searchCorner(d, {0.0f, fh}, {d.x0 - 1.0f, d.y0 + 1.0f}, w, h);
    const Point bottomRight = searchCorner(d, {fw, fh}, {d.x0 + 1.0f, d.y0 + 1.0f}, w, h);
    // Two extra columns on the left and none on the top are deliberate:
    // hosts depend on this rectangle.
    const int64_t x = trunc32(std::max(topLeft.x, bottomLeft.x)) + 2;
    const int64_t y = trunc32(std::max(topLeft.y, topRight.y));
    const int64_t width = trunc32(std::min(topRight.x, bottomRight.x)) - x;
    const int64_t height = trunc32(std::min(bottomLeft.y, bottomRight.y)) - y;
    if (x < 0 || y < 0 || width < 1 || height < 1 || x + width > w || y + height > h) return false;
    rect = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(width),
            static_cast<int32_t>(height)};
    return true;
}

// ---------------------------------------------------------------- filter

bool acceptable(const oxLensDistortionParams& params, const oxImage* src, const oxImage* dst) {
    if (src->type != OX_8U || !hasBuffer(src) || src->width < 2 || src->height < 2) return false;
    if (dst->type != OX_8U || !hasBuffer(dst)) return false;
    if (params.crop == 0)
        return dst->width == src->width && dst->height == src->height && dst->encoding == src->encoding;
    return true;
}

int32_t lensFilter(const oxLensDistortionParams& params, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    if (!acceptable(params, src, dst)) return code(Status::Refused);
    const int32_t w = src->width, h = src->height;
    ImagePtr work(oxImageCreateAs(src));
    if (!work) return code(Status::Refused);
    std::memset(work->data, 0, static_cast<size_t>(*bufferBytes(work.get())));
    const Distortion d = distortionOf(params, w, h);
    const Status s = distortInto(d, src, work.get(), abortFlag);
    if (s != Status::Ok) return code(s);
    if (params.crop == 0) return oxCopy(work.get(), dst);
    oxRect rect;
    if (!cropRect(d, w, h, rect)) return code(Status::Refused);
    oxImageSetROI(work.get(), &rect);
    return oxResize(work.get(), dst, 0, abortFlag);
}

// Releases a sequence's loaded item when the scope ends; release() does it
// early and reports the callback's status.
class LoadedItem {
public:
    explicit LoadedItem(oxDepthBasedImageSequence* sequence) noexcept : sequence_(sequence) {}
    LoadedItem(const LoadedItem&) = delete;
    LoadedItem& operator=(const LoadedItem&) = delete;
    ~LoadedItem() { release(); }

    int32_t release() noexcept {
        return sequence_ ? oxDepthBasedImageSequenceReleaseItem(std::exchange(sequence_, nullptr)) : 0;
    }

private:
    oxDepthBasedImageSequence* sequence_;
};

// Filters the loaded items of both sequences and stores the result.
int32_t filterLoaded(const oxLensDistortionParams& params, oxDepthBasedImageSequence* srcSequence,
                     oxDepthBasedImageSequence* dstSequence, oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    if (oxDepthBasedImageSequenceWrapItem(srcSequence, src) != 0 ||
        oxDepthBasedImageSequenceWrapItem(dstSequence, dst) != 0)
        return code(Status::Refused);
    if (const int32_t s = lensFilter(params, src, dst, abortFlag); s != 0) return s;
    return oxDepthBasedImageSequenceStoreItem(dstSequence);
}

int32_t lensFilterSeq(const oxLensDistortionParams& params, oxDepthBasedImageSequence* srcSequence,
                      oxDepthBasedImageSequence* dstSequence, AbortFlag abortFlag) {
    // The wrapped frames are read as 8-bit images: wrapping keeps the type.
    HeaderPtr src(oxImageCreateHeaderWithType(0, 0, OX_GRAY, OX_8U));
    HeaderPtr dst(oxImageCreateHeaderWithType(0, 0, OX_GRAY, OX_8U));
    if (!src || !dst) return code(Status::Refused);
    for (int32_t i = 0; i < srcSequence->count; ++i) {
        if (const int32_t s = oxDepthBasedImageSequenceLoadItem(srcSequence, i); s != 0) return s;
        LoadedItem srcItem(srcSequence);
        if (const int32_t s = oxDepthBasedImageSequenceLoadItem(dstSequence, i); s != 0) return s;
        LoadedItem dstItem(dstSequence);
        const int32_t s = filterLoaded(params, srcSequence, dstSequence, src.get(), dst.get(), abortFlag);
        if (s != 0) return s;
        const int32_t releasedSrc = srcItem.release();
        const int32_t releasedDst = dstItem.release();
        if (releasedSrc != 0) return releasedSrc;
        if (releasedDst != 0) return releasedDst;
    }
    return code(Status::Ok);
}

}  // namespace

extern "C" {

OX_API oxLensDistortionParams* oxLensDistortionParamsDefault(void) {
    auto* p = allocateRecord<oxLensDistortionParams>();
    if (p) *p = {0.5f, 0.5f, 0.5f, 1};
    return p;
}

OX_API void oxLensDistortionParamsRelease(oxLensDistortionParams** params) { releaseRecord(params); }

OX_API int32_t oxLensDistortionFilter(const oxLensDistortionParams* params, const oxImage* src, oxImage* dst,
                                      const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return lensFilter(*params, src, dst, abortFlag);
}

OX_API int32_t oxLensDistortionFilterSeq(const oxLensDistortionParams* params, oxDepthBasedImageSequence* srcSequence,
                                         oxDepthBasedImageSequence* dstSequence, const volatile int32_t* abortFlag) {
    if (!params || !srcSequence || !dstSequence) return code(Status::Refused);
    return lensFilterSeq(*params, srcSequence, dstSequence, abortFlag);
}

}  // extern "C"
