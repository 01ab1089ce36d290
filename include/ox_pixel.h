/* Pixel access, fills and image statistics: exact and bilinear reads of
 * one-channel images, min/max of a grey ROI, the box of the non-zero pixels,
 * whole-buffer fills and the inversion of 8-bit images.
 *
 * Positions are whole-image coordinates: (0, 0) is the first element of
 * `data`, whatever the ROI. Elements are read as their type; OX_32S and
 * OX_32U both read as signed 32-bit (an OX_32U above 2^31-1 reads
 * negative). */
#ifndef OX_PIXEL_H
#define OX_PIXEL_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Element p->x + width * p->y of the buffer, converted to double (p->k and
 * p->z are not read; encoding, ROI and coi are not consulted).
 * Returns 0.0 for an unknown pixel type, and 0.0 without reading when that
 * element lies outside the buffer: before its start or past its
 * width * height * channels elements (an invalid encoding or null pixels
 * leave no element to read). */
OX_API double oxImageGetVal(const oxImage* image, const oxPoint* p);

/* Bilinear value at (p->x, p->y), in double. A neighbour is read only when
 * its fraction is non-zero, so positions on the last row or column are
 * safe. Returns 0.0 for an unknown pixel type, and 0.0 without reading when
 * an element it needs lies outside the buffer (as for oxImageGetVal) or a
 * coordinate is not finite or beyond +-2^62. */
OX_API double oxImageGetInterpolatedVal(const oxImage* image, const oxPoint2D* p);

/* Minimum and maximum of the ROI of a grey image. *min and *max are first
 * set to the largest finite double and its negative, also when refused, and
 * stay so for an empty ROI. NaN never replaces either; a +inf maximum
 * falls back to the largest finite double at the next value that is not
 * greater, a -inf minimum to its negative at the next value (deliberate).
 * Returns 0; 1 for a non-grey encoding, an unknown pixel type, or a
 * non-empty ROI outside the image or over null pixels. */
OX_API int32_t oxImageGetMinMaxValues(const oxImage* image, double* min, double* max);

/* Bounding box of the non-zero pixels of a whole grey image (ROI ignored;
 * NaN counts, -0.0 does not): out = {min column, min row, width, height},
 * *empty = 0. With no such pixel *empty = 1 and out = {2147483647,
 * 2147483647, 3, 3}: test *empty, not the rectangle.
 * Returns 0; 1 for a non-grey encoding (nothing written), or an unknown
 * pixel type or null pixels (*empty = 1, out not written). */
OX_API int32_t oxImageGetNonZeroROI(const oxImage* image, oxRect* out, int32_t* empty);

/* Sets every byte of the buffer to zero (ROI ignored). Does nothing for an
 * invalid encoding, an unknown type or null pixels. */
OX_API void oxImageSetZero(oxImage* image);

/* Sets every channel value of the buffer to `value` (ROI and coi ignored).
 * Integer types keep the low bits of the value truncated to 64 bits, with
 * no saturation (300 -> 44 in OX_8U, -1 -> 65535 in OX_16U; NaN -> 0);
 * OX_32F rounds to float. Does nothing for an invalid encoding, an unknown
 * type or null pixels. */
OX_API void oxImageSetVal(oxImage* image, double value);

/* dst byte = 255 - src byte for the first width * height bytes of the
 * buffers (only part of a colour image; ROI ignored; src may be dst).
 * Returns 0; 1 unless both images have the same width, height and type,
 * that type is OX_8U and both encodings are valid, with non-null pixels. */
OX_API int32_t oxImageInvert(const oxImage* src, oxImage* dst);

OX_END_DECLS

#endif /* OX_PIXEL_H */
