/* Depth-based images: a light handle on a caller-described frame that can
 * dress an oxImage header so the frame is processed by the image
 * operations, and a sequence of such frames fed by host callbacks.
 *
 * Ownership: the frame descriptor always belongs to the caller and must
 * outlive every handle that points to it. A handle's `data`, once set,
 * belongs to the handle and is freed by oxDepthBasedImageRelease. */
#ifndef OX_DEPTH_IMAGE_H
#define OX_DEPTH_IMAGE_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Owned by the caller; the library only reads it. `height` and `width`
 * stand in the same order as in oxImage. */
typedef struct oxFrameDescriptor {
    int32_t encoding;   /* encoding code of the frame */
    int32_t sequenceId; /* the frame's number in its sequence */
    int32_t height;     /* rows */
    int32_t width;      /* columns */
} oxFrameDescriptor;

typedef struct oxDepthBasedImage {
    const oxFrameDescriptor* descriptor; /* not owned */
    void* reserved;                      /* zero, read by no operation */
    uint8_t* data;                       /* frame pixels, owned once set */
} oxDepthBasedImage;

/* New handle on `descriptor` (stored, not copied); `reserved` and `data`
 * are null. Null when the record cannot be allocated. */
OX_API oxDepthBasedImage* oxDepthBasedImageCreateHeader(const oxFrameDescriptor* descriptor);
/* Frees the record only (never `data`) and nulls *handle; null ignored. */
OX_API void oxDepthBasedImageReleaseHeader(oxDepthBasedImage** handle);
/* Frees `data` when non-null, then the record, and nulls *handle; null
 * ignored. */
OX_API void oxDepthBasedImageRelease(oxDepthBasedImage** handle);

/* The descriptor's fields, read at call time (later changes of the
 * descriptor are seen); -1 when the handle or its descriptor is null. */
OX_API int32_t oxDepthBasedImageGetEncoding(const oxDepthBasedImage* handle);
OX_API int32_t oxDepthBasedImageGetSequenceId(const oxDepthBasedImage* handle);
OX_API int32_t oxDepthBasedImageGetWidth(const oxDepthBasedImage* handle);
OX_API int32_t oxDepthBasedImageGetHeight(const oxDepthBasedImage* handle);

/* Makes the existing header `image` describe the frame: height and width
 * from the descriptor, full ROI, the descriptor's encoding and the handle's
 * `data`. The image's `type` and `coi` are kept; nothing is allocated and
 * the image does not own the pixels (release it with
 * oxImageReleaseHeader). Does nothing when an argument or the descriptor
 * is null. */
OX_API void oxDepthBasedImageSetImageWrap(const oxDepthBasedImage* handle, oxImage* image);

/* ---- Sequences of frames ----
 *
 * A sequence is a caller-owned record through which a filter walks the
 * frames of a host sequence one at a time, without the library knowing
 * where they live. The host supplies callbacks; each receives the
 * sequence's `userData`, the index of the item and the item handle, and
 * returns 0 on success or any other int32 status, which the helpers below
 * pass up unchanged.
 *
 * - load(userData, index, item): makes `item` describe frame `index`: sets
 *   item->descriptor to a descriptor that stays valid until the item is
 *   released, and item->data to the frame's pixels (readable for a
 *   source, writable for a destination). A failing load must leave
 *   nothing that needs releasing.
 * - release(userData, index, item): gives back what load handed out. The
 *   library never frees an item's `data` itself. May be null when there
 *   is nothing to give back.
 * - store(userData, index, item): on a destination sequence, takes the
 *   processed pixels of item `index` (called after the filter wrote them
 *   and before the item is released). Null on source sequences.
 *
 * At most one item is loaded at a time: `current` is its index, or -1 when
 * no item is loaded, and `item` is its handle. Use one sequence record
 * from one thread only. */
typedef int32_t (*oxDepthBasedImageLoadFunc)(void* userData, int32_t index, oxDepthBasedImage* item);
typedef int32_t (*oxDepthBasedImageReleaseFunc)(void* userData, int32_t index, oxDepthBasedImage* item);
typedef int32_t (*oxDepthBasedImageStoreFunc)(void* userData, int32_t index, const oxDepthBasedImage* item);

typedef struct oxDepthBasedImageSequence {
    int32_t count;                        /* number of items, indices 0..count-1 */
    int32_t current;                      /* index of the loaded item, -1 when none */
    oxDepthBasedImage item;               /* the loaded item; cleared when none */
    oxDepthBasedImageLoadFunc load;       /* required */
    oxDepthBasedImageReleaseFunc release; /* optional */
    oxDepthBasedImageStoreFunc store;     /* optional, for destination sequences */
    void* userData;                       /* passed to every callback, not read */
} oxDepthBasedImageSequence;

/* Fills `sequence` with the count, callbacks and user data; no item is
 * loaded (current -1, item cleared). Returns 1 for a null sequence, a null
 * `load` or a negative count, 0 otherwise. */
OX_API int32_t oxDepthBasedImageSequenceInit(oxDepthBasedImageSequence* sequence, int32_t count,
                                             oxDepthBasedImageLoadFunc load, oxDepthBasedImageReleaseFunc release,
                                             oxDepthBasedImageStoreFunc store, void* userData);

/* Makes item `index` the loaded one: releases the item loaded before (as
 * oxDepthBasedImageSequenceReleaseItem), then calls `load`. Returns 1 for
 * a null sequence, a null `load` or an index outside 0..count-1 (nothing
 * is released then); the release status when that fails (nothing is
 * loaded then); the load status when the load fails (current stays -1);
 * 0 when item `index` is loaded. */
OX_API int32_t oxDepthBasedImageSequenceLoadItem(oxDepthBasedImageSequence* sequence, int32_t index);

/* Hands the loaded item to `store`. Returns 1 when no item is loaded, 0
 * when the sequence has no store callback, the callback's status
 * otherwise. The item stays loaded. */
OX_API int32_t oxDepthBasedImageSequenceStoreItem(oxDepthBasedImageSequence* sequence);

/* Gives the loaded item back through `release` (when set); afterwards no
 * item is loaded, whatever the callback returned. Returns the callback's
 * status, 0 when no item was loaded or there is no callback. Null is
 * ignored (0). */
OX_API int32_t oxDepthBasedImageSequenceReleaseItem(oxDepthBasedImageSequence* sequence);

/* Dresses `image` as the loaded item (oxDepthBasedImageSetImageWrap); the
 * pixels stay the sequence's. Returns 1 when an argument is null, no item
 * is loaded or the item has no descriptor; 0 otherwise. */
OX_API int32_t oxDepthBasedImageSequenceWrapItem(const oxDepthBasedImageSequence* sequence, oxImage* image);

OX_END_DECLS

#endif /* OX_DEPTH_IMAGE_H */
