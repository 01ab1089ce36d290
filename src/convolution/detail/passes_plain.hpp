// The separable passes written the plain way, one line at a time, exactly
// as the arithmetic is defined: the general form gathers 2r+1 products per
// output in tap order, the symmetric form scatters each input sample
// (border samples included, in ascending position) into the outputs it
// reaches with one product per pair of mirrored taps. These are the
// reference path; the fast kernels (passes.hpp, passes_avx2.hpp) are tested
// against them byte for byte.
#pragma once

#include <cstdint>
#include <cstring>

#include "convolution/detail/samples.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/size.hpp"
#include "core/detail/view.hpp"

namespace ox::detail::sep::plain {

// out(x, s) receives sum over k of in(x - r + k) * w[k], accumulated in
// float from 0 with k ascending. The border rule is consulted only for the
// first and last r outputs.
template <class In, class Out> void gatherLine(int32_t n, const Taps& t, In in, Out out) {
    auto sumAt = [&](int32_t x, bool border) {
        float s = 0.0f;
        for (int32_t k = 0; k <= 2 * t.r; ++k) {
            const int32_t i = x - t.r + k;
            s = s + in(border ? t.pad(i, 0, n - 1) : i) * t.w[k];
        }
        return s;
    };
    for (int32_t x = 0; x < t.r; ++x) out(x, sumAt(x, true));
    for (int32_t x = t.r; x < n - t.r; ++x) out(x, sumAt(x, false));
    for (int32_t x = n - t.r; x < n; ++x) out(x, sumAt(x, true));
}

// add(q, v) adds v to output q, which the caller has cleared. Each output
// receives its products in ascending input position, the order of the
// general form, so both forms agree bit for bit on a symmetric kernel.
template <class In, class Add> void scatterLine(int32_t n, const Taps& t, In in, Add add) {
    for (int64_t p = -static_cast<int64_t>(t.r); p < static_cast<int64_t>(n) + t.r; ++p) {
        const bool inside = p >= 0 && p < n;
        const float s = in(inside ? static_cast<int32_t>(p) : t.pad(static_cast<int32_t>(p), 0, n - 1));
        if (inside) add(p, s * t.w[t.r]);
        for (int32_t j = 1; j <= t.r; ++j) {
            const float v = s * t.w[t.r + j];
            if (p + j >= 0 && p + j < n) add(p + j, v);
            if (p - j >= 0 && p - j < n) add(p - j, v);
        }
    }
}

// Rows of `src` (w x h samples of T) into the float intermediate `dst`.
template <class T>
void horizontal(const uint8_t* src, uint8_t* dst, int32_t w, int32_t h, const Taps& t, bool symmetric) {
    for (int64_t y = 0; y < h; ++y) {
        const int64_t row = y * w;
        auto in = [&](int32_t i) { return toFloat(loadAt<T>(src, row + i)); };
        if (symmetric) {
            std::memset(dst + row * 4, 0, static_cast<size_t>(w) * 4);
            scatterLine(w, t, in, [&](int64_t q, float v) { storeAt(dst, row + q, loadAt<float>(dst, row + q) + v); });
        } else {
            gatherLine(w, t, in, [&](int32_t x, float s) { storeAt(dst, row + x, s); });
        }
    }
}

// Columns of the float intermediate into `dst` (w x h samples of T). The
// symmetric form accumulates column x in the contiguous scratch line at
// x*h floats before converting it.
template <class T>
void vertical(const uint8_t* src, uint8_t* scratch, uint8_t* dst, int32_t w, int32_t h, const Taps& t, bool symmetric) {
    for (int64_t x = 0; x < w; ++x) {
        auto in = [&](int32_t i) { return loadAt<float>(src, i * static_cast<int64_t>(w) + x); };
        if (symmetric) {
            uint8_t* line = scratch + x * h * 4;
            std::memset(line, 0, static_cast<size_t>(h) * 4);
            scatterLine(h, t, in, [&](int64_t q, float v) { storeAt(line, q, loadAt<float>(line, q) + v); });
            for (int64_t y = 0; y < h; ++y) storeAt(dst, y * w + x, fromSum<T>(loadAt<float>(line, y)));
        } else {
            gatherLine(h, t, in,
                       [&](int32_t y, float s) { storeAt(dst, y * static_cast<int64_t>(w) + x, fromSum<T>(s)); });
        }
    }
}

// The whole convolution over interleaved views, lane by lane: the rows of
// one lane into a w x h float plane, then its columns into the
// destination. Both forms give the same bytes (see scatterLine), so only
// the general one is needed here. With src and dst the same pixels a lane
// is written after it was read and before the next one is. False when the
// plane cannot be allocated.
template <class T>
bool convolve(View<const T> src, View<T> dst, const Taps& x, const Taps& y, const Lanes& lanes) {
    const int32_t w = src.width, h = src.height;
    const Count bytes = checkedProduct({w, h, static_cast<int64_t>(sizeof(float))});
    Buffer mem = bytes ? allocateBuffer(static_cast<size_t>(*bytes)) : nullptr;
    if (!mem) return false;
    auto* plane = reinterpret_cast<float*>(mem.get());
    for (int32_t l = 0; l < lanes.count; ++l) {
        for (int32_t row = 0; row < h; ++row) {
            const T* in = src.row(row);
            float* out = plane + static_cast<int64_t>(row) * w;
            gatherLine(
                w, x, [&](int32_t i) { return toFloat(sampleAt(in, static_cast<int64_t>(i) * src.channels + lanes.from[l])); },
                [&](int32_t i, float s) { out[i] = s; });
        }
        for (int32_t col = 0; col < w; ++col)
            gatherLine(
                h, y, [&](int32_t i) { return plane[static_cast<int64_t>(i) * w + col]; },
                [&](int32_t i, float s) {
                    setSample(dst.row(i), static_cast<int64_t>(col) * dst.channels + lanes.to[l], fromSum<T>(s));
                });
    }
    return true;
}

}  // namespace ox::detail::sep::plain
