/* Separable convolution of 2-D images with an oxSepKernel: a horizontal
 * pass with kernelX into a float intermediate, then a vertical pass with
 * kernelY into the destination. All arithmetic is single precision, for
 * 64-bit images too. The whole image is filtered (ROI and COI are not
 * consulted); colour images go channel by channel through a one-channel
 * plane, channels 1 to 3 only, so a fourth channel of `dst` keeps what it
 * holds. Each pass has a general form and a symmetric form (one product
 * per pair of mirrored taps); the filter picks the symmetric one for an
 * axis whose weights are exactly symmetric, and both give the same bytes.
 *
 * Outside the line the kernel's border rule supplies the samples. Lines
 * must be at least as long as the kernel (2*radius+1); shorter ones are
 * refused with 1. */
#ifndef OX_CONVOLUTION_H
#define OX_CONVOLUTION_H

#include "ox_image.h"
#include "ox_kernel.h"

OX_BEGIN_DECLS

/* Bytes of the work buffer of oxSeparableConvolutionFilterOpt for `image`:
 * width*height*8 for one channel, otherwise width*height*(s + 8) with s the
 * element size of the pixel type (0 for an unknown type). 0 for a null
 * image or a width or height below 1. */
OX_API uint64_t oxSeparableConvolutionGetTempBufferSize(const oxImage* image);

/* Allocates the work buffer, runs oxSeparableConvolutionFilterOpt and frees
 * the buffer. Returns its status, or 1 when the allocation fails. */
OX_API int32_t oxSeparableConvolutionFilter(const oxImage* src, oxImage* dst, const oxSepKernel* kernel);

/* Convolves `src` into `dst` (same width, height and pixel type, both grey
 * or both colour; OX_8U, OX_32F or OX_64F) using the caller's `buffer` of
 * oxSeparableConvolutionGetTempBufferSize(src) bytes (any alignment). A
 * kernel with normalize 1 and isNormalized 0 is applied as its normalised
 * copy. 8-bit results are clamped to 0..255 and truncated. Returns 0; 1 for
 * a null argument, another pixel type, mismatched sizes, types or
 * encodings, an image smaller than the kernel (nothing written), a kernel
 * that cannot be normalised, or exhausted memory. `src` and `dst` may be
 * the same image. */
OX_API int32_t oxSeparableConvolutionFilterOpt(const oxImage* src, oxImage* dst, const oxSepKernel* kernel,
                                               void* buffer);

/* Pass functions. Images are one-channel records whose width and height
 * give the line lengths (data rows packed, any alignment); the float
 * intermediate is a bare array of width*height floats of the same
 * geometry. Horizontal passes read `src` and write the intermediate with
 * kernelX; vertical passes read the intermediate and write `dst` with
 * kernelY. The symmetric vertical passes use `scratch` (width*height
 * floats) for their accumulators. Each returns 0; 1 for a null pointer
 * (arguments, image data, weights), an image of another pixel type or an
 * invalid encoding, a negative radius, an unknown border rule, a line
 * shorter than the kernel, or exhausted memory for a line buffer. */

/* 8-bit image -> float; the vertical forms clamp to 0..255 and truncate (a
 * NaN sum gives 255). */
OX_API int32_t oxApplySepKernelH(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmH(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelV(const float* src, oxImage* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmV(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel);

/* Float image -> float; the vertical forms store the sums unchanged. */
OX_API int32_t oxApplySepKernelH32F(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmH32F(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelV32F(const float* src, oxImage* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmV32F(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel);

/* Double image -> float: each sample is narrowed to float before it is
 * weighted; the vertical forms widen the float sums to double. */
OX_API int32_t oxApplySepKernelH64D(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmH64D(const oxImage* src, float* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelV64D(const float* src, oxImage* dst, const oxSepKernel* kernel);
OX_API int32_t oxApplySepKernelSymmV64D(const float* src, float* scratch, oxImage* dst, const oxSepKernel* kernel);

OX_END_DECLS

#endif /* OX_CONVOLUTION_H */
