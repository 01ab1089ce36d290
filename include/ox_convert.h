/* Pixel type conversion between two images of the same geometry. Both
 * functions treat the whole buffer as one flat array of N = width * height
 * * channels values of the source (ROI and coi are ignored). */
#ifndef OX_CONVERT_H
#define OX_CONVERT_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Converts every value of `src` into the type of `dst` between the nominal
 * ranges of the two types (8U 0..255, 16U and 32S 0..65535, 32U 24-bit,
 * floats 0..1): integer pairs shift by the difference of their depths and
 * keep the low bits; integers become floats divided by the source's full
 * scale (255, 65535, 1677215); floats become integers multiplied by the
 * destination's full scale, truncated toward zero, low bits kept (NaN
 * gives 0). Nothing is clamped. Equal types copy the buffer.
 * Returns 0; 1 when the encodings differ or when `dst` (by its own width,
 * height and encoding) cannot hold N values. When either type code is not
 * one of the six, or `src` holds no values (a zero or negative size, an
 * invalid encoding), nothing is written and 0 is returned. */
OX_API int32_t oxImageCvtType(const oxImage* src, oxImage* dst);

/* Stretches the source range [low, high] onto the full range of the
 * destination type, in double precision, clamping below 0 and above full
 * scale (integer results truncated toward zero, NaN gives 0). Any pair of
 * types, equal types included.
 * Returns 0; 1 when the widths differ, when low >= high, when the heights
 * differ, when either type code is not one of the six, or when `dst` (by
 * its own encoding) cannot hold N values; nothing is written then. A
 * source with no values writes nothing and returns 0. */
OX_API int32_t oxImageCvtTypeGivenRange(const oxImage* src, oxImage* dst, double low, double high);

OX_END_DECLS

#endif /* OX_CONVERT_H */
