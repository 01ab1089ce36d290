/* Bilateral filter: edge-preserving smoothing of 2-D images and 3-D volumes.
 * Every output element is the weighted mean of its square (cubic for
 * volumes) neighbourhood; a neighbour's weight is a spatial Gaussian of its
 * offset times a range Gaussian of its difference from the centre. Both
 * Gaussians come from lookup tables kept in the parameter record and rebuilt
 * only when the corresponding sigma changes, so one record must not serve
 * two calls at once.
 *
 * Ownership: records from oxBilateralParamsDefault / oxBilateralParamsDefault3D
 * are freed with oxBilateralParamsRelease, which also frees their tables.
 * Table blocks from the inner creates are plain calloc'ed memory (free()). */
#ifndef OX_BILATERAL_H
#define OX_BILATERAL_H

#include "ox_image.h"
#include "ox_volume.h"

OX_BEGIN_DECLS

/* Offsets -10..10 in each direction: the tables are always this wide, even
 * though the neighbourhood never exceeds radius 9. */
#define OX_BILATERAL_SPACE_SIZE 21
#define OX_BILATERAL_MAX_RADIUS 9

/* Lookup tables of the 2-D filters. */
typedef struct oxBilateralTables {
    float cachedSpaceSigma; /* sigma the spatial table was built for; -1 none */
    float spaceWeights[OX_BILATERAL_SPACE_SIZE][OX_BILATERAL_SPACE_SIZE];
    /* spaceRows[i] points at spaceWeights[i][10] and spaceCenter at
     * spaceRows[10], so spaceCenter[dy][dx] is the weight of offset (dy, dx). */
    float* spaceRows[OX_BILATERAL_SPACE_SIZE];
    float** spaceCenter;
    float cachedRangeSigma; /* sigma the range table was built for; -1 none */
    /* [a][b][c] = exp(-(a*a + b*b + c*c) / (2 * s * s * 65025)); the first
     * 256 entries ([0][0][d]) are the one-channel table. 64 MiB. */
    float rangeWeights[256][256][256];
} oxBilateralTables;

/* Lookup tables of the 3-D filters. */
typedef struct oxBilateralTables3D {
    float cachedSpaceSigma; /* -1 none */
    float spaceWeights[OX_BILATERAL_SPACE_SIZE][OX_BILATERAL_SPACE_SIZE][OX_BILATERAL_SPACE_SIZE];
    /* spaceRows[z][i] points at spaceWeights[z][i][10], spacePlanes[z] at
     * spaceRows[z][10] and spaceCenter at spacePlanes[10], so
     * spaceCenter[dz][dy][dx] is the weight of offset (dz, dy, dx). */
    float* spaceRows[OX_BILATERAL_SPACE_SIZE][OX_BILATERAL_SPACE_SIZE];
    float** spacePlanes[OX_BILATERAL_SPACE_SIZE];
    float*** spaceCenter;
    float cachedRangeSigma; /* -1 none */
    float rangeWeights[256]; /* [d] = exp(-d*d / (2 * s * s * 65025)) */
} oxBilateralTables3D;

typedef struct oxBilateralParams {
    double spaceSigma;             /* spatial sigma in pixels; default 10 */
    double rangeSigma;             /* range sigma, 1.0 = 255 levels; default 1 */
    int32_t radius;                /* used clamped to 0..9; default 1 */
    oxBilateralTables* tables2D;   /* owned; set by oxBilateralParamsDefault */
    oxBilateralTables3D* tables3D; /* owned; set by oxBilateralParamsDefault3D */
    double valueScale;             /* scale of OX_64F differences; default 1 */
} oxBilateralParams;

/* Record with the defaults and built 2-D tables (spatial sigma 10, range
 * sigma 1); tables3D is null. Null when memory runs out. */
OX_API oxBilateralParams* oxBilateralParamsDefault(void);
/* As oxBilateralParamsDefault with 3-D tables in tables3D; tables2D null. */
OX_API oxBilateralParams* oxBilateralParamsDefault3D(void);

