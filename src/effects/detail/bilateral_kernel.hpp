// The bilateral filter's pixel loops, separate from the tables and the
// argument checks so that they can be compiled twice: once plain and once
// for processors with a fused multiply-add instruction, where std::fmaf is
// one instruction instead of a library call. fmaf is exactly rounded either
// way, so both builds give the same bytes; the tests hold them to that.
// The colour worker's plain loop is the reference of its restructured and
// AVX2 passes (bilateral_avx2.cpp), which must give its bytes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/view.hpp"
#include "ox_bilateral.h"

#define OX_BILATERAL_INLINE [[gnu::always_inline]] inline

namespace ox::detail::bilateral {

constexpr int32_t kHalf = OX_BILATERAL_SPACE_SIZE / 2;  // table offsets -10..10

enum class Kind { Gray8, Colour8, Gray64 };

// Plane buffers of a job: one image buffer (2-D) or the plane headers of a
// volume (3-D).
struct Planes {
    uint8_t* single;
    oxImage* const* headers;
    uint8_t* at(int32_t z) const { return headers ? headers[z]->data : single; }
};

// One pass over a checked source and destination. `space` points at the
// spatial weight of offset 0; the row of offsets (dz, dy) starts
// dz * planeStride + dy * OX_BILATERAL_SPACE_SIZE elements away. `range` is
// the one-channel range table; the colour worker reads `colour` instead.
struct Job {
    Kind kind;
    int32_t width, height, depth;
    int32_t rz, r;  // neighbourhood radius across planes (0 for images) and within
    Planes src, dst;
    const float* space;
    int32_t planeStride;
    const float* range;
    const oxBilateralTables* colour;
    double valueScale;
};

// First and last offset of -r..r that stay inside 0..n-1 around i. Offsets
// outside the source add nothing to either sum, so the walk leaves them out.
struct Span {
    int32_t lo, hi;
};
OX_BILATERAL_INLINE Span span(int32_t i, int32_t r, int32_t n) { return {std::max(-r, -i), std::min(r, n - 1 - i)}; }

template <class T> OX_BILATERAL_INLINE T load(const uint8_t* plane, int64_t i) {
    T v;
    std::memcpy(&v, plane + i * static_cast<int64_t>(sizeof(T)), sizeof v);
    return v;
}

template <class T> OX_BILATERAL_INLINE void store(uint8_t* plane, int64_t i, T v) {
    std::memcpy(plane + i * static_cast<int64_t>(sizeof(T)), &v, sizeof v);
}

// Range-table slot of neighbour v around centre c. Doubles are scaled by 256
// against the table's 255 levels on purpose.
OX_BILATERAL_INLINE int32_t rangeSlot(uint8_t v, uint8_t c, double) {
    return std::abs(static_cast<int32_t>(v) - static_cast<int32_t>(c));
}
OX_BILATERAL_INLINE int32_t rangeSlot(double v, double c, double scale) {
    return clampTrunc<int32_t>(std::fabs(v - c) * 256.0 * scale, 0, 255);
}

// Bytes are clamped and truncated; doubles take the float quotient as it is.
OX_BILATERAL_INLINE uint8_t output(float S, float W, uint8_t) { return clampToByte(S / W); }
OX_BILATERAL_INLINE double output(float S, float W, double) { return static_cast<double>(S / W); }

// Weighted mean of one channel. Outputs go in row-major order and are read
// back as neighbours when source and destination share the buffer; that is
// the intended smoothing of in-place passes.
template <class T> OX_BILATERAL_INLINE void filterChannel(const Job& j) {
    for (int32_t z = 0; z < j.depth; ++z) {
        const Span sz = span(z, j.rz, j.depth);
        for (int32_t y = 0; y < j.height; ++y) {
            const Span sy = span(y, j.r, j.height);
            for (int32_t x = 0; x < j.width; ++x) {
                const Span sx = span(x, j.r, j.width);
                const int64_t at = static_cast<int64_t>(y) * j.width + x;
                const T c = load<T>(j.src.at(z), at);
                float W = 0.0f, S = 0.0f;
                for (int32_t dz = sz.lo; dz <= sz.hi; ++dz) {
                    const uint8_t* plane = j.src.at(z + dz);
                    for (int32_t dy = sy.lo; dy <= sy.hi; ++dy) {
                        const float* sw = j.space + dz * j.planeStride + dy * OX_BILATERAL_SPACE_SIZE;
                        const int64_t rowAt = at + static_cast<int64_t>(dy) * j.width;
                        for (int32_t dx = sx.lo; dx <= sx.hi; ++dx) {
                            const T v = load<T>(plane, rowAt + dx);
                            const float w = sw[dx] * j.range[rangeSlot(v, c, j.valueScale)];
                            W += w;
                            S = std::fmaf(w, static_cast<float>(v), S);
                        }
                    }
                }
                store<T>(j.dst.at(z), at, output(S, W, T{}));
            }
        }
    }
}

// Range weight of a colour difference: the record's 256 x 256 x 256 table,
// or the compact table indexed by d0^2 + d1^2 + d2^2. Every entry of the
// former depends only on that sum, so both give the same floats; the
// compact one (195076 floats) stays in cache where the other misses.
struct CubeRange {
    const oxBilateralTables* tables;
    OX_BILATERAL_INLINE float operator()(int32_t d0, int32_t d1, int32_t d2) const {
        return tables->rangeWeights[d0][d1][d2];
    }
};
struct NormRange {
    const float* byNorm;
    OX_BILATERAL_INLINE float operator()(int32_t d0, int32_t d1, int32_t d2) const {
        return byNorm[d0 * d0 + d1 * d1 + d2 * d2];
    }
};

// One colour pass: packed 3-byte pixels of `src` filtered into `dst` (same
// size; the same rows when in place). `space` as in Job, r within 0..9.
struct ColourPass {
    ConstView<uint8_t> src;
    View<uint8_t> dst;
    int32_t r;
    const float* space;
};

// One output pixel under one weight per neighbour from the colour table.
// The three sums share W and are scaled by one reciprocal rather than
// divided as the one-channel worker does; the two round differently and
// both are kept.
template <class Range> OX_BILATERAL_INLINE void colourPixel(const ColourPass& p, Range range, int32_t x, int32_t y) {
    const Span sy = span(y, p.r, p.src.height), sx = span(x, p.r, p.src.width);
    const int64_t at = 3 * static_cast<int64_t>(x);
    const uint8_t* centre = p.src.row(y) + at;
    const int32_t c0 = centre[0], c1 = centre[1], c2 = centre[2];
    float W = 0.0f, S0 = 0.0f, S1 = 0.0f, S2 = 0.0f;
    for (int32_t dy = sy.lo; dy <= sy.hi; ++dy) {
        const float* sw = p.space + dy * OX_BILATERAL_SPACE_SIZE;
        const uint8_t* row = p.src.row(y + dy) + at;
        for (int32_t dx = sx.lo; dx <= sx.hi; ++dx) {
            const uint8_t* q = row + 3 * dx;
            const int32_t v0 = q[0], v1 = q[1], v2 = q[2];
            const float w = sw[dx] * range(std::abs(v0 - c0), std::abs(v1 - c1), std::abs(v2 - c2));
            W += w;
            S0 = std::fmaf(w, static_cast<float>(v0), S0);
            S1 = std::fmaf(w, static_cast<float>(v1), S1);
            S2 = std::fmaf(w, static_cast<float>(v2), S2);
        }
    }
    const float inv = 1.0f / W;
    uint8_t* out = p.dst.row(y) + at;
    out[0] = clampToByte(S0 * inv);
    out[1] = clampToByte(S1 * inv);
    out[2] = clampToByte(S2 * inv);
}

// The plain loop: pixels in row-major order, so that an in-place pass (or
// any overlap of the two buffers) reads the outputs already written.
template <class Range> OX_BILATERAL_INLINE void filterColour(const ColourPass& p, Range range) {
    for (int32_t y = 0; y < p.src.height; ++y)
        for (int32_t x = 0; x < p.src.width; ++x) colourPixel(p, range, x, y);
}

// The same loop restructured for radius 1: inside the one-pixel border all
// nine neighbours exist, so their visit needs no span and unrolls; the
// border keeps the plain pixel. Still row-major, so any overlap of the
// buffers reads what the plain loop reads.
template <class Range> OX_BILATERAL_INLINE void filterColourRadius1(const ColourPass& p, Range range) {
    const int32_t w = p.src.width, h = p.src.height;
    const float* sw = p.space;
    for (int32_t y = 0; y < h; ++y) {
        if (y == 0 || y == h - 1 || w < 3) {
            for (int32_t x = 0; x < w; ++x) colourPixel(p, range, x, y);
            continue;
        }
        colourPixel(p, range, 0, y);
        const uint8_t* rows[3] = {p.src.row(y - 1), p.src.row(y), p.src.row(y + 1)};
        uint8_t* out = p.dst.row(y);
        for (int32_t x = 1; x < w - 1; ++x) {
            const int64_t at = 3 * static_cast<int64_t>(x);
            const int32_t c0 = rows[1][at], c1 = rows[1][at + 1], c2 = rows[1][at + 2];
            float W = 0.0f, S0 = 0.0f, S1 = 0.0f, S2 = 0.0f;
            for (int32_t dy = -1; dy <= 1; ++dy) {
                for (int32_t dx = -1; dx <= 1; ++dx) {
                    const uint8_t* q = rows[dy + 1] + at + 3 * dx;
                    const int32_t v0 = q[0], v1 = q[1], v2 = q[2];
                    const float g = range(std::abs(v0 - c0), std::abs(v1 - c1), std::abs(v2 - c2));
                    const float wt = sw[dy * OX_BILATERAL_SPACE_SIZE + dx] * g;
                    W += wt;
                    S0 = std::fmaf(wt, static_cast<float>(v0), S0);
                    S1 = std::fmaf(wt, static_cast<float>(v1), S1);
                    S2 = std::fmaf(wt, static_cast<float>(v2), S2);
                }
            }
            const float inv = 1.0f / W;
            out[at] = clampToByte(S0 * inv);
            out[at + 1] = clampToByte(S1 * inv);
            out[at + 2] = clampToByte(S2 * inv);
        }
        colourPixel(p, range, w - 1, y);
    }
}

#if OX_HAVE_AVX2_PATH
// Radius-1 colour passes on the AVX2 path (bilateral_avx2.cpp), reading the
// compact table. Separate: the buffers do not overlap; false when its
// scratch rows cannot be allocated. In place: dst is src's rows; false when
// the image is too large for the path's 32-bit offsets. Nothing is written
// when they return false.
bool colourRadius1SeparateAvx2(const ColourPass& p, const float* byNorm);
bool colourRadius1InPlaceAvx2(const ColourPass& p, const float* byNorm);
#endif

OX_BILATERAL_INLINE void runJob(const Job& j) {
    switch (j.kind) {
    case Kind::Colour8: {
        const int64_t stride = 3 * static_cast<int64_t>(j.width);
        const ColourPass p{{j.src.single, j.width, j.height, 3, stride}, {j.dst.single, j.width, j.height, 3, stride}, j.r,
                           j.space};
        filterColour(p, CubeRange{j.colour});
        break;
    }
    case Kind::Gray64: filterChannel<double>(j); break;
    case Kind::Gray8: filterChannel<uint8_t>(j); break;
    }
}

}  // namespace ox::detail::bilateral
