// Separable convolution of volumes: the X and Y passes run plane by plane
// into a float volume, then the Z pass runs across its planes into the
// destination. All three are the general (gather) form of the image
// passes, so every output sums its products from 0 in tap order; the
// border samples come from the index tables of the kernel's pad cache.
#include <algorithm>
#include <cstdint>

#include "containers/detail/volume_layout.hpp"
#include "convolution/detail/kernel_rules.hpp"
#include "convolution/detail/passes.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_convolution3d.h"
#include "ox_system.h"

using namespace ox::detail;
using namespace ox::detail::sep;

namespace {

// One axis as a pass sees it: the weights and, for each position i from
// -r to length + r - 1, the sample index[i] that it reads.
struct Axis {
    Taps taps;
    const int32_t* index;
};

// The table of one axis when it holds `rule` over n samples at every
// position a pass asks for; null for an empty, stale or foreign table, so
// that no index it returns can leave the axis.
const int32_t* checkedTable(const int32_t* centre, int32_t covered, int32_t r, int32_t n, PadRule rule) {
    if (!centre || !rule || r < 0 || covered < n || n < 2 * static_cast<int64_t>(r) + 1) return nullptr;
    for (int64_t i = -static_cast<int64_t>(r); i < static_cast<int64_t>(n) + r; ++i)
        if (centre[i] != rule(static_cast<int32_t>(i), 0, n - 1)) return nullptr;
    return centre;
}

// Bytes of the work buffer: the float volume and one float plane; nullopt
// when a size is below 1 or the count does not fit.
Count workBytes(const oxVolume* v) {
    if (!v || std::min({v->width, v->height, v->depth}) < 1) return std::nullopt;
    return checkedProduct({v->width, v->height, static_cast<int64_t>(v->depth) + 1, 4});
}

// Every plane header exists, holds data and is one channel of the volume's
// width, height and type T.
template <class T> bool planesOf(const oxVolume* v) {
    if (!v || v->type != typeCode<T>() || !v->planes || !workBytes(v)) return false;
    for (int32_t z = 0; z < v->depth; ++z) {
        const oxImage* p = v->planes[z];
        if (!p || !p->data || p->type != v->type || p->width != v->width || p->height != v->height ||
            channelCount(p->encoding) != 1)
            return false;
    }
    return true;
}

// Memory for the tap pointers of the widest kernel and, for the X pass, a
// padded float line of `lineFloats`.
struct TapRows {
    Buffer mem;
    const uint8_t** rows = nullptr;
    uint8_t* line = nullptr;
};

TapRows tapRows(int32_t maxRadius, int64_t lineFloats) {
    TapRows t;
    const size_t pointers = (2 * static_cast<size_t>(maxRadius) + 1) * sizeof(uint8_t*);
    t.mem = allocateBuffer(pointers + static_cast<size_t>(lineFloats) * 4);
    if (t.mem) {
        t.rows = reinterpret_cast<const uint8_t**>(t.mem.get());
        t.line = t.mem.get() + pointers;
    }
    return t;
}

// Rows of one plane of T into w x h floats. The line is padded once, the
// border samples through the table, so the tap loop runs unchecked.
template <class T> void passX(const uint8_t* plane, uint8_t* out, int32_t w, int32_t h, const Axis& a, TapRows& t) {
    const int32_t r = a.taps.r;
    for (int32_t k = 0; k <= 2 * r; ++k) t.rows[k] = t.line + static_cast<int64_t>(k) * 4;
    for (int64_t y = 0; y < h; ++y) {
        const uint8_t* row = plane + y * w * static_cast<int64_t>(sizeof(T));
        for (int32_t i = -r; i < 0; ++i) storeAt(t.line, i + r, toFloat(loadAt<T>(row, a.index[i])));
        for (int32_t i = 0; i < w; ++i) storeAt(t.line, i + r, toFloat(loadAt<T>(row, i)));
        for (int64_t i = w; i < static_cast<int64_t>(w) + r; ++i)
            storeAt(t.line, i + r, toFloat(loadAt<T>(row, a.index[i])));
        uint8_t* dst = out + y * w * 4;
        gatherLines(t.rows, a.taps, w, [&](int64_t x, auto v) { putSums<float>(dst, x, v); });
    }
}

// Columns of a float plane into another: tap k of row y reads row
// index[y - r + k] whole.
void passY(const uint8_t* in, uint8_t* out, int32_t w, int32_t h, const Axis& a, TapRows& t) {
    const int64_t rowBytes = static_cast<int64_t>(w) * 4;
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t k = 0; k <= 2 * a.taps.r; ++k) t.rows[k] = in + a.index[y - a.taps.r + k] * rowBytes;
        uint8_t* dst = out + y * rowBytes;
        gatherLines(t.rows, a.taps, w, [&](int64_t x, auto v) { putSums<float>(dst, x, v); });
    }
}

