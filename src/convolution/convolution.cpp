// Separable convolution of images: the twelve exported passes and the
// filter that chains a horizontal and a vertical pass, channel by channel.
#include <cstdint>

#include "convolution/detail/kernel_rules.hpp"
#include "convolution/detail/passes.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "ox_convolution.h"

using namespace ox::detail;
using namespace ox::detail::sep;

namespace {

// The weights, radius and border rule of one axis, when the kernel can run
// over a line of `length` samples: the passes index inside the line only
// while it is at least as long as the kernel, and count padded positions
// (up to length + r) in int32.
bool axisTaps(const oxSepKernel* k, bool horizontal, int32_t length, Taps& t) {
    const float* w = horizontal ? k->kernelX : k->kernelY;
    const int32_t r = horizontal ? k->radiusX : k->radiusY;
    const PadRule pad = padRule(k->border);
    if (!w || r < 0 || !pad || length < 2 * static_cast<int64_t>(r) + 1) return false;
    if (static_cast<int64_t>(length) + r > INT32_MAX) return false;
    t = {w, r, pad};
    return true;
}

template <class T> bool holds(const oxImage* img) {
    return img && img->type == typeCode<T>() && hasBuffer(img);
}

template <class T> int32_t horizontalPass(const oxImage* src, uint8_t* dst, const oxSepKernel* k, bool symmetric) {
    Taps t;
    if (!holds<T>(src) || !dst || !k || !axisTaps(k, true, src->width, t)) return 1;
    return horizontal<T>(src->data, dst, src->width, src->height, t, symmetric) ? 0 : 1;
}

template <class T>
int32_t verticalPass(const uint8_t* src, uint8_t* scratch, oxImage* dst, const oxSepKernel* k, bool symmetric) {
    Taps t;
    if (!src || (symmetric && !scratch) || !holds<T>(dst) || !k || !axisTaps(k, false, dst->height, t)) return 1;
    return vertical<T>(src, scratch, dst->data, dst->width, dst->height, t, symmetric) ? 0 : 1;
}

uint8_t* bytes(float* p) { return reinterpret_cast<uint8_t*>(p); }
const uint8_t* bytes(const float* p) { return reinterpret_cast<const uint8_t*>(p); }

// The float intermediate and the symmetric pass's accumulators (4 bytes
// each per pixel), and for a colour image one channel plane; 0 for sizes
// that no buffer can have.
uint64_t tempBufferSize(const oxImage* img) {
    if (!img || img->width < 1 || img->height < 1) return 0;
    const int64_t perPixel = channelCount(img->encoding) == 1 ? 8 : elementSize(img->type) + 8;
    return sizeOrZero(checkedProduct({img->width, img->height, perPixel}));
}

// Work buffer: for a colour image first one channel plane of T, then the
// float intermediate, then the accumulators of the symmetric vertical pass.
template <class T>
int32_t convolve(const oxImage* src, oxImage* dst, const oxSepKernel* k, uint8_t* buffer, bool symX, bool symY) {
    const int64_t area = static_cast<int64_t>(src->width) * src->height;
    const bool colour = channelCount(src->encoding) > 1;
    uint8_t* plane = buffer;
    uint8_t* inter = buffer + (colour ? area * static_cast<int64_t>(sizeof(T)) : 0);
    uint8_t* scratch = inter + area * 4;
    auto run = [&](const oxImage* in, oxImage* out) {
        if (const int32_t s = horizontalPass<T>(in, inter, k, symX); s != 0) return s;
        return verticalPass<T>(inter, scratch, out, k, symY);
    };
    if (!colour) return run(src, dst);
    HeaderPtr header = planeHeader(src->width, src->height, src->type, plane);
    if (!header) return 1;
    // Channels 1 to 3 only: a fourth channel of dst deliberately keeps what
    // it holds.
    return forEachChannelPlane(src, dst, 3, header.get(), header.get(), run);
}

int32_t filterOpt(const oxImage* src, oxImage* dst, const oxSepKernel* kernel, uint8_t* buffer) {
    if (!src || !dst || !kernel || !buffer || !hasBuffer(src) || !hasBuffer(dst)) return 1;
    if (src->type != OX_8U && src->type != OX_32F && src->type != OX_64F) return 1;
    // The destination is written with the source's element size.
    if (dst->type != src->type || dst->width != src->width || dst->height != src->height) return 1;
    if (oxImageHaveUncompatibleEncodings(src, dst)) return 1;
    if (!oxSepKernelCheckForImage(kernel, src)) return 1;
    KernelPtr normalized;
    const oxSepKernel* k = workingKernel(kernel, normalized);
    if (!k) return 1;
    if (!k->kernelX || !k->kernelY) return 1;
    const bool symX = isSymmetric(k->kernelX, k->radiusX), symY = isSymmetric(k->kernelY, k->radiusY);
    switch (src->type) {
    case OX_8U: return convolve<uint8_t>(src, dst, k, buffer, symX, symY);
    case OX_32F: return convolve<float>(src, dst, k, buffer, symX, symY);
    default: return convolve<double>(src, dst, k, buffer, symX, symY);
    }
}

}  // namespace

extern "C" {

OX_API uint64_t oxSeparableConvolutionGetTempBufferSize(const oxImage* image) { return tempBufferSize(image); }

OX_API int32_t oxSeparableConvolutionFilter(const oxImage* src, oxImage* dst, const oxSepKernel* kernel) {
    return withScratch(tempBufferSize(src), false, [&](uint8_t* buffer) { return filterOpt(src, dst, kernel, buffer); });
}

OX_API int32_t oxSeparableConvolutionFilterOpt(const oxImage* src, oxImage* dst, const oxSepKernel* kernel,
                                               void* buffer) {
    return filterOpt(src, dst, kernel, static_cast<uint8_t*>(buffer));
}

OX_API int32_t oxApplySepKernelH(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<uint8_t>(src, bytes(dst), kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<uint8_t>(src, bytes(dst), kernel, true);
}
OX_API int32_t oxApplySepKernelV(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<uint8_t>(bytes(src), nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<uint8_t>(bytes(src), bytes(scratch), dst, kernel, true);
}

OX_API int32_t oxApplySepKernelH32F(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<float>(src, bytes(dst), kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH32F(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<float>(src, bytes(dst), kernel, true);
}
OX_API int32_t oxApplySepKernelV32F(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<float>(bytes(src), nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV32F(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<float>(bytes(src), bytes(scratch), dst, kernel, true);
}

OX_API int32_t oxApplySepKernelH64D(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<double>(src, bytes(dst), kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH64D(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<double>(src, bytes(dst), kernel, true);
}
OX_API int32_t oxApplySepKernelV64D(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<double>(bytes(src), nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV64D(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<double>(bytes(src), bytes(scratch), dst, kernel, true);
}

}  // extern "C"
