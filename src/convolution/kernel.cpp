// Separable kernels: creation, copy and release, the Gaussian builders and
// their sigma/size rules, the normalised copy, the fit tests and the pad
// cache of the volume convolution.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "convolution/detail/kernel_rules.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "ox_kernel.h"

using namespace ox::detail;

namespace {

size_t tapCount(int32_t radius) { return 2 * static_cast<size_t>(radius) + 1; }

float* zeroedTaps(int32_t radius) { return static_cast<float*>(std::calloc(tapCount(radius), sizeof(float))); }

oxSepKernel* create3D(int32_t rx, int32_t ry, int32_t rz, int32_t normalize, int32_t border) {
    const int32_t smallest = std::min({rx, ry, rz}), largest = std::max({rx, ry, rz});
    if (smallest < 1 || largest > kMaxKernelRadius) return nullptr;
    // Both flags are tested as one unsigned value, so negatives fail too.
    if ((static_cast<uint32_t>(normalize) | static_cast<uint32_t>(border)) > 1u) return nullptr;
    KernelPtr k(allocateRecord<oxSepKernel>());
    if (!k) return nullptr;
    k->radiusX = rx;
    k->radiusY = ry;
    k->radiusZ = rz;
    k->normalize = normalize;
    k->border = border;
    k->kernelX = zeroedTaps(rx);
    k->kernelY = zeroedTaps(ry);
    k->kernelZ = zeroedTaps(rz);
    k->padCache = oxSepKernelInnerCreate();
    if (!k->kernelX || !k->kernelY || !k->kernelZ || !k->padCache) return nullptr;
    return k.release();
}

bool hasArrays(const oxSepKernel* k) { return k && k->kernelX && k->kernelY && k->kernelZ; }

double sigmaFromSize(int32_t size) { return 0.3 * static_cast<double>(size / 2 - 1) + 0.8; }

int32_t sizeFromSigma(double sigma) {
    const int64_t t = std::min<int64_t>(saturateTrunc<int32_t>(4.0 * sigma + 0.5), kMaxKernelRadius);
    return static_cast<int32_t>(std::max<int64_t>(3, 2 * t + 1));
}

void fillGaussian(float* w, int32_t size, double sigma) {
    // Each substitution reads the argument as passed, not the other's result.
    const double s = sigma <= 0.0 ? sigmaFromSize(size) : sigma;
    const int32_t n = size < 1 ? sizeFromSigma(sigma) : size;
    if (!w || n % 2 == 0) return;
    const int32_t r = n / 2;
    const double c = -0.5 / (s * s);
    for (int32_t i = 0; i <= r; ++i) w[r + i] = static_cast<float>(std::exp(c * i * i));
    // Starting at -1 counts the centre weight (exactly 1) once while every
    // other weight counts for both sides; each doubling is done in float.
    double sum = -1.0;
    for (int32_t i = 0; i <= r; ++i) {
        const float wi = w[r + i];
        sum += static_cast<double>(wi + wi);
    }
    const double scale = 1.0 / sum;
    for (int32_t i = 0; i <= r; ++i) {
        const float v = static_cast<float>(static_cast<double>(w[r + i]) * scale);
        w[r - i] = v;
        w[r + i] = v;
    }
}

oxSepKernel* gaussian(int32_t radius, double sigma) {
    KernelPtr k(create3D(radius, radius, radius, 1, OX_PAD_EXPAND));
    if (!k) return nullptr;
    fillGaussian(k->kernelX, 2 * radius + 1, sigma);
    std::memcpy(k->kernelY, k->kernelX, tapCount(radius) * sizeof(float));
    std::memcpy(k->kernelZ, k->kernelX, tapCount(radius) * sizeof(float));
    k->isNormalized = 1;
    return k.release();
}

float floatSum(const float* w, int32_t radius) {
    float s = 0.0f;
    for (size_t i = 0; i < tapCount(radius); ++i) s += w[i];
    return s;
}

// Grows one axis table when the axis is longer than it covers, then refills
// it for this axis. A failed growth leaves the table as it was.
bool fillAxis(int32_t*& table, int32_t*& centre, int32_t& length, int32_t radius, int32_t n, PadRule rule) {
    if (length < n) {
        const Count bytes = checkedProduct({static_cast<int64_t>(n) + 2 * static_cast<int64_t>(radius) + 1,
                                            static_cast<int64_t>(sizeof(int32_t))});
        if (!bytes) return false;
        auto* grown = static_cast<int32_t*>(std::realloc(table, static_cast<size_t>(*bytes)));
        if (!grown) return false;
        table = grown;
        centre = grown + radius;
        length = n;
    }
    for (int64_t i = -static_cast<int64_t>(radius); i <= static_cast<int64_t>(n) + radius; ++i)
        centre[i] = rule(static_cast<int32_t>(i), 0, n - 1);
    return true;
}

}  // namespace

