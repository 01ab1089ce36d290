// Sampled 1-D functions. The rounding of every operation is fixed (the
// resize builds its weights with them): sums run from index 0 upward,
// normalisation divides, and the fused multiply-adds are written out where
// they belong.
#include <cmath>
#include <cstdlib>

#include "core/detail/handles.hpp"
#include "ox_function.h"

using namespace ox::detail;

extern "C" {

OX_API oxFunction* oxFunctionCreateHeader(int32_t count) {
    oxFunction* f = allocateRecord<oxFunction>();
    if (f) f->count = count;
    return f;
}

OX_API oxFunction* oxFunctionCreate(int32_t count) {
    if (count < 0) return nullptr;
    oxFunction* f = oxFunctionCreateHeader(count);
    if (!f) return nullptr;
    f->values = static_cast<double*>(std::calloc(static_cast<size_t>(count), sizeof(double)));
    if (!f->values) oxFunctionReleaseHeader(&f);
    return f;
}

OX_API void oxFunctionReleaseHeader(oxFunction** f) { releaseRecord(f); }

OX_API void oxFunctionRelease(oxFunction** f) {
    if (!f || !*f) return;
    std::free((*f)->values);
    oxFunctionReleaseHeader(f);
}

OX_API void oxFunctionSetZero(oxFunction* f) {
    for (int32_t i = 0; i < f->count; ++i) f->values[i] = 0.0;
}

OX_API oxFunction* oxFunctionIntegral(oxFunction* src, oxFunction* dst) {
    double sum = 0.0;
    for (int32_t i = 0; i < src->count; ++i) {
        sum += src->values[i];
        dst->values[i] = sum;
    }
    return src;
}

OX_API oxFunction* oxFunctionNormalize(oxFunction* src, oxFunction* dst) {
    double sum = 0.0;
    for (int32_t i = 0; i < src->count; ++i) sum += src->values[i];
    for (int32_t i = 0; i < src->count; ++i) dst->values[i] = src->values[i] / sum;
    return src;
}

OX_API oxFunction* oxFunctionMul(oxFunction* src, oxFunction* dst, double factor) {
    for (int32_t i = 0; i < src->count; ++i) dst->values[i] = src->values[i] * factor;
    return src;
}

OX_API oxFunction* oxFunctionAdd(oxFunction* a, const oxFunction* b, oxFunction* dst) {
    for (int32_t i = 0; i < dst->count; ++i) dst->values[i] = a->values[i] + b->values[i];
    return a;
}

OX_API oxFunction* oxFunctionBlur(oxFunction* src, oxFunction* dst) {
    const int32_t n = src->count;
    const double* s = src->values;
    double* d = dst->values;
    dst->count = n;
    if (n < 2) {
        // Too short for a two-sample mean: the one sample (if any) stays.
        if (n == 1) d[0] = s[0];
        return src;
    }
    d[0] = (s[0] + s[1]) * 0.5;
    for (int32_t i = 1; i <= n - 2; ++i) d[i] = (s[i - 1] + s[i] + s[i + 1]) / 3.0;
    d[n - 1] = (s[n - 1] + s[n - 2]) * 0.5;
    return src;
}

OX_API double oxFunctionCorrelation(const oxFunction* a, const oxFunction* b) {
    const int32_t n = a->count;
    if (n < 1) return 0.0;
    // Whole groups of eight: product rounded, then added. The remainder is
    // fused. This mixture is what fixes the last bit of the result.
    const int32_t grouped = n - n % 8;
    double sum = 0.0;
    int32_t i = 0;
    for (; i < grouped; ++i) {
        const double product = a->values[i] * b->values[i];
        sum += product;
    }
    for (; i < n; ++i) sum = std::fma(a->values[i], b->values[i], sum);
    return sum;
}

OX_API double oxFunctionGetInterpolatedVal(const oxFunction* f, double x) {
    const int32_t last = f->count - 1;
    if (last < 0) return 0.0;
    // Positions outside 0..count-1 take the nearest end sample instead of
    // reading beyond the samples.
    if (!(x >= 0.0)) return f->values[0];
    if (x >= last) return f->values[last];
    const double fl = std::floor(x);
    const auto i = static_cast<int32_t>(fl);  // 0 <= fl < last here
    const double lo = f->values[i];
    return std::fma(f->values[i + 1] - lo, x - fl, lo);
}

}  // extern "C"
