/* Colour correction: a per-channel white-point stretch. The largest blue,
 * green and red values of an image are found and each channel is scaled
 * through a 256-entry table so that its largest value becomes 255.
 *
 * The statistics-driven tone stages (colour correction, contrast and
 * transfer enhancement) share one pattern: a statistics record (create,
 * release, init, retrieve from an image, update to merge images or tiles),
 * a derived record computed from it, Apply, and Filter, which runs the
 * whole sequence on one image and optionally blends the result with the
 * untouched source through a per-pixel weight image (255 keeps the
 * processed pixel, 0 the source pixel).
 *
 * Samples are single bytes at the offsets of channels 1-3, pixels are
 * oxImageGetNChannel bytes apart; the pixel type is not examined. The
 * region of interest is ignored. Optional `abortFlag`: when non-null and
 * non-zero before a row, the call frees what it made and returns 2.
 *
 * Refusals (status 1) beyond a missing channel: null records or images, an
 * invalid encoding, a non-empty image of unknown pixel type or without
 * pixels, a destination fewer rows high or columns wide than the source. */
#ifndef OX_COLOR_CORRECTION_H
#define OX_COLOR_CORRECTION_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Largest value seen per channel. */
typedef struct oxColorCorrectionStats {
    float maxB;
    float maxG;
    float maxR;
} oxColorCorrectionStats;

/* The correction: scaleC = 255 / maxC and lutC[i] = min(255, trunc(scaleC * i)). */
typedef struct oxColorCorrectionAddParams {
    float scaleB;
    float scaleG;
    float scaleR;
    uint8_t lutB[256];
    uint8_t lutG[256];
    uint8_t lutR[256];
} oxColorCorrectionAddParams;

/* New statistics record, contents unspecified until Init or Retrieve; null
 * when memory is exhausted. Free it with oxColorCorrectionStatsRelease. */
OX_API oxColorCorrectionStats* oxColorCorrectionStatsCreate(void);
/* Frees *stats (null ignored) and nulls the caller's pointer. */
OX_API void oxColorCorrectionStatsRelease(oxColorCorrectionStats** stats);
/* Sets the three maxima to 0. */
OX_API void oxColorCorrectionStatsInit(oxColorCorrectionStats* stats);
/* Fills `stats` with the channel maxima of the whole image. Returns 0; 1
 * for fewer than 3 channels (record untouched); 2 when aborted (the record
 * then holds zeros). */
OX_API int32_t oxColorCorrectionStatsRetrieve(oxColorCorrectionStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag);
/* Running maximum: each field of `into` takes the field of `from` when that
 * is strictly greater. */
OX_API void oxColorCorrectionStatsUpdate(const oxColorCorrectionStats* from, oxColorCorrectionStats* into);
/* Fills the scales and tables from the statistics (a maximum of 0 maps 0 to
 * 0 and every other value to 255). */
OX_API void oxColorCorrectionAddParamsCompute(const oxColorCorrectionStats* stats,
                                              oxColorCorrectionAddParams* addParams);
/* Maps channels 1-3 of every source pixel through the tables into the
 * pixel at the same row and column of `destination`, which may have
 * another encoding; its alpha is not written. Polls no abort flag.
 * Returns 0, or 1 when refused. */
OX_API int32_t oxColorCorrectionApply(const oxColorCorrectionAddParams* addParams, const oxImage* source,
                                      oxImage* destination);
/* Statistics of `source`, correction, Apply into `destination` (which may
 * be `source` itself, the same record), then, when `weights` (a one-channel
 * 8-bit image) is non-null, oxAddWeigthedM of the unprocessed and the
 * corrected image into `destination`. Returns 0, 1 (refused or memory
 * exhausted), 2 (aborted) or the blend's code. Frees everything it made. */
OX_API int32_t oxColorCorrectionFilter(const oxImage* source, const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag);

OX_END_DECLS

#endif /* OX_COLOR_CORRECTION_H */
