// Focus mask: the elliptical sharpness mask of the tilt-shift effect, and its
// parameter record.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/pixel_types.hpp"
#include "effects/detail/focus_mask_ops.hpp"
#include "effects/detail/focus_mask_row.hpp"
#include "ox_tiltshift.h"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>
#endif

using namespace ox::detail;

namespace {

// A box edge in pixels: the fraction times the size in float, truncated. A
// NaN or far-out fraction saturates instead of overflowing.
int64_t boxEdge(float fraction, int32_t size) { return saturateTrunc<int32_t>(fraction * static_cast<float>(size)); }

// Centre and half-axes in whole pixels, halved with arithmetic shifts (so
// -3 >> 1 is -2). Sums are formed in 64 bits: saturated edges must not
// overflow, and every result still fits an int32.
struct Ellipse {
    int64_t cx, cy;
    float rx, ry;
};

Ellipse ellipseOf(const oxFocusMaskParams& p, int32_t w, int32_t h) {
    const int64_t x0 = boxEdge(p.x0, w), y0 = boxEdge(p.y0, h);
    const int64_t x1 = boxEdge(p.x1, w), y1 = boxEdge(p.y1, h);
    return {(x0 + x1) >> 1, (y0 + y1) >> 1, static_cast<float>((x1 - x0) >> 1), static_cast<float>((y1 - y0) >> 1)};
}

// Columns whose |dx| is below 1. dx is monotonic in the column, so they
// form one run [begin, end); it is empty for a zero half-axis.
struct Run {
    int32_t begin, end;
};

Run innerColumns(const Ellipse& e, int32_t w) {
    Run r{0, 0};
    while (r.begin < w && !(std::fabs(focus::offset(r.begin, e.cx, e.rx)) < 1.0f)) ++r.begin;
    r.end = r.begin;
    while (r.end < w && std::fabs(focus::offset(r.end, e.cx, e.rx)) < 1.0f) ++r.end;
    return r;
}

using RowFn = void (*)(int32_t first, int32_t n, float rx, float dy2, uint8_t* out);

#if OX_HAVE_AVX2_PATH
// Eight pixels at a time with the same operations, each rounded once as in
// the plain loop: int to float, division, fused multiply-add, square root.
// maxps returns its second operand for a NaN, which turns NaN into 0 as
// clampToByte does; the values never exceed 255.
OX_TARGET_AVX2 void rowAvx2(int32_t first, int32_t n, float rx, float dy2, uint8_t* out) {
    const __m256 vrx = _mm256_set1_ps(rx), vdy2 = _mm256_set1_ps(dy2);
    const __m256 one = _mm256_set1_ps(1.0f), scale = _mm256_set1_ps(255.0f), zero = _mm256_setzero_ps();
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256i col = _mm256_add_epi32(_mm256_set1_epi32(first + i), lanes);
        const __m256 dx = _mm256_div_ps(_mm256_cvtepi32_ps(col), vrx);
        const __m256 root = _mm256_sqrt_ps(_mm256_fmadd_ps(dx, dx, vdy2));
        const __m256 v = _mm256_max_ps(_mm256_mul_ps(_mm256_sub_ps(one, root), scale), zero);
        const __m256i q = _mm256_cvttps_epi32(v);
        const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(q), _mm256_extracti128_si256(q, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(words, words));
    }
    focus::rowPlain(first + i, n - i, rx, dy2, out + i);
}
#endif

RowFn rowFunction() {
#if OX_HAVE_AVX2_PATH
    if (useAvx2()) return rowAvx2;
#endif
    return focus::rowPlain;
}

// The formula at every pixel, no box: the reference for the paths below.
void fillReference(const Ellipse& e, View<uint8_t> out) {
    for (int32_t y = 0; y < out.height; ++y) {
        const float dy = focus::offset(y, e.cy, e.ry);
        uint8_t* row = out.row(y);
        for (int32_t x = 0; x < out.width; ++x) row[x] = focus::maskByte(focus::offset(x, e.cx, e.rx), dy * dy);
    }
}

// Only offsets below 1 in magnitude can give a non-zero byte: with |d| >= 1
// (or NaN) the fused sum is at least 1 and the byte is 0. Rows and columns
// outside the ellipse's bounding box are therefore cleared without the
// square root; every byte equals the one the formula gives.
void fill(const Ellipse& e, View<uint8_t> out) {
    const int32_t w = out.width;
    const Run run = innerColumns(e, w);
    const int32_t first = run.begin < run.end ? static_cast<int32_t>(run.begin - e.cx) : 0;
    const RowFn rowFn = rowFunction();
    for (int32_t y = 0; y < out.height; ++y) {
        uint8_t* row = out.row(y);
        const float dy = focus::offset(y, e.cy, e.ry);
        if (!(std::fabs(dy) < 1.0f) || run.begin == run.end) {
            std::memset(row, 0, static_cast<size_t>(w));
            continue;
        }
        std::memset(row, 0, static_cast<size_t>(run.begin));
        rowFn(first, run.end - run.begin, e.rx, dy * dy, row + run.begin);
        std::memset(row + run.end, 0, static_cast<size_t>(w - run.end));
    }
}

}  // namespace

namespace ox::detail {

Status focusMaskFill(const oxFocusMaskParams& p, View<uint8_t> plane) noexcept {
    if (plane.empty()) return Status::Ok;
    const Ellipse e = ellipseOf(p, plane.width, plane.height);
    if (useReference())
        fillReference(e, plane);
    else
        fill(e, plane);
    return Status::Ok;
}

}  // namespace ox::detail

extern "C" {

OX_API oxFocusMaskParams* oxFocusMaskParamsDefault(void) {
    auto* p = allocateRecord<oxFocusMaskParams>();
    if (p) *p = {0.0f, 0.1f, 1.0f, 0.9f};
    return p;
}

OX_API void oxFocusMaskParamsRelease(oxFocusMaskParams** params) { releaseRecord(params); }

OX_API int32_t oxFocusMaskFill(const oxFocusMaskParams* params, oxImage* image) {
    if (!params || !image) return 1;
    if (image->height < 1 || image->width < 1) return 0;
    // One byte per pixel fits every image of a known type and encoding.
    if (!hasBuffer(image) || !isKnownType(image->type)) return 1;
    const View<uint8_t> plane{image->data, image->width, image->height, 1, image->width};
    return code(focusMaskFill(*params, plane));
}

}  // extern "C"