// Columns along Z of the float volume into the planes of `dst`, stored
// as T: tap k of plane z reads plane index[z - r + k] whole.
template <class T> void passZ(const uint8_t* in, oxVolume* dst, const Axis& a, TapRows& t) {
    const int64_t plane = static_cast<int64_t>(dst->width) * dst->height;
    for (int32_t z = 0; z < dst->depth; ++z) {
        for (int32_t k = 0; k <= 2 * a.taps.r; ++k) t.rows[k] = in + a.index[z - a.taps.r + k] * plane * 4;
        uint8_t* out = dst->planes[z]->data;
        gatherLines(t.rows, a.taps, plane, [&](int64_t x, auto v) { putSums<T>(out, x, v); });
    }
}

template <class T> int32_t filterAs(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel, uint8_t* buffer) {
    if (!planesOf<T>(src) || !planesOf<T>(dst)) return 1;
    if (dst->width != src->width || dst->height != src->height || dst->depth != src->depth) return 1;
    if (!oxSepKernelCheckForVolume(kernel, src) || oxSepKernelPreComputePadding3D(kernel, src) != 0) return 1;
    KernelPtr normalized;
    const oxSepKernel* k = workingKernel(kernel, normalized);
    if (!k) return 1;
    if (!k->kernelX || !k->kernelY || !k->kernelZ) return 1;
    // The normalised copy has the caller's radii and border, so the
    // caller's tables serve it.
    const PadRule rule = padRule(k->border);
    const oxSepKernelPadCache& c = *kernel->padCache;
    const Axis x{{k->kernelX, k->radiusX, rule}, checkedTable(c.centreX, c.lengthX, k->radiusX, src->width, rule)};
    const Axis y{{k->kernelY, k->radiusY, rule}, checkedTable(c.centreY, c.lengthY, k->radiusY, src->height, rule)};
    const Axis z{{k->kernelZ, k->radiusZ, rule}, checkedTable(c.centreZ, c.lengthZ, k->radiusZ, src->depth, rule)};
    if (!x.index || !y.index || !z.index) return 1;
    // Deliberate: with no core granted the convolution does not run at all.
    if (oxSystemInfoGetNumberOfCores() < 1) return 0;

    const int32_t widest = std::max({k->radiusX, k->radiusY, k->radiusZ});
    TapRows t = tapRows(widest, src->width + 2 * static_cast<int64_t>(k->radiusX));
    if (!t.mem) return 1;
    const int64_t plane = static_cast<int64_t>(src->width) * src->height;
    uint8_t* volumeF = buffer;
    uint8_t* planeF = buffer + plane * src->depth * 4;
    // dst is written only by the Z pass, after every source plane was read.
    for (int32_t p = 0; p < src->depth; ++p) {
        passX<T>(src->planes[p]->data, planeF, src->width, src->height, x, t);
        passY(planeF, volumeF + p * plane * 4, src->width, src->height, y, t);
    }
    passZ<T>(volumeF, dst, z, t);
    return 0;
}

int32_t filterOpt(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel, uint8_t* buffer) {
    if (!src || !dst || !kernel || !buffer) return 1;
    switch (src->type) {
    case OX_8U: return filterAs<uint8_t>(src, dst, kernel, buffer);
    case OX_32F: return filterAs<float>(src, dst, kernel, buffer);
    case OX_64F: return filterAs<double>(src, dst, kernel, buffer);
    default: return 1;
    }
}

template <class T> int32_t depthPass(const float* src, oxVolume* dst, const oxSepKernel* k) {
    if (!src || !k || !k->kernelZ || !k->padCache || !planesOf<T>(dst)) return 1;
    const PadRule rule = padRule(k->border);
    const Axis z{{k->kernelZ, k->radiusZ, rule},
                 checkedTable(k->padCache->centreZ, k->padCache->lengthZ, k->radiusZ, dst->depth, rule)};
    if (!z.index) return 1;
    TapRows t = tapRows(k->radiusZ, 0);
    if (!t.mem) return 1;
    passZ<T>(reinterpret_cast<const uint8_t*>(src), dst, z, t);
    return 0;
}

}  // namespace

extern "C" {

OX_API uint64_t oxSeparableConvolutionGetTempBufferSize3D(const oxVolume* volume) {
    return sizeOrZero(workBytes(volume));
}

OX_API int32_t oxSeparableConvolutionFilter3D(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel) {
    return withScratch(oxSeparableConvolutionGetTempBufferSize3D(src), false,
                       [&](uint8_t* buffer) { return filterOpt(src, dst, kernel, buffer); });
}

OX_API int32_t oxSeparableConvolutionFilterOpt3D(const oxVolume* src, oxVolume* dst, oxSepKernel* kernel,
                                                 void* buffer) {
    return filterOpt(src, dst, kernel, static_cast<uint8_t*>(buffer));
}

OX_API int32_t oxApplySepKernelD32F3D(const float* src, oxVolume* dst, const oxSepKernel* kernel) {
    return depthPass<float>(src, dst, kernel);
}

OX_API int32_t oxApplySepKernelD64D3D(const float* src, oxVolume* dst, const oxSepKernel* kernel) {
    return depthPass<double>(src, dst, kernel);
}

}  // extern "C"
