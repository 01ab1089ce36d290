// Depth-based images: handles on caller-described frames, their wrap into
// image headers, and sequences of frames loaded through host callbacks.
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "ox_depth_image.h"

using namespace ox::detail;

namespace {

// Every getter reads through the descriptor at call time: the host may
// change the frame between calls.
template <class Field> int32_t readField(const oxDepthBasedImage* handle, Field field) {
    if (!handle || !handle->descriptor) return -1;
    return handle->descriptor->*field;
}

int32_t releaseLoaded(oxDepthBasedImageSequence* seq) {
    int32_t status = 0;
    if (seq->current >= 0 && seq->release) status = seq->release(seq->userData, seq->current, &seq->item);
    // The library forgets the item even when the host could not take it
    // back: retrying a failed release is the host's decision, not ours.
    seq->current = -1;
    seq->item = oxDepthBasedImage{};
    return status;
}

}  // namespace

extern "C" {

OX_API oxDepthBasedImage* oxDepthBasedImageCreateHeader(const oxFrameDescriptor* descriptor) {
    auto* handle = allocateRecord<oxDepthBasedImage>();
    if (!handle) return nullptr;
    handle->descriptor = descriptor;
    return handle;
}

OX_API void oxDepthBasedImageReleaseHeader(oxDepthBasedImage** handle) { releaseRecord(handle); }

OX_API void oxDepthBasedImageRelease(oxDepthBasedImage** handle) {
    if (!handle || !*handle) return;
    std::free((*handle)->data);
    releaseRecord(handle);
}

OX_API int32_t oxDepthBasedImageGetEncoding(const oxDepthBasedImage* handle) {
    return readField(handle, &oxFrameDescriptor::encoding);
}

OX_API int32_t oxDepthBasedImageGetSequenceId(const oxDepthBasedImage* handle) {
    return readField(handle, &oxFrameDescriptor::sequenceId);
}

OX_API int32_t oxDepthBasedImageGetWidth(const oxDepthBasedImage* handle) {
    return readField(handle, &oxFrameDescriptor::width);
}

OX_API int32_t oxDepthBasedImageGetHeight(const oxDepthBasedImage* handle) {
    return readField(handle, &oxFrameDescriptor::height);
}

OX_API void oxDepthBasedImageSetImageWrap(const oxDepthBasedImage* handle, oxImage* image) {
    if (!handle || !handle->descriptor || !image) return;
    const oxFrameDescriptor& d = *handle->descriptor;
    image->height = d.height;
    image->width = d.width;
    oxImageResetROI(image);
    image->encoding = d.encoding;
    image->data = handle->data;
}

OX_API int32_t oxDepthBasedImageSequenceInit(oxDepthBasedImageSequence* sequence, int32_t count,
                                             oxDepthBasedImageLoadFunc load, oxDepthBasedImageReleaseFunc release,
                                             oxDepthBasedImageStoreFunc store, void* userData) {
    if (!sequence || !load || count < 0) return 1;
    *sequence = oxDepthBasedImageSequence{};
    sequence->count = count;
    sequence->current = -1;
    sequence->load = load;
    sequence->release = release;
    sequence->store = store;
    sequence->userData = userData;
    return 0;
}

OX_API int32_t oxDepthBasedImageSequenceLoadItem(oxDepthBasedImageSequence* sequence, int32_t index) {
    if (!sequence || !sequence->load || index < 0 || index >= sequence->count) return 1;
    if (const int32_t status = releaseLoaded(sequence); status != 0) return status;
    oxDepthBasedImage item{};
    if (const int32_t status = sequence->load(sequence->userData, index, &item); status != 0) return status;
    sequence->item = item;
    sequence->current = index;
    return 0;
}

OX_API int32_t oxDepthBasedImageSequenceStoreItem(oxDepthBasedImageSequence* sequence) {
    if (!sequence || sequence->current < 0) return 1;
    if (!sequence->store) return 0;
    return sequence->store(sequence->userData, sequence->current, &sequence->item);
}

OX_API int32_t oxDepthBasedImageSequenceReleaseItem(oxDepthBasedImageSequence* sequence) {
    return sequence ? releaseLoaded(sequence) : 0;
}

OX_API int32_t oxDepthBasedImageSequenceWrapItem(const oxDepthBasedImageSequence* sequence, oxImage* image) {
    if (!sequence || !image || sequence->current < 0 || !sequence->item.descriptor) return 1;
    oxDepthBasedImageSetImageWrap(&sequence->item, image);
    return 0;
}

}  // extern "C"
