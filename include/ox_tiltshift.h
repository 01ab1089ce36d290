/* The Tilt-shift effect: a sharp elliptical band between two points, a
 * Gaussian blur outside it and an optional lens distortion centred between
 * the points.
 *
 * Ownership: records from oxFocusMaskParamsDefault and
 * oxTiltShiftParamsDefault belong to the caller and go back through the
 * matching release function, which frees the record and nulls the
 * caller's pointer (a null pointer is ignored). */
#ifndef OX_TILTSHIFT_H
#define OX_TILTSHIFT_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* The box the mask ellipse is inscribed in: opposite corners as fractions
 * of the image width (x) and height (y). */
typedef struct oxFocusMaskParams {
    float x0; /* default 0.0 */
    float y0; /* default 0.1 */
    float x1; /* default 1.0 */
    float y1; /* default 0.9 */
} oxFocusMaskParams;

typedef struct oxTiltShiftParams {
    int32_t maxSize; /* longer side of the working image; default 1024 */
    float strength;  /* blur strength, radius strength * maxSize / 20; default 0.2 */
    double ax;       /* first point, fraction of the width; default 0 */
    double ay;       /* fraction of the height; default 0.3f widened */
    double bx;       /* second point; default 1 */
    double by;       /* default 0.3f widened */
} oxTiltShiftParams;

/* New records with the defaults above; null when memory runs out. */
OX_API oxFocusMaskParams* oxFocusMaskParamsDefault(void);
OX_API oxTiltShiftParams* oxTiltShiftParamsDefault(void);
/* Free the record and null *params; null ignored. */
OX_API void oxFocusMaskParamsRelease(oxFocusMaskParams** params);
OX_API void oxTiltShiftParamsRelease(oxTiltShiftParams** params);

/* Writes the elliptical sharpness mask as one byte per pixel, rows packed,
 * over the image's full width and height (ROI ignored): 255 at the centre,
 * falling linearly with elliptical distance to 0 on and outside the
 * ellipse. A box of zero height or width (the default points) gives a mask
 * that is 0 everywhere. Returns 0 (an empty image writes nothing); 1, with
 * nothing written, for a null argument, null pixels, an invalid encoding or
 * an unknown pixel type. */
OX_API int32_t oxFocusMaskFill(const oxFocusMaskParams* params, oxImage* image);

/* Blurs a copy of `src` resized to `maxSize` pixels on its longer side
 * (smaller images are enlarged) with a Gaussian of radius
 * max(1, trunc(strength * maxSize / 20)), resizes it back and blends it
 * with `src` into `dst` through the focus mask of the ellipse inscribed in
 * three times the box spanned by the points (points clamped to
 * 0.01..0.99). `src` is an 8-bit image; `dst` has its size and may be the
 * same image. Returns 0; 1 for a null argument, exhausted memory, a
 * negative radius, or a working image smaller than the kernel
 * (2 * radius + 1 on its shorter side), or the code of the failing resize,
 * convolution or blend. On failure `dst` is left as it was. */
OX_API int32_t oxTiltShiftFilter(const oxTiltShiftParams* params, const oxImage* src, oxImage* dst);

/* Entry point for raw buffers: `srcPixels` and `dstPixels` hold width *
 * height packed pixels of 3 bytes (blue, green, red), rows without padding;
 * they may be the same buffer and stay the caller's. The points (ax, ay)
 * and (bx, by) are fractions of the width and height, clamped to
 * 0.01..0.99 (NaN is kept).
 *
 * When trunc(strength * 51.2) >= 1 the tilt-shift (working size 1024) runs
 * from the source into the destination. When it is skipped, or cannot run
 * (an image too small for its blur, exhausted memory), the destination
 * receives the source unchanged and no failure is reported. Then, unless
 * lensAmount is 0, the lens distortion centred between the points, with
 * cropping, turns that image into the destination.
 *
 * Returns 0 on success. 1 for a negative width or height, a null buffer or
 * a failed header allocation, with neither buffer touched. Otherwise the
 * code of the lens distortion (1 for instance for an image narrower or
 * lower than 2 pixels, or a crop that comes out empty); the destination
 * then holds the image that entered the lens step (blurred or the source),
 * never bytes the call did not define. */
OX_API int32_t oxYewTiltShift(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                              float strength, float lensAmount, float ax, float ay, float bx, float by);

OX_END_DECLS

#endif /* OX_TILTSHIFT_H */
