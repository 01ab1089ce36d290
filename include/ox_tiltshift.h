/* The Tilt-shift effect: a sharp elliptical band between two points, a
 * Gaussian blur outside it and an optional lens distortion centred between
 * the points. */
#ifndef OX_TILTSHIFT_H
#define OX_TILTSHIFT_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Entry point for raw buffers: `srcPixels` and `dstPixels` hold width *
 * height packed pixels of 3 bytes (blue, green, red), rows without padding;
 * they may be the same buffer and stay the caller's. The points (ax, ay)
 * and (bx, by) are fractions of the width and height. Returns 0 on
 * success, 1 on failure. */
OX_API int32_t oxYewTiltShift(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                              float strength, float lensAmount, float ax, float ay, float bx, float by);

OX_END_DECLS

#endif /* OX_TILTSHIFT_H */
