// Element-wise image operations: copy, blends, substitution, transpose.
#include "ox_color.h"
#include "ox_elementwise.h"

extern "C" {

OX_API int32_t oxCopy(const oxImage* src, oxImage* dst) { return oxImageCvtColor(src, dst); }

}  // extern "C"
