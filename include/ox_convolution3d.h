/* Separable convolution of volumes with an oxSepKernel: a pass along X
 * with kernelX, one along Y with kernelY and one along Z (across planes)
 * with kernelZ. It is the 2-D convolution of ox_convolution.h carried to
 * three axes, with its rules: every sample is weighted in single
 * precision (doubles are narrowed to float first), each output sums its
 * 2*radius+1 products from 0 in tap order, and the intermediates are
 * float. Outputs are stored as the volume's type: 8-bit results are
 * clamped to 0..255 and truncated (a NaN sum gives 255), float results
 * unchanged, double results widened from the float sum.
 *
 * Outside the volume the kernel's border rule supplies the samples,
 * through the index tables of its pad cache (oxSepKernelPreComputePadding3D).
 * Every axis must be at least as long as the kernel on it (what
 * oxSepKernelCheckForVolume tests); shorter ones are refused with 1.
 *
 * Volumes are read and written through their plane headers, so both the
 * contiguous and the separate-planes layout work. Planes must be
 * one-channel images of the volume's width, height and type. The whole
 * volume is filtered; the roi is not consulted.
 *
 * Its own header rather than ox_convolution.h: this family works on
 * oxVolume, lays out its work buffer differently and reads the system
 * settings, none of which concerns a user of the image convolution. */
#ifndef OX_CONVOLUTION3D_H
#define OX_CONVOLUTION3D_H

#include "ox_kernel.h"
#include "ox_volume.h"

OX_BEGIN_DECLS

/* Bytes of the work buffer of oxSeparableConvolutionFilterOpt3D for
 * `volume`: width*height*(depth + 1)*4, the same for every pixel type.
 * The buffer holds the float result of the X and Y passes for the whole
 * volume (width*height*depth floats, plane after plane, rows packed) and
 * then one float plane for the X pass of the plane in hand. 0 for a null
 * volume, a size below 1 on any axis, or a count that does not fit. */
OX_API uint64_t oxSeparableConvolutionGetTempBufferSize3D(const oxVolume* volume);

/* Allocates the work buffer, runs oxSeparableConvolutionFilterOpt3D and
 * frees the buffer. Returns its status, or 1 when the allocation fails. */
OX_API int32_t oxSeparableConvolutionFilter3D(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel);

/* Convolves `src` into `dst` (same width, height, depth and pixel type;
 * OX_8U, OX_32F or OX_64F) using the caller's `buffer` of
 * oxSeparableConvolutionGetTempBufferSize3D(src) bytes (any alignment).
 *
 * Fills the kernel's pad cache for `src` (the kernel is written for that
 * reason only; its weights are never changed). A kernel with normalize 1
 * and isNormalized 0 is applied as its normalised copy, made and released
 * within the call; the index tables are the caller's kernel's.
 *
 * The convolution itself runs only when oxSystemInfoGetNumberOfCores() is
 * at least 1. With fewer cores granted the call checks its arguments,
 * fills the pad cache and returns 0 without writing `dst`: deliberate, the
 * work is spread over the granted cores and none were granted.
 *
 * Returns 0; 1 for a null argument, another pixel type, mismatched sizes
 * or types, a plane that is missing, has no data, has more than one
 * channel or another size or type, a volume smaller than the kernel on
 * any axis, a pad cache that cannot be filled, a kernel that cannot be
 * normalised, or exhausted memory. `dst` is not written on any refusal.
 * `src` and `dst` may be the same volume or share planes: `dst` is
 * written only after every plane of `src` has been read. */
OX_API int32_t oxSeparableConvolutionFilterOpt3D(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel,
                                                 void* buffer);

/* Depth passes, the last of the three: `src` is a float intermediate of
 * dst->width*dst->height*dst->depth floats (plane after plane, rows
 * packed, any alignment), as the X and Y passes leave it; every column
 * along Z is convolved with kernelZ into `dst`. The border indices come
 * from kernel->padCache, which must hold the kernel's border rule for
 * dst's depth: call oxSepKernelPreComputePadding3D(kernel, dst) first.
 * The filter above runs the same pass for 8-bit volumes (clamped and
 * truncated); that form has no export of its own.
 *
 * Each returns 0; 1 for a null pointer (arguments, weights, cache), a
 * volume of another type or with unusable planes (as above), a depth
 * shorter than kernelZ, a pad cache that does not hold the kernel's rule
 * for that depth, or exhausted memory for the tap pointers. The system
 * settings are not consulted here. */

/* Float intermediate -> float volume; the sums are stored unchanged. */
OX_API int32_t oxApplySepKernelD32F3D(const float* src, oxVolume* dst, const oxSepKernel* kernel);
/* Float intermediate -> double volume; the float sums are widened. */
OX_API int32_t oxApplySepKernelD64D3D(const float* src, oxVolume* dst, const oxSepKernel* kernel);

OX_END_DECLS

#endif /* OX_CONVOLUTION3D_H */
