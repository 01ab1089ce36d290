/* Separable kernels: one odd-length float kernel per axis (X = columns,
 * Y = rows, Z = planes of a volume), a normalise flag, a border rule, and
 * the Gaussian builders.
 *
 * Ownership: kernels from oxSepKernelCreate..., oxSepKernelCopy, the
 * Gaussian builders and oxSepKernelGetNormalizedKernel belong to the caller
 * and go back through oxSepKernelRelease, which frees the three arrays, the
 * pad cache and the record, and nulls the caller's pointer. Callers fill
 * custom kernels by writing into kernelX/kernelY/kernelZ directly. */
#ifndef OX_KERNEL_H
#define OX_KERNEL_H

#include "ox_image.h"
#include "ox_volume.h"

OX_BEGIN_DECLS

/* Border rules (oxSepKernel.border). */
enum {
    OX_PAD_EXPAND = 0, /* the edge sample repeats */
    OX_PAD_REFLECT = 1 /* mirror about the edge sample, which is not repeated */
};

/* Index tables of the volume convolution, filled by
 * oxSepKernelPreComputePadding3D. centreX[i] is the border rule applied to
 * i over an axis of lengthX samples, for i from -radiusX to
 * lengthX + radiusX. */
typedef struct oxSepKernelPadCache {
    int32_t lengthX; /* axis length each table covers; 0 while empty */
    int32_t lengthY;
    int32_t lengthZ;
    int32_t* tableX; /* owned, lengthX + 2*radiusX + 1 entries, only grown */
    int32_t* tableY;
    int32_t* tableZ;
    int32_t* centreX; /* tableX + radiusX */
    int32_t* centreY;
    int32_t* centreZ;
} oxSepKernelPadCache;

typedef struct oxSepKernel {
    float* kernelX;       /* owned, 2*radiusX+1 weights; element radiusX is the centre tap */
    float* kernelY;       /* owned, 2*radiusY+1 weights */
    float* kernelZ;       /* owned, 2*radiusZ+1 weights (volumes only) */
    int32_t radiusX;      /* at least 1 */
    int32_t radiusY;
    int32_t radiusZ;
    int32_t normalize;    /* 1: the convolution divides each array by its sum first */
    int32_t border;       /* OX_PAD_EXPAND or OX_PAD_REFLECT */
    int32_t isNormalized; /* 1: the arrays already sum to 1 (no normalised copy is made) */
    oxSepKernelPadCache* padCache; /* owned; empty until a volume convolution fills it */
} oxSepKernel;

/* New kernel with zero-filled arrays of 2*radius+1 floats, isNormalized 0
 * and an empty pad cache. Null when a radius is below 1 or above
 * 1073741823, when normalize or border is not 0 or 1, or when memory runs
 * out (nothing is leaked). */
OX_API oxSepKernel* oxSepKernelCreate3D(int32_t radiusX, int32_t radiusY, int32_t radiusZ, int32_t normalize,
                                        int32_t border);
/* 2-D kernel: oxSepKernelCreate3D(radiusX, radiusY, 1, ...) whose kernelZ
 * is the identity {0, 1, 0}. The caller fills kernelX and kernelY. */
OX_API oxSepKernel* oxSepKernelCreate(int32_t radiusX, int32_t radiusY, int32_t normalize, int32_t border);
/* Copy of radii, flags and the three arrays; the copy's cache is empty.
 * Null on failure or for a null kernel. */
OX_API oxSepKernel* oxSepKernelCopy(const oxSepKernel* kernel);
/* Frees the kernel and everything it owns, nulls *kernel; null ignored. */
OX_API void oxSepKernelRelease(oxSepKernel** kernel);

/* Zero-filled pad cache, or null when memory runs out. */
OX_API oxSepKernelPadCache* oxSepKernelInnerCreate(void);
/* Frees the three tables and the cache, nulls *cache; null ignored. */
OX_API void oxSepKernelInnerRelease(oxSepKernelPadCache** cache);

/* Border rules over [lo, hi]. Expand: lo below, hi at or above hi.
 * Reflect: lo - i below (the mirror about 0 for lo = 0, which every caller
 * passes), 2*hi - i above. Neither folds twice. */
OX_API int32_t oxSepKernelPadExpandFunc(int32_t i, int32_t lo, int32_t hi);
OX_API int32_t oxSepKernelPadReflectFunc(int32_t i, int32_t lo, int32_t hi);

/* Gaussian sigma for a full kernel length: 0.3 * (size/2 - 1) + 0.8, with
 * size/2 an integer division. */
OX_API double getSigmaFromSize(int32_t size);
/* Full kernel length for a sigma: max(3, 2*t + 1) with
 * t = trunc(4*sigma + 0.5) (NaN gives t = 0; t is capped so that the
 * length stays an int32). */
OX_API int32_t getSizeFromSigma(double sigma);
/* Fills `weights` with a Gaussian of odd length `size` that sums to 1 up
 * to float rounding. sigma <= 0 takes getSigmaFromSize(size); size < 1
 * takes getSizeFromSigma(sigma) (each from the argument as passed), and
 * the array must then hold that many floats. Writes nothing for a null
 * array or an even size (the table would need size + 1 entries). */
OX_API void initArr(float* weights, int32_t size, double sigma);

/* Gaussian of the given radius on all three axes, sigma
 * 0.3 * (radius - 1) + 0.8, normalize 1, OX_PAD_EXPAND, isNormalized 1.
 * Null for a radius below 1. */
OX_API oxSepKernel* oxSepKernelGaussian(int32_t radius);
/* Gaussian of the given sigma (sigma <= 0: taken from the radius). The
 * radius is the sigma's aperture when `radius` is negative or larger than
 * it; 0 is kept and gives null. */
OX_API oxSepKernel* oxSepKernelGaussianFromSigma(int32_t radius, double sigma);
/* Radius a sigma calls for: (getSizeFromSigma(sigma) - 1) / 2, at least 1. */
OX_API int32_t oxSepKernelGaussianGetApertureFromSigma(double sigma);

/* New kernel (normalize 0, same radii and border, empty cache) whose arrays
 * are divided by their float sums when kernel->normalize is 1, or a plain
 * copy when it is 0. Null for any other normalize value, a sum of zero, a
 * sum at or above the largest float, a null kernel or exhausted memory. */
OX_API oxSepKernel* oxSepKernelGetNormalizedKernel(const oxSepKernel* kernel);

/* 1 when the image is at least 2*radiusX+1 wide and 2*radiusY+1 high,
 * otherwise 0 (also for null arguments). */
OX_API int32_t oxSepKernelCheckForImage(const oxSepKernel* kernel, const oxImage* image);
/* 1 when the volume's width, height and depth are at least 2*radius+1 on
 * the matching axis, otherwise 0 (also for null arguments). */
OX_API int32_t oxSepKernelCheckForVolume(const oxSepKernel* kernel, const oxVolume* volume);

/* Fills the pad cache for the volume's width, height and depth with the
 * kernel's border rule, growing a table when the volume is longer than it
 * covers. Returns 0; 1 for null arguments, an axis shorter than 1 sample,
 * an invalid border, or a failed growth (that table is left as it was). */
OX_API int32_t oxSepKernelPreComputePadding3D(oxSepKernel* kernel, const oxVolume* volume);

OX_END_DECLS

#endif /* OX_KERNEL_H */