extern "C" {

OX_API oxSepKernel* oxSepKernelCreate3D(int32_t radiusX, int32_t radiusY, int32_t radiusZ, int32_t normalize,
                                        int32_t border) {
    return create3D(radiusX, radiusY, radiusZ, normalize, border);
}

OX_API oxSepKernel* oxSepKernelCreate(int32_t radiusX, int32_t radiusY, int32_t normalize, int32_t border) {
    oxSepKernel* k = create3D(radiusX, radiusY, 1, normalize, border);
    if (k) k->kernelZ[1] = 1.0f;  // a 2-D kernel carries an identity depth kernel
    return k;
}

OX_API oxSepKernel* oxSepKernelCopy(const oxSepKernel* kernel) {
    if (!hasArrays(kernel)) return nullptr;
    oxSepKernel* k = create3D(kernel->radiusX, kernel->radiusY, kernel->radiusZ, kernel->normalize, kernel->border);
    if (!k) return nullptr;
    k->isNormalized = kernel->isNormalized;
    std::memcpy(k->kernelX, kernel->kernelX, tapCount(k->radiusX) * sizeof(float));
    std::memcpy(k->kernelY, kernel->kernelY, tapCount(k->radiusY) * sizeof(float));
    std::memcpy(k->kernelZ, kernel->kernelZ, tapCount(k->radiusZ) * sizeof(float));
    return k;
}

OX_API void oxSepKernelRelease(oxSepKernel** kernel) {
    if (!kernel || !*kernel) return;
    oxSepKernel* k = *kernel;
    std::free(k->kernelX);
    std::free(k->kernelY);
    std::free(k->kernelZ);
    oxSepKernelInnerRelease(&k->padCache);
    releaseRecord(kernel);
}

OX_API oxSepKernelPadCache* oxSepKernelInnerCreate(void) { return allocateRecord<oxSepKernelPadCache>(); }

OX_API void oxSepKernelInnerRelease(oxSepKernelPadCache** cache) {
    if (!cache || !*cache) return;
    std::free((*cache)->tableX);
    std::free((*cache)->tableY);
    std::free((*cache)->tableZ);
    releaseRecord(cache);
}

OX_API int32_t oxSepKernelPadExpandFunc(int32_t i, int32_t lo, int32_t hi) { return padExpand(i, lo, hi); }

OX_API int32_t oxSepKernelPadReflectFunc(int32_t i, int32_t lo, int32_t hi) { return padReflect(i, lo, hi); }

OX_API double getSigmaFromSize(int32_t size) { return sigmaFromSize(size); }

OX_API int32_t getSizeFromSigma(double sigma) { return sizeFromSigma(sigma); }

OX_API void initArr(float* weights, int32_t size, double sigma) { fillGaussian(weights, size, sigma); }

OX_API oxSepKernel* oxSepKernelGaussian(int32_t radius) { return gaussian(radius, 0.0); }

OX_API oxSepKernel* oxSepKernelGaussianFromSigma(int32_t radius, double sigma) {
    const int32_t aperture = oxSepKernelGaussianGetApertureFromSigma(sigma);
    return gaussian(radius < 0 || radius > aperture ? aperture : radius, sigma);
}

OX_API int32_t oxSepKernelGaussianGetApertureFromSigma(double sigma) { return (sizeFromSigma(sigma) - 1) / 2; }

OX_API oxSepKernel* oxSepKernelGetNormalizedKernel(const oxSepKernel* kernel) {
    if (!hasArrays(kernel)) return nullptr;
    float div[3] = {1.0f, 1.0f, 1.0f};
    if (kernel->normalize == 1) {
        div[0] = floatSum(kernel->kernelX, kernel->radiusX);
        div[1] = floatSum(kernel->kernelY, kernel->radiusY);
        div[2] = floatSum(kernel->kernelZ, kernel->radiusZ);
    } else if (kernel->normalize != 0) {
        return nullptr;
    }
    for (const float d : div)
        if (d >= FLT_MAX || d == 0.0f) return nullptr;
    oxSepKernel* k = create3D(kernel->radiusX, kernel->radiusY, kernel->radiusZ, 0, kernel->border);
    if (!k) return nullptr;
    const float* from[3] = {kernel->kernelX, kernel->kernelY, kernel->kernelZ};
    float* to[3] = {k->kernelX, k->kernelY, k->kernelZ};
    const int32_t radius[3] = {k->radiusX, k->radiusY, k->radiusZ};
    for (int a = 0; a < 3; ++a)
        for (size_t i = 0; i < tapCount(radius[a]); ++i) to[a][i] = from[a][i] / div[a];
    return k;
}

OX_API int32_t oxSepKernelCheckForImage(const oxSepKernel* kernel, const oxImage* image) {
    if (!kernel || !image) return 0;
    return image->width >= 2 * static_cast<int64_t>(kernel->radiusX) + 1 &&
           image->height >= 2 * static_cast<int64_t>(kernel->radiusY) + 1;
}

OX_API int32_t oxSepKernelCheckForVolume(const oxSepKernel* kernel, const oxVolume* volume) {
    if (!kernel || !volume) return 0;
    return volume->width >= 2 * static_cast<int64_t>(kernel->radiusX) + 1 &&
           volume->height >= 2 * static_cast<int64_t>(kernel->radiusY) + 1 &&
           volume->depth >= 2 * static_cast<int64_t>(kernel->radiusZ) + 1;
}

OX_API int32_t oxSepKernelPreComputePadding3D(oxSepKernel* kernel, const oxVolume* volume) {
    if (!kernel || !volume || !kernel->padCache) return 1;
    const PadRule rule = padRule(kernel->border);
    if (!rule || std::min({volume->width, volume->height, volume->depth}) < 1) return 1;
    if (std::min({kernel->radiusX, kernel->radiusY, kernel->radiusZ}) < 0) return 1;
    oxSepKernelPadCache& c = *kernel->padCache;
    const bool ok = fillAxis(c.tableX, c.centreX, c.lengthX, kernel->radiusX, volume->width, rule) &&
                    fillAxis(c.tableY, c.centreY, c.lengthY, kernel->radiusY, volume->height, rule) &&
                    fillAxis(c.tableZ, c.centreZ, c.lengthZ, kernel->radiusZ, volume->depth, rule);
    return ok ? 0 : 1;
}

}  // extern "C"
