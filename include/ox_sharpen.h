/* Detail operations on 8-bit colour images, both built on the box blur:
 *
 * - High boost multiplies every pixel by the ratio of its luminance to the
 *   local (box-blurred) mean luminance, raising local contrast without
 *   changing hue.
 * - Sharpen subtracts a blurred, positively clipped Laplacian from each
 *   colour channel, deepening dark fine detail; an optional weight image
 *   blends the result with the input.
 *
 * Ownership: records from the ...ParamsDefault functions are freed with the
 * matching release function, which nulls the caller's pointer. */
#ifndef OX_SHARPEN_H
#define OX_SHARPEN_H

#include "ox_blur.h"
#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxHighBoostParams {
    int32_t enabled;   /* 0: the blur is computed, the destination is not written */
    oxBlurParams blur; /* window of the mean luminance, copied for every call */
    float gain;        /* multiplier of the luminance ratio */
    float maxRatio;    /* upper bound of the per-pixel ratio */
} oxHighBoostParams;

/* New record with blur radii 1. There are no defaults for `enabled`, `gain`
 * and `maxRatio`: the caller must set them (the record comes zero-filled,
 * so an unset `enabled` reads as 0). Null when out of memory. */
OX_API oxHighBoostParams* oxHighBoostParamsDefault(void);
/* Frees the record and nulls *params; null is ignored. */
OX_API void oxHighBoostParamsRelease(oxHighBoostParams** params);

/* Walks the ROI of `src` and, in step, the ROI of `dst`. Per pixel, in
 * single precision: r = gain * L, divided by the blurred luminance B unless
 * B is 0, then capped by maxRatio; for channels 1, 2, 3 in this order, a
 * non-zero value v lowers r to at most 255 / v (the lowered r carries over
 * to the following channels, so the result depends on channel order), and
 * the channel becomes r * v, clamped to 0..255 and truncated. A fourth
 * channel of `dst` is not written. A grey source is its own luminance and is
 * read from its first byte, so it needs a ROI covering the whole image.
 * With both blur radii below 1 the mean stays 0, so every ratio is the
 * undivided gain * L.
 * `src` and `dst` may be the same image.
 * Returns 0, or 1 with `dst` untouched on any failure: null arguments,
 * pixel types other than OX_8U, a ROI walk that would leave either buffer,
 * a ROI not larger than the blur radius on either side (the box blur
 * refuses it), exhausted memory, or an abort through *abortFlag. */
OX_API int32_t oxHighBoostFilter(const oxHighBoostParams* params, const oxImage* src, oxImage* dst,
                                 const volatile int32_t* abortFlag);

typedef struct oxSharpenParams {
    double amount; /* strength; 0 leaves the image as it is */
} oxSharpenParams;

/* New record with amount 0.30000001192092896 (0.3 as a float, widened);
 * null when out of memory. */
OX_API oxSharpenParams* oxSharpenParamsDefault(void);
/* Frees the record and nulls *params; null is ignored. */
OX_API void oxSharpenParamsRelease(oxSharpenParams** params);

/* Sharpens channels 1 to 3 of the whole image (the ROI is ignored): each
 * channel's clipped Laplacian is box-blurred (radius 1) and subtracted,
 * scaled by `amount`, in double precision; results below 0 become 0 and
 * there is no upper clamp. When `mask` is non-null the result is then
 * blended with the input through oxAddWeigthedM, weight = mask / 255 for
 * the sharpened image, over the ROIs; when `src` is `dst` (the same record)
 * an untouched copy of the source is kept for that blend. A fourth channel
 * of `dst` is not written.
 * Returns 0; 1 before anything is written for null arguments or pixels,
 * fewer than 3 channels on either side, pixel types other than OX_8U,
 * images with fewer than 2 rows or columns, or a `dst` whose width or
 * height differ from `src`; 1 for exhausted memory; 2 when aborted
 * through *abortFlag (channels already done stay sharpened); or the
 * non-zero result of oxAddWeigthedM (then `dst` holds the unblended
 * result). */
OX_API int32_t oxSharpenFilter(const oxSharpenParams* params, const oxImage* src, const oxImage* mask, oxImage* dst,
                               const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_SHARPEN_H */
