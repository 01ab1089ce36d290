// Image resize: the exported shells over the nearest and bilinear
// operations (geometry/detail/resize_ops.hpp), Lanczos for double images,
// and the Lanczos resampling of 1-D functions that it is built on.
#include <algorithm>
#include <cmath>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "geometry/detail/resize_ops.hpp"
#include "geometry/detail/sine.hpp"
#include "ox_resize.h"

using namespace ox::detail;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr int32_t kLanczosA = 3;

double lanczos(double a, double x) {
    if (x == 0.0) return 1.0;
    if (!(std::fabs(x) < a)) return 0.0;  // NaN lands here too
    const double px = kPi * x;
    const double pxa = (x / a) * kPi;
    // The library's own sine: the same bits on every processor.
    return (sine(px) / px) * (sine(pxa) / pxa);
}

// Seven taps around x = j * ns / nd with weights taken at d + k, d = 1 -
// frac(x): the window is centred one sample before x. The offset is
// deliberate: callers depend on this output.
void lanczosResample(const double* s, int32_t ns, double* d, int32_t nd) {
    const double scale = static_cast<double>(ns) / static_cast<double>(nd);
    for (int32_t j = 0; j < nd; ++j) {
        const double x = scale * j;
        const double offset = (1.0 - x) + std::floor(x);
        double sum = 0.0, weights = 0.0;
        for (int32_t k = -kLanczosA; k <= kLanczosA; ++k) {
            const int64_t index = std::clamp<int64_t>(saturateTrunc<int64_t>(x + k), 0, ns - 1);
            const double w = lanczos(kLanczosA, offset + k);
            sum = std::fma(w, s[index], sum);
            weights += w;
        }
        d[j] = sum / weights;
    }
}

// ---------------------------------------------------------------- checks

int32_t roiW(const oxImage* img) { return img->roi.width; }
int32_t roiH(const oxImage* img) { return img->roi.height; }

// Both ROIs non-empty and inside their images with pixels behind them.
bool roisUsable(const oxImage* src, const oxImage* dst) {
    return roiW(src) > 0 && roiH(src) > 0 && roiW(dst) > 0 && roiH(dst) > 0 && roiInside(src) && roiInside(dst);
}

int32_t typeOfMode(int32_t mode) { return mode == 1 ? OX_64F : OX_8U; }

int64_t nonNegative(int32_t v) { return v > 0 ? v : 0; }

// The bilinear work area callers supply: two int32 row buffers of dst ROI
// width, then a (column, weight) pair per destination column and one per
// row. The operation allocates its own scratch, so the buffer only has to
// exist; the planes after it serve the channel-by-channel path.
int64_t workBytes(const oxImage* dst, int32_t mode) {
    return mode != 1 ? 8 * nonNegative(roiH(dst)) + 16 * nonNegative(roiW(dst)) : 0;
}

Count planeBytes(const oxImage* img) {
    return checkedProduct({nonNegative(roiW(img)), nonNegative(roiH(img)), elementSize(img->type)});
}

// The scratch of oxResizeOpt: the work area and a plane per colour image;
// nullopt when no buffer can be that large.
Count tempBytes(const oxImage* src, const oxImage* dst, int32_t mode) {
    auto plane = [](const oxImage* img) { return channelCount(img->encoding) > 1 ? planeBytes(img) : Count(0); };
    const Count in = plane(src), out = plane(dst);
    if (!in || !out) return std::nullopt;
    return checkedSum({workBytes(dst, mode), *in, *out});
}

// ---------------------------------------------------------------- nearest

Status nearestImages(const oxImage* src, oxImage* dst) {
    if (src->encoding != dst->encoding || src->type != dst->type || src->width == 0 || src->height == 0 ||
        !isKnownType(src->type) || !roisUsable(src, dst))
        return Status::Refused;
    Status status = Status::Refused;
    visitType(src->type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        status = ox::detail::resizeNearest<T>(roiView<const T>(src), roiView<T>(dst));
    });
    return status;
}

// ---------------------------------------------------------------- Lanczos

using FunctionHeader = Owned<oxFunction, oxFunctionReleaseHeader>;
using Function = Owned<oxFunction, oxFunctionRelease>;

Status resizeLanczos(const oxImage* src, oxImage* dst) {
    const int32_t sw = roiW(src), sh = roiH(src), dw = roiW(dst), dh = roiH(dst);
    // Rows go into an intermediate of dst's width and src's height; when
    // dst has room for it, dst itself holds the intermediate.
    ImagePtr owned;
    const oxImage* mid = dst;
    if (dst->height < src->height) {
        owned.reset(oxImageCreateWithType(dst->width, src->height, OX_GRAY, OX_64F));
        if (!owned) return Status::Refused;
        mid = owned.get();
    }
    FunctionHeader rowIn(oxFunctionCreateHeader(sw)), rowOut(oxFunctionCreateHeader(dw));
    Function colIn(oxFunctionCreate(sh)), colOut(oxFunctionCreate(dh));
    if (!rowIn || !rowOut || !colIn || !colOut) return Status::Refused;

    for (int32_t y = 0; y < src->height; ++y) {
        rowIn->values = row<double>(src, y);
        rowOut->values = row<double>(mid, y);
        oxLanczosResizeFunction(rowIn.get(), rowOut.get());
    }
    for (int32_t x = 0; x < dw; ++x) {
        for (int32_t y = 0; y < sh; ++y) colIn->values[y] = row<double>(mid, y)[x];
        oxLanczosResizeFunction(colIn.get(), colOut.get());
        for (int32_t y = 0; y < dh; ++y) row<double>(dst, y)[x] = colOut->values[y];
    }
    auto* v = reinterpret_cast<double*>(dst->data);
    const int64_t n = static_cast<int64_t>(dst->width) * dst->height;
    for (int64_t i = 0; i < n; ++i) v[i] = (v[i] >= 1.0 || v[i] != v[i]) ? 1.0 : (v[i] < 0.0 ? 0.0 : v[i]);
    return Status::Ok;
}

