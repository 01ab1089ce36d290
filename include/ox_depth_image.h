/* Depth-based images: a light handle on a caller-described frame that can
 * dress an oxImage header so the frame is processed by the image
 * operations. */
#ifndef OX_DEPTH_IMAGE_H
#define OX_DEPTH_IMAGE_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Owned by the caller; the library only reads it. */
typedef struct oxFrameDescriptor {
    int32_t encoding;
    int32_t sequenceId;
    int32_t height;
    int32_t width;
} oxFrameDescriptor;

typedef struct oxDepthBasedImage {
    const oxFrameDescriptor* descriptor; /* not owned */
    void* reserved;                      /* zero, read by no operation */
    uint8_t* data;                       /* frame pixels, owned once set */
} oxDepthBasedImage;

OX_END_DECLS

#endif /* OX_DEPTH_IMAGE_H */
