/* Sampled 1-D functions: `count` double samples at abscissae 0..count-1. */
#ifndef OX_FUNCTION_H
#define OX_FUNCTION_H

#include "ox_export.h"

OX_BEGIN_DECLS

typedef struct oxFunction {
    int32_t count;  /* number of samples */
    double* values; /* owned when made by oxFunctionCreate; null for a header */
} oxFunction;

OX_END_DECLS

#endif /* OX_FUNCTION_H */
