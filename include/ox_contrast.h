/* Contrast enhancement: a black-point / white-point stretch driven by a
 * histogram of pixel brightness (the largest of blue, green and red). A
 * small share of the darkest pixels goes to 0, a small share of the
 * brightest to 255, and one 256-entry table stretches every colour channel
 * alike, so hues do not shift.
 *
 * Stage pattern, byte addressing, abort flag and refusals as in
 * ox_color_correction.h; a one-channel source is accepted here. */
#ifndef OX_CONTRAST_H
#define OX_CONTRAST_H

#include "ox_image.h"

OX_BEGIN_DECLS

typedef struct oxContrastEnhanceParams {
    float highClip;     /* thousandths of the pixels allowed above the white point; default 9 */
    float lowClip;      /* thousandths of the pixels allowed below the black point; default 4 */
    int32_t manual;     /* non-zero: use the two levels below and ignore the histogram; default 0 */
    uint8_t whiteLevel; /* default 255 */
    uint8_t blackLevel; /* default 0 */
} oxContrastEnhanceParams;

typedef struct oxContrastEnhanceStats {
    float histogram[256]; /* pixels per brightness value */
    float pixelCount;     /* height * width of the image the record was initialised or filled from */
} oxContrastEnhanceStats;

/* New parameter record with the defaults; null when memory is exhausted. */
OX_API oxContrastEnhanceParams* oxContrastEnhanceParamsDefault(void);
/* Frees *params (null ignored) and nulls the caller's pointer. */
OX_API void oxContrastEnhanceParamsRelease(oxContrastEnhanceParams** params);

/* New statistics record, contents unspecified; null when memory is exhausted. */
OX_API oxContrastEnhanceStats* oxContrastEnhanceStatsCreate(void);
/* Frees *stats (null ignored) and nulls the caller's pointer. */
OX_API void oxContrastEnhanceStatsRelease(oxContrastEnhanceStats** stats);
/* Empties the histogram and sets pixelCount to height * width of `image`. */
OX_API void oxContrastEnhanceStatsInit(oxContrastEnhanceStats* stats, const oxImage* image);
/* Empties the record (even when the call then fails), then counts the
 * brightness of every pixel of the whole image. Returns 0 (also for an
 * image without rows or columns), 1 when refused, 2 when aborted. */
OX_API int32_t oxContrastEnhanceStatsRetrieve(oxContrastEnhanceStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag);
/* Adds the histogram of `from` to that of `into`. The pixel count is
 * deliberately kept: the clip shares stay those of the initialising image. */
OX_API void oxContrastEnhanceStatsUpdate(const oxContrastEnhanceStats* from, oxContrastEnhanceStats* into);
/* Fills the caller's 256-byte `table` from the statistics and parameters. */
OX_API void oxContrastEnhanceAddParamsCompute(const oxContrastEnhanceStats* stats,
                                              const oxContrastEnhanceParams* params, uint8_t* table);
/* Maps channels 1-3 of a colour source (or the single channel of a grey
 * source, into a destination addressed like the source) through `table`;
 * a destination alpha is not written. Returns 0, 1 when refused, 2 when
 * aborted (rows already done stay written). */
OX_API int32_t oxContrastEnhanceApply(const uint8_t* table, const oxImage* source, oxImage* destination,
                                      const volatile int32_t* abortFlag);
/* Statistics, table and Apply on one image, then the optional blend through
 * `weights` (see ox_color_correction.h); `destination` may be `source`.
 * Returns 0, 1, 2, or the blend's code. Frees everything it made. */
OX_API int32_t oxContrastEnhanceFilter(const oxContrastEnhanceParams* params, const oxImage* source,
                                       const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_CONTRAST_H */
