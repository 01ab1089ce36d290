/* Box blur: a mean over a (2*radiusX+1) x (2*radiusY+1) window of 8-bit
 * samples, as a horizontal and then a vertical running-sum pass with
 * mirrored borders (the edge sample is not repeated). Means are formed in
 * float and truncated toward zero.
 *
 * The image data is read as bytes, rows of `width` samples; the ROI is
 * ignored and `dst` must have the width and height of `src`. Colour images
 * are blurred channel by channel (channels 1 to 3; a fourth channel keeps
 * whatever `dst` holds).
 *
 * Results: 0 done; 1 refused input (null pointers, incompatible encodings,
 * sizes that differ, a colour image that is not 8-bit, a pass whose line is
 * not longer than its radius) or exhausted memory; 2 aborted because
 * *abortFlag was non-zero at the start of a line (dst may be partly
 * written). Refused input leaves `dst` untouched. */
#ifndef OX_BLUR_H
#define OX_BLUR_H

#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxBlurParams {
    int32_t radiusX; /* horizontal half window; the pass runs when >= 1 */
    int32_t radiusY; /* vertical half window; the pass runs when >= 1 */
} oxBlurParams;

/* New record with both radii 1; null when out of memory. The caller
 * releases it with oxBlurParamsRelease. */
OX_API oxBlurParams* oxBlurParamsDefault(void);
/* Frees the record and nulls *params; null is ignored. */
OX_API void oxBlurParamsRelease(oxBlurParams** params);

/* Bytes of scratch that oxBlurFilterOpt needs: 0 for a one-channel image,
 * otherwise width * height. */
OX_API uint64_t oxBlurGetTempBufferSize(const oxImage* image);

/* Allocates the scratch, runs oxBlurFilterOpt and frees it. */
OX_API int32_t oxBlurFilter(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                            const volatile int32_t* abortFlag);
/* Blurs using the caller's `buffer` of oxBlurGetTempBufferSize(src) bytes
 * (unused, and may be null, for a one-channel image). */
OX_API int32_t oxBlurFilterOpt(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                               const volatile int32_t* abortFlag, void* buffer);
/* Blurs one 8-bit channel; `src` and `dst` may be the same image. When
 * both radii are below 1 it returns 0 and leaves `dst` as it is (it does
 * not copy); when only radiusY is below 1, `dst` holds the horizontal
 * result. */
OX_API int32_t oxBlurFilter1C(const oxBlurParams* params, const oxImage* src, oxImage* dst,
                              const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_BLUR_H */
