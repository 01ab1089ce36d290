/* Sampled 1-D functions: `count` double samples at abscissae 0..count-1,
 * with the small vector algebra the resampling code builds its weights
 * with.
 *
 * Ownership: oxFunctionCreate makes a record that owns its samples (freed
 * with oxFunctionRelease); oxFunctionCreateHeader makes a record with
 * `values` null for the caller to point at its own samples (freed with
 * oxFunctionReleaseHeader, which never touches `values`). Release functions
 * take the address of the caller's pointer and null it; null is ignored.
 *
 * In the operations below the sample count comes from the record named in
 * each comment; every other record must hold at least that many samples.
 * No operation validates counts. `dst` may be `src` except in
 * oxFunctionBlur. */
#ifndef OX_FUNCTION_H
#define OX_FUNCTION_H

#include "ox_export.h"

OX_BEGIN_DECLS

typedef struct oxFunction {
    int32_t count;  /* number of samples */
    double* values; /* owned when made by oxFunctionCreate; null for a header */
} oxFunction;

/* Record with the given count and `values` null; null when out of memory. */
OX_API oxFunction* oxFunctionCreateHeader(int32_t count);
/* Record owning `count` zeroed samples; null (nothing left allocated) when
 * out of memory or when count is negative. */
OX_API oxFunction* oxFunctionCreate(int32_t count);
/* Frees the record only and nulls *f. */
OX_API void oxFunctionReleaseHeader(oxFunction** f);
/* Frees the samples and the record and nulls *f. */
OX_API void oxFunctionRelease(oxFunction** f);

/* Sets the `count` samples of f to 0.0. */
OX_API void oxFunctionSetZero(oxFunction* f);
/* dst[i] = src[0] + ... + src[i] (running double sum) over src's count;
 * returns src. */
OX_API oxFunction* oxFunctionIntegral(oxFunction* src, oxFunction* dst);
/* dst[i] = src[i] / S, S the sum of src from index 0 up; S = 0 is not
 * guarded. Returns src. */
OX_API oxFunction* oxFunctionNormalize(oxFunction* src, oxFunction* dst);
/* dst[i] = src[i] * factor over src's count; returns src. */
OX_API oxFunction* oxFunctionMul(oxFunction* src, oxFunction* dst, double factor);
/* dst[i] = a[i] + b[i] for i below dst's count; returns a. */
OX_API oxFunction* oxFunctionAdd(oxFunction* a, const oxFunction* b, oxFunction* dst);
/* Three-tap mean: dst's count becomes src's count n (dst must already hold
 * n samples and must not be src); the end points are two-sample means.
 * n = 1 copies the sample, n < 1 writes nothing. Returns src. */
OX_API oxFunction* oxFunctionBlur(oxFunction* src, oxFunction* dst);
/* Sum of a[i] * b[i] over a's count; 0.0 when that count is below 1. */
OX_API double oxFunctionCorrelation(const oxFunction* a, const oxFunction* b);
/* Linear interpolation at x in 0..count-1; x = count-1 gives the last
 * sample. An x below 0 (or NaN) gives the first sample, one above
 * count-1 the last; 0.0 for an empty function. */
OX_API double oxFunctionGetInterpolatedVal(const oxFunction* f, double x);

OX_END_DECLS

#endif /* OX_FUNCTION_H */
