/* The Enhance effect: automatic colour correction, contrast, local tone
 * transfer, fill light and sharpening, run as one pipeline.
 *
 * A flat user-level record (oxEnhanceParams) switches and tunes the five
 * stages; for one run it is spread into a stage set (oxEnhanceParamsInner)
 * holding one parameter record per stage. oxYewEnhance is the entry point
 * for raw pixel buffers.
 *
 * Ownership: records from oxEnhanceParamsDefault and
 * oxEnhanceParamsInnerCreate are freed with the matching release function,
 * which nulls the caller's pointer; releasing null does nothing. */
#ifndef OX_ENHANCE_H
#define OX_ENHANCE_H

#include "ox_contrast.h"
#include "ox_fill_light.h"
#include "ox_image.h"
#include "ox_sharpen.h"
#include "ox_transfer.h"

OX_BEGIN_DECLS

/* The user-level record. A stage runs when its flag is non-zero or, for
 * contrast and transfer, when its amount is above 0 (NaN is not). */
typedef struct oxEnhanceParams {
    int32_t colorCorrection;  /* non-zero: run colour correction; default 0 */
    int32_t reservedFlag;     /* carried into the stage set, read by no stage; default 1 */
    float contrastWeight;     /* > 0: run contrast enhancement, mixed with its input by this weight; default 1 */
    float contrastHighClip;   /* highClip of the contrast stage (thousandths); default 9 */
    float contrastLowClip;    /* lowClip of the contrast stage (thousandths); default 4 */
    float transferSteepness;  /* > 0: run transfer enhancement with this steepness; default 0.3 */
    float transferStrength;   /* strength of the transfer stage; default 1.4 */
    int32_t transferRadius;   /* blur radius of the transfer stage; default 7 */
    int32_t fillLight;        /* non-zero: run fill light; default 0 */
    float fillLightAmount;    /* amount of fill light; default 1 */
    int32_t sharpen;          /* non-zero: run sharpening; default 0 */
    float sharpenAmount;      /* amount of sharpening; default 0.3 */
} oxEnhanceParams;

/* The stage set: the switches and one owned parameter record per stage. */
typedef struct oxEnhanceParamsInner {
    int32_t colorCorrection;
    int32_t reservedFlag;
    float contrastWeight;
    oxContrastEnhanceParams* contrast;
    oxTransferEnhanceParams* transfer;
    int32_t fillLight;
    oxFillLightParams* fillLightParams;
    int32_t sharpen;
    oxSharpenParams* sharpenParams;
} oxEnhanceParamsInner;

/* New user-level record with the defaults above; null when memory is
 * exhausted. */
OX_API oxEnhanceParams* oxEnhanceParamsDefault(void);
/* Frees *params and nulls the caller's pointer. */
OX_API void oxEnhanceParamsRelease(oxEnhanceParams** params);

/* New stage set: every stage record with that stage's own defaults, the
 * switches 0 until oxEnhanceSetInnerParams. Null when any allocation
 * fails (nothing is then left allocated). */
OX_API oxEnhanceParamsInner* oxEnhanceParamsInnerCreate(void);
/* Frees the four stage records and the set, and nulls *inner. */
OX_API void oxEnhanceParamsInnerRelease(oxEnhanceParamsInner** inner);
/* Copies the user-level values into the set: the switches and weight, the
 * contrast clips, the transfer steepness, strength and radius, and the
 * fill-light and sharpen amounts (widened to double). The contrast levels
 * and the manual switch keep their values. Null arguments are ignored. */
OX_API void oxEnhanceSetInnerParams(const oxEnhanceParams* params, oxEnhanceParamsInner* inner);

/* Runs the switched-on stages in the order colour correction, contrast,
 * transfer, fill light, sharpen. The first stage reads `source`, every
 * later one the destination, so after the first stage the work is in
 * place. Contrast is mixed with its input by round(contrastWeight * 255)
 * (clamped to 0..255). When `weights` (one-channel 8-bit, may be null) is
 * given, the result is finally blended with the unprocessed source, 255
 * keeping the enhanced pixel. `destination` may be `source` (the same
 * record) and must have its width and height. `abortFlag` (may be null) is
 * passed to every stage.
 * Returns 0; 1 for a null argument, a destination of another size, or
 * exhausted memory; otherwise the first non-zero code of a stage or of a
 * blend, unchanged (2 when aborted). The transfer stage refuses with 1 an
 * image not larger than its radius on either side. After a failing stage
 * the destination may hold the output of the earlier stages. */
OX_API int32_t oxEnhanceFilter(const oxEnhanceParams* params, const oxImage* source, const oxImage* weights,
                               oxImage* destination, const volatile int32_t* abortFlag);

/* Entry point for raw buffers: `sourcePixels` and `destinationPixels` hold
 * width * height packed pixels of 3 bytes (blue, green, red), rows without
 * padding, and stay the caller's; they may be the same buffer. Runs
 * oxEnhanceFilter with the defaults, `transferSteepness` replacing the
 * steepness: contrast enhancement and, when `transferSteepness` > 0, the
 * tone transfer (radius 7, so it refuses images of 7 or fewer rows or
 * columns). Returns 0 on success; 1 for a null buffer, a negative width or
 * height, exhausted memory or a refusal of a stage. */
OX_API int32_t oxYewEnhance(int32_t width, int32_t height, const uint8_t* sourcePixels, uint8_t* destinationPixels,
                            float transferSteepness);

OX_END_DECLS

#endif /* OX_ENHANCE_H */
