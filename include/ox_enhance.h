/* The Enhance effect: automatic colour correction, contrast, local tone
 * transfer, fill light and sharpening, run as one pipeline. */
#ifndef OX_ENHANCE_H
#define OX_ENHANCE_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Entry point for raw buffers: `sourcePixels` and `destinationPixels` hold
 * width * height packed pixels of 3 bytes (blue, green, red), rows without
 * padding, and stay the caller's. Runs contrast enhancement and, when
 * `transferSteepness` > 0, the tone transfer with that steepness. Returns 0
 * on success, 1 when memory runs out, or the code of the failing stage. */
OX_API int32_t oxYewEnhance(int32_t width, int32_t height, const uint8_t* sourcePixels, uint8_t* destinationPixels,
                            float transferSteepness);

OX_END_DECLS

#endif /* OX_ENHANCE_H */
