/* The Simplify effect: a painterly, simplified look through repeated
 * bilateral filtering on a working image of at most 1024 pixels on its
 * longer side, a high boost and an optional saturation boost.
 *
 * Ownership: records from oxSimplifyParamsDefault and
 * oxSaturateParamsDefault are freed with the matching release function,
 * which takes the address of the caller's pointer and nulls it (null is
 * ignored). The filters read the records and never keep them. */
#ifndef OX_SIMPLIFY_H
#define OX_SIMPLIFY_H

#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxSimplifyParams {
    int32_t maxSize;   /* longest side of the working image; default 1024 */
    int32_t iterations; /* bilateral passes; default 8 */
    float rangeFactor; /* turns the working size into the range sigma; default 1.25 */
} oxSimplifyParams;

typedef struct oxSaturateParams {
    float factor; /* multiplier of the HSV saturation; default 1 (no change) */
} oxSaturateParams;

/* Zero-filled records with the defaults above; null when out of memory. */
OX_API oxSimplifyParams* oxSimplifyParamsDefault(void);
OX_API void oxSimplifyParamsRelease(oxSimplifyParams** params);
OX_API oxSaturateParams* oxSaturateParamsDefault(void);
OX_API void oxSaturateParamsRelease(oxSaturateParams** params);

/* Smooths `src` into `dst` and lifts local contrast. With iterations < 1
 * it only runs oxCopy(src, dst) and returns its result. Otherwise:
 * s = maxSize / max(height, width) in float. When s <= 1 (equality
 * included) the source is resized (bilinear) to a working image of
 * trunc(s * width) x trunc(s * height), filtered there and resized back into
 * the ROI of `dst`, which may have any size; when s > 1 it is filtered
 * straight into `dst`, which must have the source's width and height. With
 * n the working width plus height, the bilateral passes (radius 1) use the
 * spatial sigma n / 256 and the range sigma rangeFactor * (n / 64), both
 * divisions on integers: the first pass goes from the source (or the
 * working image) into the destination, the rest run in place, each reading
 * neighbours it has already rewritten. When src is dst even the first pass
 * runs in place. Last, dst is sharpened in place by the high boost (box
 * radius 3, gain 0.9, ratio cap 2).
 *
 * Returns 0; or 1 without writing anything for null arguments or pixels,
 * negative sizes, images that are not both OX_8U OX_BGR or both OX_8U
 * OX_RGB, a direct-path dst of another size, a working side that truncates
 * below 1, or a range sigma that is NaN (a NaN rangeFactor, or an infinite
 * one on a working image with n < 64: neither defines weights); the code of
 * the first resize when it fails (1); 1 when memory runs out or *abortFlag
 * is non-zero before a pass: on the scaled path dst then still receives the
 * working image as far as it was filtered (unfiltered for an abort before
 * the first pass), on the direct path it keeps the passes done; and the
 * high boost's result (1 for an image of 3 or fewer rows or columns, whose
 * box blur cannot run: dst then holds the smoothed image unsharpened). */
OX_API int32_t oxSimplify(const oxImage* src, oxImage* dst, const oxSimplifyParams* params,
                          const volatile int32_t* abortFlag);

/* Scales each pixel's HSV saturation 1 - min / max by params->factor (f),
 * keeping the maximum channel and the hue: the minimum becomes
 * trunc(max * (1 - f) + f * min) clamped to 0..255 (one fused multiply-add
 * in float) and the middle channel keeps its relative position between
 * them. f > 1 saturates, 0 <= f < 1 desaturates, 0 gives grey at the
 * maximum's level. Pixels are read as bytes over the whole image (ROI
 * ignored): width * height pixels of the source's channel count, each
 * written to the same pixel index of `dst` at dst's channel count; blue,
 * green and red are found through each encoding, so a grey source fills
 * the three colour channels with its value. A fourth channel of `dst` is
 * not written. src may be dst.
 * Returns 0 (also for an image without rows or columns); 2 when *abortFlag
 * is non-zero at the start of a row (rows done stay written); 1 without
 * writing for null arguments or pixels, an invalid encoding, or a buffer
 * smaller than the walk. */
OX_API int32_t oxSaturateFilter(const oxSaturateParams* params, const oxImage* src, oxImage* dst,
                                const volatile int32_t* abortFlag);

/* Entry point for raw buffers: `srcPixels` and `dstPixels` hold width *
 * height packed pixels of 3 bytes (blue, green, red), rows without padding;
 * they may be the same buffer (or must not overlap) and stay the caller's.
 * Runs oxSimplify with maxSize 1024, no abort flag, and then, when
 * saturation > 0 (NaN is not), oxSaturateFilter in place on the result with
 * factor 2 * saturation + 1 (one fused multiply-add in float).
 * Returns 0 on success, 1 on any failure: a null pointer, a negative width
 * or height, or a failure of oxSimplify. For the sizes a host meets, that
 * means with iterations >= 1: 1 for an image of 3 or fewer rows or
 * columns, 1 with dst untouched for a long image whose short side scales
 * below one pixel (5000 x 4 gives a working size of 1024 x 0) and for a NaN
 * rangeFactor. With iterations < 1 the image is copied and only
 * saturated. */
OX_API int32_t oxYewSimplify(int32_t width, int32_t height, const uint8_t* srcPixels, uint8_t* dstPixels,
                             int32_t iterations, float rangeFactor, float saturation);

OX_END_DECLS

#endif /* OX_SIMPLIFY_H */
