// Lens distortion: the exported shells, which check what the host handed
// in and run the operation over views, and the walk over a sequence of
// frames.
#include <cstdlib>
#include <utility>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "geometry/detail/lens_ops.hpp"
#include "ox_lens.h"

using namespace ox::detail;

namespace {

bool acceptable(const oxLensDistortionParams& params, const oxImage* src, const oxImage* dst) {
    if (src->type != OX_8U || !hasBuffer(src) || src->width < 2 || src->height < 2) return false;
    if (dst->type != OX_8U || !hasBuffer(dst)) return false;
    if (params.crop == 0)
        return dst->width == src->width && dst->height == src->height && dst->encoding == src->encoding;
    return true;
}

// What the bilinear resize of the crop (an image like `src`) into dst's
// ROI refuses, apart from the scratch limit that the operation keeps: a
// grey side facing a colour one, a ROI that is empty or leaves dst, fewer
// destination channels.
bool cropDestinationUsable(const oxImage* src, const oxImage* dst) {
    return !oxImageHaveUncompatibleEncodings(src, dst) && dst->roi.width > 0 && dst->roi.height > 0 &&
           roiInside(dst) && channelCount(dst->encoding) >= channelCount(src->encoding);
}

// A destination whose channels differ in order or number: the crop is
// scaled in the source's order, then each of the source's channels goes to
// the same channel of dst; a fourth destination channel keeps its bytes.
Status lensIntoOtherOrder(const LensParams& p, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    const int32_t channels = channelCount(src->encoding), dstChannels = channelCount(dst->encoding);
    OwnedView<uint8_t> scaled = allocateView<uint8_t>(dst->roi.width, dst->roi.height, channels);
    if (!scaled) return Status::Refused;
    if (const Status s = lensDistortion(p, wholeView<const uint8_t>(src), scaled.view, abortFlag); s != Status::Ok)
        return s;
    const View<uint8_t> out = roiView<uint8_t>(dst);
    for (int32_t c = 1; c <= channels; ++c) {
        const int32_t from = oxGetChannelOffsetFromEncoding(src->encoding, c);
        const int32_t to = oxGetChannelOffsetFromEncoding(dst->encoding, c);
        for (int32_t y = 0; y < out.height; ++y) {
            const uint8_t* s = scaled.view.row(y) + from;
            uint8_t* d = out.row(y) + to;
            for (int32_t x = 0; x < out.width; ++x) d[x * dstChannels] = s[x * channels];
        }
    }
    return Status::Ok;
}

int32_t lensFilter(const oxLensDistortionParams& params, const oxImage* src, oxImage* dst, AbortFlag abortFlag) {
    if (!acceptable(params, src, dst)) return code(Status::Refused);
    const LensParams p{params.amount, params.cx, params.cy, params.crop != 0};
    const ConstView<uint8_t> in = wholeView<const uint8_t>(src);
    if (!p.crop) {
        // The distorted image is copied to dst's ROI origin with whole rows:
        // only a ROI at the origin leaves room for it.
        if (dst->roi.x != 0 || dst->roi.y != 0) return code(lensRefusal(src->height, abortFlag));
        return code(lensDistortion(p, in, wholeView<uint8_t>(dst), abortFlag));
    }
    if (!cropDestinationUsable(src, dst)) return code(lensRefusal(src->height, abortFlag));
    if (dst->encoding != src->encoding) return code(lensIntoOtherOrder(p, src, dst, abortFlag));
    return code(lensDistortion(p, in, roiView<uint8_t>(dst), abortFlag));
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
