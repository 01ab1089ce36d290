// Separable convolution of images: the filter and the twelve exported
// passes, as shells that check the host's records and call the operations
// of convolution_ops.hpp.
#include <cstdint>

#include "convolution/detail/convolution_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/planes.hpp"
#include "core/detail/view.hpp"
#include "ox_convolution.h"

using namespace ox::detail;

namespace {

template <class T> bool holds(const oxImage* img) {
    return img && img->type == sep::typeCode<T>() && hasBuffer(img);
}

// The first width x height samples of an image's buffer as one plane,
// whatever its encoding: the passes read and write only those.
template <class T> View<T> planeOf(const oxImage* img) {
    return {reinterpret_cast<T*>(img->data), img->width, img->height, 1, img->width};
}

template <class T> int32_t horizontalPass(const oxImage* src, float* dst, const oxSepKernel* k, bool symmetric) {
    sep::Taps t;
    if (!holds<T>(src) || !dst || !k || !sep::axisTaps(k->kernelX, k->radiusX, k->border, src->width, t)) return 1;
    return code(ox::detail::horizontalPass<T>(planeOf<const T>(src), dst, t, symmetric));
}

template <class T>
int32_t verticalPass(const float* src, float* scratch, oxImage* dst, const oxSepKernel* k, bool symmetric) {
    sep::Taps t;
    if (!src || (symmetric && !scratch) || !holds<T>(dst) || !k ||
        !sep::axisTaps(k->kernelY, k->radiusY, k->border, dst->height, t))
        return 1;
    return code(ox::detail::verticalPass<T>(src, scratch, planeOf<T>(dst), t, symmetric));
}

// The float intermediate and the symmetric pass's accumulators (4 bytes
// each per pixel), and for a colour image one channel plane; 0 for sizes
// that no buffer can have.
uint64_t tempBufferSize(const oxImage* img) {
    if (!img || img->width < 1 || img->height < 1) return 0;
    const int64_t perPixel = channelCount(img->encoding) == 1 ? 8 : elementSize(img->type) + 8;
    return sizeOrZero(checkedProduct({img->width, img->height, perPixel}));
}

ChannelPlaces placesOf(const oxImage* img) {
    return {{oxGetChannelOffsetFromEncoding(img->encoding, 1), oxGetChannelOffsetFromEncoding(img->encoding, 2),
             oxGetChannelOffsetFromEncoding(img->encoding, 3)}};
}

// Colour images are defined to go channel by channel through a plane:
// extracted along the source's ROI, filtered, inserted along the
// destination's. Filtering all channels at once gives the same bytes when
// both ROIs are the whole image and writing one channel of dst cannot
// change a channel of src still to be read: the buffers are apart, or
// they are one buffer with the channels in the same places.
bool interleavedMatchesPlanes(const oxImage* src, const oxImage* dst) {
    if (!roiIsWhole(src) || !roiIsWhole(dst)) return false;
    const auto s = reinterpret_cast<uintptr_t>(src->data), d = reinterpret_cast<uintptr_t>(dst->data);
    if (d >= s + *bufferBytes(src) || s >= d + *bufferBytes(dst)) return true;
    const ChannelPlaces a = placesOf(src), b = placesOf(dst);
    return s == d && channelCount(src->encoding) == channelCount(dst->encoding) && a.at[0] == b.at[0] &&
           a.at[1] == b.at[1] && a.at[2] == b.at[2];
}

// The channel-by-channel route, for the ROIs and shared buffers that
// interleaved filtering would not reproduce: the plane at the start of the
// work buffer keeps what it held where a source ROI does not reach, and an
// insertion that the destination's ROI cannot take is skipped.
template <class T>
Status throughPlanes(const oxImage* src, oxImage* dst, const PreparedKernel& k, uint8_t* buffer) {
    HeaderPtr header = planeHeader(src->width, src->height, src->type, buffer);
    if (!header) return Status::Refused;
    const View<T> plane = wholeView<T>(header.get());
    return static_cast<Status>(forEachChannelPlane(src, dst, 3, header.get(), header.get(), [&](oxImage*, oxImage*) {
        return code(separableConvolution<T>(plane, plane, k));
    }));
}

template <class T> Status filterAs(const oxImage* src, oxImage* dst, const PreparedKernel& k, uint8_t* buffer) {
    if (channelCount(src->encoding) == 1) return separableConvolution<T>(wholeView<T>(src), wholeView<T>(dst), k);
    if (interleavedMatchesPlanes(src, dst))
        return separableConvolution<T>(wholeView<T>(src), wholeView<T>(dst), k, placesOf(src), placesOf(dst));
    return throughPlanes<T>(src, dst, k, buffer);
}

int32_t filterOpt(const oxImage* src, oxImage* dst, const oxSepKernel* kernel, uint8_t* buffer) {
    if (!src || !dst || !kernel || !buffer || !hasBuffer(src) || !hasBuffer(dst)) return 1;
    if (src->type != OX_8U && src->type != OX_32F && src->type != OX_64F) return 1;
    // The destination is written with the source's element size.
    if (dst->type != src->type || dst->width != src->width || dst->height != src->height) return 1;
    if (oxImageHaveUncompatibleEncodings(src, dst)) return 1;
    if (!oxSepKernelCheckForImage(kernel, src)) return 1;
    PreparedKernel k;
    if (prepareKernel(kernel, src->width, src->height, k) != Status::Ok) return 1;
    switch (src->type) {
    case OX_8U: return code(filterAs<uint8_t>(src, dst, k, buffer));
    case OX_32F: return code(filterAs<float>(src, dst, k, buffer));
    default: return code(filterAs<double>(src, dst, k, buffer));
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
    return horizontalPass<uint8_t>(src, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<uint8_t>(src, dst, kernel, true);
}
OX_API int32_t oxApplySepKernelV(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<uint8_t>(src, nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<uint8_t>(src, scratch, dst, kernel, true);
}

OX_API int32_t oxApplySepKernelH32F(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<float>(src, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH32F(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<float>(src, dst, kernel, true);
}
OX_API int32_t oxApplySepKernelV32F(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<float>(src, nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV32F(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<float>(src, scratch, dst, kernel, true);
}

OX_API int32_t oxApplySepKernelH64D(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<double>(src, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmH64D(const oxImage* src, float* dst, const oxSepKernel* kernel) {
    return horizontalPass<double>(src, dst, kernel, true);
}
OX_API int32_t oxApplySepKernelV64D(const float* src, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<double>(src, nullptr, dst, kernel, false);
}
OX_API int32_t oxApplySepKernelSymmV64D(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel) {
    return verticalPass<double>(src, scratch, dst, kernel, true);
}

}  // extern "C"
