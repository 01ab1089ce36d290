// Box blur: running-sum means along rows, then along columns, over 8-bit
// planes with mirrored borders.
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/status.hpp"
#include "ox_blur.h"

using namespace ox::detail;

namespace {

// A pass with radius r >= 1 mirrors samples 1..r at each end, so the line
// must be longer than r.
bool passFits(int32_t radius, int32_t length) { return radius < 1 || length > radius; }

// line[0 .. len+2r-1] = sample(r) .. sample(1), sample(0) .. sample(len-1),
// sample(len-2) .. sample(len-1-r): the mirror without repeating the edge.
template <class Sample> void fillMirrored(uint8_t* line, int32_t len, int32_t r, Sample sample) {
    for (int32_t i = 0; i < r; ++i) line[i] = sample(r - i);
    for (int32_t i = 0; i < len; ++i) line[r + i] = sample(i);
    for (int32_t j = 0; j < r; ++j) line[r + len + j] = sample(len - 2 - j);
}

// Running mean over a mirrored line: output x is the float sum of
// line[x .. x+2r] divided by 2r+1, truncated. The left half of the first
// window mirrors its right half, hence 2*S + centre.
void meanLine(const uint8_t* line, int32_t len, int32_t r, uint8_t* out, int64_t outStep) {
    const float n = static_cast<float>(2 * r + 1);
    float s = 0.0f;
    for (int32_t i = 0; i < r; ++i) s += line[i];
    float running = 2.0f * s + line[r] - line[2 * r];
    for (int32_t x = 0; x < len; ++x) {
        const float t = running + line[x + 2 * r];
        out[x * outStep] = clampToByte(t / n);
        running = t - line[x];
    }
}

Status blurPlane(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t w = src->width, h = src->height;
    const uint8_t* in = src->data;
    if (p.radiusX >= 1) {
        const int32_t r = p.radiusX;
        Buffer line = allocateBuffer(static_cast<size_t>(w) + 2 * static_cast<size_t>(r));
        if (!line) return Status::Refused;
        for (int32_t y = 0; y < h; ++y) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            const uint8_t* rowIn = src->data + static_cast<int64_t>(y) * w;
            fillMirrored(line.get(), w, r, [&](int32_t i) { return rowIn[i]; });
            meanLine(line.get(), w, r, dst->data + static_cast<int64_t>(y) * w, 1);
        }
        in = dst->data;
    }
    if (p.radiusY >= 1) {
        const int32_t r = p.radiusY;
        Buffer line = allocateBuffer(static_cast<size_t>(h) + 2 * static_cast<size_t>(r));
        if (!line) return Status::Refused;
        for (int32_t x = 0; x < w; ++x) {
            if (abortRequested(abortFlag)) return Status::Aborted;
            fillMirrored(line.get(), h, r, [&](int32_t i) { return in[static_cast<int64_t>(i) * w + x]; });
            meanLine(line.get(), h, r, dst->data + x, w);
        }
    }
    return Status::Ok;
}

// Everything that would make the passes read or write outside the planes
// is refused before a byte is written.
bool planesFit(const oxBlurParams& p, const oxImage* src, const oxImage* dst) {
    return src->data && dst->data && src->width == dst->width && src->height == dst->height &&
           passFits(p.radiusX, src->width) && passFits(p.radiusY, src->height);
}

Status blur1C(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    // Deliberate: with no pass to run nothing is written, not even a copy.
    if (p.radiusX < 1 && p.radiusY < 1) return Status::Ok;
    if (!planesFit(p, src, dst)) return Status::Refused;
    return blurPlane(p, src, dst, abortFlag);
}

Status blurOpt(const oxBlurParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag, uint8_t* buffer) {
    if (oxImageHaveUncompatibleEncodings(src, dst)) return Status::Refused;
    if (channelCount(src->encoding) == 1) return blur1C(p, src, dst, abortFlag);
    // The channel copies move elements of the image's type into an 8-bit
    // plane; any other type would leave the plane unfilled.
    if (!buffer || src->type != OX_8U || dst->type != OX_8U || !planesFit(p, src, dst)) return Status::Refused;
    HeaderPtr plane = planeHeader(src->width, src->height, OX_8U, buffer);
    if (!plane) return Status::Refused;
    // Channels 1 to 3 only: a fourth (alpha) channel is deliberately left
    // as `dst` holds it.
    const int32_t r = forEachChannelPlane(src, dst, 3, plane.get(), plane.get(), [&](oxImage* in, oxImage* out) {
        return code(blur1C(p, in, out, abortFlag));
    });
    return static_cast<Status>(r);
}

uint64_t tempBytes(const oxImage* image) {
    if (channelCount(image->encoding) == 1 || image->width < 1 || image->height < 1) return 0;
    return static_cast<uint64_t>(image->width) * static_cast<uint64_t>(image->height);
}

}  // namespace

extern "C" {

OX_API oxBlurParams* oxBlurParamsDefault(void) {
    auto* p = allocateRecord<oxBlurParams>();
    if (p) *p = {1, 1};
    return p;
}

OX_API void oxBlurParamsRelease(oxBlurParams** params) {
    if (!params || !*params) return;
    std::free(*params);
    *params = nullptr;
}

OX_API uint64_t oxBlurGetTempBufferSize(const oxImage* image) { return image ? tempBytes(image) : 0; }

OX_API int32_t oxBlurFilterOpt(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                               const volatile int32_t* abortFlag, void* buffer) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(blurOpt(*params, src, dst, abortFlag, static_cast<uint8_t*>(buffer)));
}

OX_API int32_t oxBlurFilter(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                            const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    const uint64_t bytes = tempBytes(src);
    if (bytes > SIZE_MAX) return code(Status::Refused);
    // Zeroed, so that a plane the channel copy only partly fills (a source
    // ROI smaller than the image) holds no indeterminate bytes.
    Buffer buffer = bytes ? allocateZeroed(static_cast<size_t>(bytes)) : Buffer();
    if (bytes && !buffer) return code(Status::Refused);
    return code(blurOpt(*params, src, dst, abortFlag, buffer.get()));
}

OX_API int32_t oxBlurFilter1C(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                              const volatile int32_t* abortFlag) {
    if (!params || !src || !dst) return code(Status::Refused);
    return code(blur1C(*params, src, dst, abortFlag));
}

}  // extern "C"
