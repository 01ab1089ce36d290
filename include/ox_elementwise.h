/* Element-wise image operations: copy, blends, substitution, transpose.
 *
 * All but the transpose walk the ROI of their first image and, in step,
 * the ROI of every other image, each entered at its own first ROI pixel and
 * advanced by its own pixel step and ROI row skip. The other ROIs must be
 * as large as the first image's ROI. An empty first ROI does nothing and
 * returns 0. Channels are located through each image's own encoding.
 *
 * Bounds: a call whose walk would leave a buffer is refused with 1 and
 * writes nothing: an ROI outside its image, an ROI smaller than the first
 * image's ROI, an invalid encoding, an unknown pixel type or null pixels. */
#ifndef OX_ELEMENTWISE_H
#define OX_ELEMENTWISE_H

#include "ox_image.h"

OX_BEGIN_DECLS

/* Exactly oxImageCvtColor(src, dst): 0, or 1 for different pixel types. */
OX_API int32_t oxCopy(const oxImage* src, oxImage* dst);

/* dst = (1 - w) * a + w * b for 8-bit images, w = weight / 255, in single
 * precision, clamped to 0..255 and truncated. A colour `a` (pixel step
 * other than 1) blends channels 1-3 and leaves alpha of `dst` alone; a grey
 * `a` blends the first byte of each pixel. Weight 0 returns
 * oxImageCvtColor(a, dst), weight 255 oxImageCvtColor(b, dst).
 * Returns 0, 1 when refused (see above), or the code of oxImageCvtColor. */
OX_API int32_t oxAddWeigthedS(const oxImage* a, const oxImage* b, oxImage* dst, uint8_t weight);

/* As oxAddWeigthedS with the weight read per pixel from the first byte of
 * each pixel of the 8-bit `mask` (w = m / 255); no shortcut for 0 or 255.
 * `b` and `dst` may be the same image. Returns 0, or 1 when refused. */
OX_API int32_t oxAddWeigthedM(const oxImage* a, const oxImage* b, oxImage* dst, const oxImage* mask);

/* Where the mask is set, `dst` takes the pixels of `src` (8-bit, in place):
 * colour `src` and colour `mask` decide channels 1-3 one by one; colour
 * `src` and grey `mask` copy channels 1-3 where the mask byte is non-zero;
 * grey `src` copies the first byte of each pixel. Alpha is never touched.
 * Returns 0, or 1 when refused. */
OX_API int32_t oxSubstitute(const oxImage* src, oxImage* dst, const oxImage* mask);

/* For every pixel (x, y) of `dst`, copies C bytes (C = channel count of
 * `src`) from `src` pixel (row x, column y) to `dst` pixel (row y,
 * column x): an 8-bit transpose of whole images, ROIs ignored. `dst` is
 * expected to be src->height wide and src->width high.
 * Returns 0; 1 (nothing written) when `dst` is wider than src->height or
 * higher than src->width, when a `dst` pixel is narrower than C bytes, or
 * for an invalid encoding, an unknown pixel type or null pixels. */
OX_API int32_t oxTranspose(const oxImage* src, oxImage* dst);

OX_END_DECLS

#endif /* OX_ELEMENTWISE_H */
