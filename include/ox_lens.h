/* Lens distortion: a one-coefficient radial distortion of an 8-bit image
 * by backward mapping with bilinear sampling, then (by default) a crop of
 * the region the distortion left defined, scaled back to the destination
 * with the bilinear resize.
 *
 * With w x h the whole image (the ROI of `src` is ignored), k = amount /
 * (w * h) and the centre (cx * w, cy * h), pixel (x, y) samples the source
 * at p + (p - centre) * k * |p - centre|^2, all in float; pixels whose
 * sample has no 2 x 2 neighbourhood inside the image stay 0 (at amount 0
 * the last row and column). Every channel is blended bilinearly in float
 * and truncated.
 *
 * The crop searches, for each image corner, the point between the corner
 * and the centre whose distorted position is just inside the image (up to
 * 100 bisection steps per corner). The rectangle spans the inner edges of
 * those points with two extra columns cut on the left and none on the top;
 * so even amount 0 crops and rescales: that result is deliberate.
 *
 * Results: 0 done; 1 refused input (null pointers or pixels, a source that
 * is not 8-bit, has an invalid encoding or is narrower or lower than 2
 * pixels, a destination that is not 8-bit, without crop a destination that
 * differs from the source in size, encoding or type, a crop rectangle that
 * comes out empty or leaves the image), exhausted memory or a failing copy
 * or resize; 2 aborted because *abortFlag was non-zero at the start of a
 * row (then `dst` is untouched). `src` and `dst` may be the same image. */
#ifndef OX_LENS_H
#define OX_LENS_H

#include "ox_depth_image.h"
#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxLensDistortionParams {
    float amount; /* strength; > 0 samples farther out, < 0 farther in */
    float cx;     /* centre column as a fraction of the width */
    float cy;     /* centre row as a fraction of the height */
    int32_t crop; /* non-zero: crop the defined region and resize it into
                     dst's ROI; 0: copy the distorted image as it is */
} oxLensDistortionParams;

/* New record {0.5, 0.5, 0.5, 1}; null when out of memory. The caller
 * releases it with oxLensDistortionParamsRelease. */
OX_API oxLensDistortionParams* oxLensDistortionParamsDefault(void);
/* Frees the record and nulls *params; null is ignored. */
OX_API void oxLensDistortionParamsRelease(oxLensDistortionParams** params);

/* Distorts `src` into `dst`: with crop, resized into dst's ROI (any size,
 * compatible encoding); without crop, copied into dst, which must have the
 * size, encoding and type of `src`. Statuses as above. */
OX_API int32_t oxLensDistortionFilter(const oxLensDistortionParams* params, const oxImage* src, oxImage* dst,
                                      const volatile int32_t* abortFlag);

/* Runs oxLensDistortionFilter over every item of `srcSequence`, item i
 * into item i of `dstSequence` (viewed as 8-bit images): loads the source
 * item, then the destination item (on failure the source item is released
 * and the load's status returned), filters, hands the destination item to
 * its store callback and releases both items. The first non-zero status of
 * a callback or of the filter releases what is loaded and is returned; 0
 * when every item is done. 1 for a null argument or a destination
 * sequence with fewer items. */
OX_API int32_t oxLensDistortionFilterSeq(const oxLensDistortionParams* params, oxDepthBasedImageSequence* srcSequence,
                                         oxDepthBasedImageSequence* dstSequence, const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_LENS_H */