/* A zeroed table block: pointers not wired, cached sigmas 0. Null when
 * memory runs out. The filters never follow the row pointers, so an
 * unwired block cannot make them crash; its tables are only valid once
 * built (set the cached sigmas to -1 and call the update functions). */
OX_API oxBilateralTables* oxBilateralParamsInnerCreate(void);
OX_API oxBilateralTables3D* oxBilateralParams3DInnerCreate(void);

/* Rebuild the spatial table for `sigma` when it differs from the cached
 * sigma; otherwise do nothing. Only the square of sigma counts. A sigma of
 * 0 gives weight 1 at offset 0 and 0 elsewhere. A null block or a NaN sigma
 * is ignored. */
OX_API void oxBilateralParamsUpdateSpaceGaussian(oxBilateralTables* tables, float sigma);
OX_API void oxBilateralParams3DUpdateSpaceGaussian(oxBilateralTables3D* tables, float sigma);

/* Frees both table blocks and the record and nulls *params; null ignored. */
OX_API void oxBilateralParamsRelease(oxBilateralParams** params);

/* Common to the workers below: each call first rebuilds the range table if
 * rangeSigma changed and the spatial table if spaceSigma changed. A
 * spatial sigma of 0 (or a radius of 0 or less) weighs the centre alone, so
 * the output equals the input (doubles as rounded through the float sums);
 * a range sigma of 0 weighs only neighbours equal to the centre. No sigma
 * makes a weight NaN: the centre always weighs exactly 1. A source
 * without rows or columns (or planes) gives 0 and writes nothing. ROI and
 * COI are ignored: the whole source is filtered into the same element
 * indices of the destination. src may equal dst: the pass then reads the
 * neighbours it has already rewritten (above and to the left), which is the
 * intended smoothing of repeated passes.
 * Every worker returns 1 without writing when an argument is null, the
 * record lacks the tables of its kind (a 2-D record given to a 3-D filter
 * or the reverse), a sigma is NaN, or the destination does not match the
 * source in width, height (and depth) and pixel type, or either buffer is
 * missing or too small for the walk. */

/* One channel read and written as bytes (any element type whose images have
 * at least width * height bytes). */
OX_API int32_t oxBilateralFilterGold1C(oxBilateralParams* params, const oxImage* src, oxImage* dst);
/* Packed 3-byte pixels with one weight per pixel from the colour range
 * table. Both images must have at least 3 channels; a 4-channel image is
 * filtered as 3-byte pixels over the first three quarters of its buffer. */
OX_API int32_t oxBilateralFilterGold3C(oxBilateralParams* params, const oxImage* src, oxImage* dst);
/* One channel of OX_64F (other types are refused): differences are scaled
 * by 256 * valueScale, truncated and clamped to 0..255 (NaN to 0) for the
 * table lookup; the output is the single-precision mean, unclamped. */
OX_API int32_t oxBilateralFilter64(oxBilateralParams* params, const oxImage* src, oxImage* dst);

/* 1 when the encodings are incompatible or differ; otherwise runs Gold3C
 * for a multi-channel source, Filter64 for OX_64F, Gold1C for the rest, and
 * returns that worker's status (0, or 1 for the refusals above). */
OX_API int32_t oxBilateralFilter(oxBilateralParams* params, const oxImage* src, oxImage* dst);

/* Volumes are read and written through their plane headers, so both the
 * contiguous and the separate-planes layouts work; each plane must hold at
 * least width * height elements of the worker's size. */
/* Dispatcher and 8-bit worker in one: OX_64F volumes go to
 * oxBilateralFilter3D64, every other type is read and written as bytes.
 * The encodings are not compared. Returns 0, or 1 for the refusals above. */
OX_API int32_t oxBilateralFilter3D(oxBilateralParams* params, const oxVolume* src, oxVolume* dst);
/* OX_64F volumes (other types are refused), quantised as in
 * oxBilateralFilter64. */
OX_API int32_t oxBilateralFilter3D64(oxBilateralParams* params, const oxVolume* src, oxVolume* dst);

OX_END_DECLS

#endif /* OX_BILATERAL_H */
