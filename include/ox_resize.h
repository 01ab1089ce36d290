/* Image resize from the source's ROI into the destination's ROI, the
 * scale factors being the ratios of the ROI sizes, and the Lanczos
 * resampling of sampled 1-D functions.
 *
 * Modes (named below; plain integers work alike): OX_RESIZE_NEAREST (-1)
 * nearest neighbour (any pixel type, whole pixels copied);
 * OX_RESIZE_BILINEAR (0) bilinear for OX_8U in fixed point, rounded to
 * nearest; OX_RESIZE_LANCZOS (1) Lanczos (a = 3) for OX_64F with values in
 * 0..1, results clamped to 0..1. Modes other than -1 and 1 take the
 * bilinear path in oxResizeOpt and oxResize1C.
 *
 * Results: 0 done; 1 refused input or exhausted memory. Refused input:
 * null images or pixels, an empty ROI on either side, a ROI outside its
 * image, a pixel type other than the mode's (or different types on the
 * two sides), incompatible encodings, a colour destination with fewer
 * channels than the source, an unknown type in mode -1.
 *
 * Mode 1 reads and writes rows from the start of the buffers (strides are
 * the images' widths), taking only the sample counts from the ROIs. */
#ifndef OX_RESIZE_H
#define OX_RESIZE_H

#include "ox_function.h"
#include "ox_image.h"

OX_BEGIN_DECLS

/* Resize modes. */
enum {
    OX_RESIZE_NEAREST = -1, /* nearest neighbour, any pixel type */
    OX_RESIZE_BILINEAR = 0, /* bilinear, OX_8U */
    OX_RESIZE_LANCZOS = 1   /* Lanczos, a = 3, OX_64F (and oxResizeFunction) */
};

/* The Lanczos window of half width a at x: 1 at 0, 0 where |x| >= a or x
 * is NaN, sinc(x) * sinc(x / a) in between. */
OX_API double oxLanczosFunction(double a, double x);

/* Resamples `src` into the already allocated `dst` (its count is the
 * number of outputs) with a seven-tap Lanczos window, a = 3. Output j is
 * centred one sample before j * count(src) / count(dst): at equal counts
 * the content moves one sample towards higher indices. Nothing happens
 * when either count is below 1. */
OX_API void oxLanczosResizeFunction(const oxFunction* src, oxFunction* dst);

/* oxLanczosResizeFunction(src, dst) and 0 when `mode` is OX_RESIZE_LANCZOS,
 * else 1. */
OX_API int32_t oxResizeFunction(const oxFunction* src, oxFunction* dst, int32_t mode);

/* Bytes of scratch that oxResizeOpt needs: (mode != 1 ? 8 * dst ROI height
 * + 16 * dst ROI width : 0), plus the ROI area times the element size of
 * each image that has more than one channel. Saturates at UINT32_MAX;
 * oxResizeOpt refuses sizes beyond it. */
OX_API uint32_t oxResizeGetTempBufferSize(const oxImage* src, const oxImage* dst, int32_t mode);

/* Resizes. Mode -1 works directly; any other mode allocates the scratch
 * of oxResizeGetTempBufferSize and runs oxResizeOpt. `reserved` is never
 * read (callers may pass their abort flag there). */
OX_API int32_t oxResize(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved);

/* Resizes in modes 0 and 1 with the caller's `buffer` of
 * oxResizeGetTempBufferSize(src, dst, mode) bytes, aligned as malloc
 * aligns; colour images go channel by channel, all channels of the source
 * including a fourth. `reserved` is never read. */
OX_API int32_t oxResizeOpt(const oxImage* src, oxImage* dst, int32_t mode, const volatile int32_t* reserved,
                           void* buffer);

/* Resizes one-channel images in modes 0 and 1. Mode 0 needs `work`: 16 *
 * dst ROI width + 8 * dst ROI height bytes, aligned for int32; mode 1
 * ignores it. */
OX_API int32_t oxResize1C(const oxImage* src, oxImage* dst, int32_t mode, void* work);

OX_END_DECLS

#endif /* OX_RESIZE_H */