// ---------------------------------------------------------------- dispatch

bool typesFitMode(const oxImage* src, const oxImage* dst, int32_t mode) {
    return dst->type == typeOfMode(mode) && src->type == dst->type;
}

Status resize1C(const oxImage* src, oxImage* dst, int32_t mode, void* work) {
    if (!typesFitMode(src, dst, mode) || channelCount(src->encoding) != 1 || channelCount(dst->encoding) != 1 ||
        !roisUsable(src, dst) || (mode != 1 && !work))
        return Status::Refused;
    if (mode == 1) return resizeLanczos(src, dst);
    return resizeBilinear(roiView<const uint8_t>(src), roiView<uint8_t>(dst));
}

// Channels 1 to C of both images at the same places, and no memory shared:
// the interleaved pixels can be resampled directly. Otherwise channels are
// taken one by one through planes, which reorders them between encodings,
// leaves a fourth channel of the target as it is, and makes every channel
// read the source as it was before the call.
bool interleavedFits(const oxImage* src, const oxImage* dst, int32_t channels) {
    if (channelCount(dst->encoding) != channels) return false;
    for (int32_t c = 1; c <= channels; ++c)
        if (oxImageGetChannelOffset(src, c) != oxImageGetChannelOffset(dst, c)) return false;
    const auto s0 = reinterpret_cast<uintptr_t>(src->data), d0 = reinterpret_cast<uintptr_t>(dst->data);
    return s0 + *bufferBytes(src) <= d0 || d0 + *bufferBytes(dst) <= s0;
}

Status resizeOpt(const oxImage* src, oxImage* dst, int32_t mode, uint8_t* buffer) {
    if (!typesFitMode(src, dst, mode) || oxImageHaveUncompatibleEncodings(src, dst) || !roisUsable(src, dst) ||
        resizeScratchTooLarge(src, dst, mode))
        return Status::Refused;
    if (channelCount(src->encoding) == 1) return resize1C(src, dst, mode, buffer);
    const int32_t channels = channelCount(src->encoding);
    if (!buffer || channelCount(dst->encoding) < channels) return Status::Refused;
    if (mode != 1 && interleavedFits(src, dst, channels))
        return resizeBilinear(roiView<const uint8_t>(src), roiView<uint8_t>(dst));
    // The work area comes first so that its int32 tables, and the double
    // planes after it, stay aligned.
    uint8_t* const planes = buffer + workBytes(dst, mode);
    HeaderPtr in = planeHeader(roiW(src), roiH(src), src->type, planes);
    HeaderPtr out = planeHeader(roiW(dst), roiH(dst), dst->type, planes + *planeBytes(src));
    if (!in || !out) return Status::Refused;
    const int32_t r = forEachChannelPlane(src, dst, channels, in.get(), out.get(), [&](oxImage* i, oxImage* o) {
        return code(resize1C(i, o, mode, buffer));
    });
    return r == 0 ? Status::Ok : Status::Refused;
}

}  // namespace

bool ox::detail::resizeScratchTooLarge(const oxImage* src, const oxImage* dst, int32_t mode) noexcept {
    const Count bytes = tempBytes(src, dst, mode);
    return !bytes || *bytes > UINT32_MAX;
}

extern "C" {

OX_API double oxLanczosFunction(double a, double x) { return lanczos(a, x); }

OX_API void oxLanczosResizeFunction(const oxFunction* src, oxFunction* dst) {
    if (!src || !dst || src->count < 1 || dst->count < 1) return;
    lanczosResample(src->values, src->count, dst->values, dst->count);
}

OX_API int32_t oxResizeFunction(const oxFunction* src, oxFunction* dst, int32_t mode) {
    if (mode != 1) return code(Status::Refused);
    oxLanczosResizeFunction(src, dst);
    return code(Status::Ok);
}

OX_API uint32_t oxResizeGetTempBufferSize(const oxImage* src, const oxImage* dst, int32_t mode) {
    if (!src || !dst) return 0;
    const Count bytes = tempBytes(src, dst, mode);
    return bytes ? static_cast<uint32_t>(std::min<int64_t>(*bytes, UINT32_MAX)) : UINT32_MAX;
}

OX_API int32_t oxResize(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved) {
    (void)reserved;
    if (!src || !dst) return code(Status::Refused);
    // A ROI that would be refused must not first cost a scratch of its size.
    if (!roisUsable(src, dst)) return code(Status::Refused);
    if (mode == -1) return code(nearestImages(src, dst));
    if (resizeScratchTooLarge(src, dst, mode)) return code(Status::Refused);
    return withScratch(sizeOrZero(tempBytes(src, dst, mode)), false,
                       [&](uint8_t* buffer) { return code(resizeOpt(src, dst, mode, buffer)); });
}

OX_API int32_t oxResizeOpt(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved,
                           void* buffer) {
    (void)reserved;
    if (!src || !dst) return code(Status::Refused);
    return code(resizeOpt(src, dst, mode, static_cast<uint8_t*>(buffer)));
}

OX_API int32_t oxResize1C(const oxImage* src, oxImage* dst, int32_t mode, void* work) {
    if (!src || !dst) return code(Status::Refused);
    return code(resize1C(src, dst, mode, work));
}

}  // extern "C"
