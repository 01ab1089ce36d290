/* The Simplify effect: a painterly, simplified look through repeated
 * bilateral filtering on a working image of at most 1024 pixels on its
 * longer side, a high boost and an optional saturation boost. */
#ifndef OX_SIMPLIFY_H
#define OX_SIMPLIFY_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Entry point for raw buffers: `srcPixels` and `dstPixels` hold width *
 * height packed pixels of 3 bytes (blue, green, red), rows without padding;
 * they may be the same buffer and stay the caller's. Returns 0 on success,
 * 1 on any failure. */
OX_API int32_t oxYewSimplify(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                             int32_t iterations, float rangeFactor, float saturation);

OX_END_DECLS

#endif /* OX_SIMPLIFY_H */
