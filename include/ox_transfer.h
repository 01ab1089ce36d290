/* Transfer enhancement: a local tone curve that lifts dark regions. Every
 * pixel's blue, green and red are multiplied by one gain chosen from the
 * box-blurred brightness (largest of blue, green, red) of its
 * neighbourhood; the darker the whole image, the stronger the lift of its
 * dark end. The curve is the inverse of a segment of a logistic function.
 *
 * Stage pattern, byte addressing, abort flag and refusals as in
 * ox_color_correction.h. Apply and Filter also refuse with 1 an image not
 * wider or not higher than the blur radius (when the radius is at least 1);
 * a radius below 1 takes each pixel's own brightness as its neighbourhood. */
#ifndef OX_TRANSFER_H
#define OX_TRANSFER_H

#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxTransferEnhanceParams {
    float steepness; /* slope k of 1 / (1 + exp(-k x)); default 0.3 */
    float strength;  /* multiplies the lower end of the logistic segment; default 1 */
    int32_t radius;  /* box-blur radius of the brightness map, both directions; default 7 */
} oxTransferEnhanceParams;

typedef struct oxTransferEnhanceStats {
    float brightnessSum; /* sum of max(R, G, B) over the pixels */
    float pixelCount;    /* float(height) * float(width) */
} oxTransferEnhanceStats;

/* The curve as a table: gainTable[L * 256 + v] is the output for sample v
 * in a neighbourhood of brightness L. */
typedef struct oxTransferEnhanceAddParams {
    int32_t radius;
    uint8_t gainTable[256 * 256];
} oxTransferEnhanceAddParams;

/* New parameter record with the defaults; null when memory is exhausted. */
OX_API oxTransferEnhanceParams* oxTransferEnhanceParamsDefault(void);
/* Frees *params (null ignored) and nulls the caller's pointer. */
OX_API void oxTransferEnhanceParamsRelease(oxTransferEnhanceParams** params);

/* New zero-filled statistics record; null when memory is exhausted. */
OX_API oxTransferEnhanceStats* oxTransferEnhanceStatsCreate(void);
/* Frees *stats (null ignored) and nulls the caller's pointer. */
OX_API void oxTransferEnhanceStatsRelease(oxTransferEnhanceStats** stats);
/* brightnessSum = 0, pixelCount = height * width of `image`. */
OX_API void oxTransferEnhanceStatsInit(oxTransferEnhanceStats* stats, const oxImage* image);
/* Sums the brightness of every pixel of the whole image in one
 * single-precision running sum, row by row. Returns 0; 1 for fewer than 3
 * channels (record untouched); 2 when aborted (the sum is then 0). */
OX_API int32_t oxTransferEnhanceStatsRetrieve(oxTransferEnhanceStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag);
/* Adds the sum of `from` to `into`; the pixel count is deliberately kept,
 * so Init the accumulating record with an image of the combined size. */
OX_API void oxTransferEnhanceStatsUpdate(const oxTransferEnhanceStats* from, oxTransferEnhanceStats* into);
/* Fills the derived record (radius and gain table) from the mean brightness
 * and the parameters. */
OX_API void oxTransferEnhanceAddParamsCompute(const oxTransferEnhanceStats* stats,
                                              const oxTransferEnhanceParams* params,
                                              oxTransferEnhanceAddParams* addParams);
/* Brightness map, box blur with the record's radius, then channels 1-3 of
 * `destination` = gainTable[blurred brightness][source sample]; a
 * destination alpha is not written. Returns 0, 1 when refused or memory is
 * exhausted, 2 when aborted, or the blur's code. */
OX_API int32_t oxTransferEnhanceApply(const oxTransferEnhanceAddParams* addParams, const oxImage* source,
                                      oxImage* destination, const volatile int32_t* abortFlag);
/* Statistics, derived record and Apply on one image, then the optional
 * blend through `weights` (see ox_color_correction.h); `destination` may be
 * `source`. Returns 0, 1, 2, or a code of the blur or the blend. */
OX_API int32_t oxTransferEnhanceFilter(const oxTransferEnhanceParams* params, const oxImage* source,
                                       const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_TRANSFER_H */
