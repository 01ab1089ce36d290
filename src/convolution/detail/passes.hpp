// The separable passes as the library runs them: the arithmetic of
// passes_plain.hpp, four floats at a time. Vector lanes always hold
// different outputs (or, in the scatter form, neighbouring lines), never
// parts of one sum, so every output still accumulates its products in
// single precision and in the plain code's order, and the bytes do not
// change.
//
// - General form: the samples of a line, the border ones included, are
//   gathered once per line (a padded row, or one row pointer per tap), so
//   the border rule is consulted for the first and last r samples only and
//   the tap loop runs without index checks.
// - Symmetric form: a true scatter, one product per pair of mirrored taps,
//   run on several lines side by side: four rows interleaved for the
//   horizontal pass, a strip of neighbouring columns for the vertical one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "convolution/detail/samples.hpp"
#include "core/detail/handles.hpp"

namespace ox::detail::sep {

// Four float lanes; GCC and Clang lower the operators to SSE2 or NEON.
typedef float F4 __attribute__((vector_size(16)));

template <class V> inline V loadV(const uint8_t* p) noexcept {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class V> inline void storeV(uint8_t* p, V v) noexcept { std::memcpy(p, &v, sizeof v); }

template <class V> inline V splat(float w) noexcept {
    if constexpr (std::is_same_v<V, float>)
        return w;
    else
        return V{w, w, w, w};
}

// Writes sums (one float or four lanes) as samples x, x+1, ... of a row of T.
template <class T, class V> inline void putSums(uint8_t* row, int64_t x, V v) noexcept {
    if constexpr (std::is_same_v<V, float>)
        storeAt<T>(row, x, fromSum<T>(v));
    else if constexpr (std::is_same_v<T, float>)
        storeV(row + x * 4, v);
    else
        for (int l = 0; l < 4; ++l) storeAt<T>(row, x + l, fromSum<T>(v[l]));
}

// Calls put(i + r, sample i as float) for i from -r to n + r - 1; the
// samples outside the line come through the border rule.
template <class T, class Put> void padLine(const uint8_t* row, int32_t n, const Taps& t, Put put) {
    for (int32_t i = -t.r; i < 0; ++i) put(i + t.r, toFloat(loadAt<T>(row, t.pad(i, 0, n - 1))));
    for (int32_t i = 0; i < n; ++i) put(i + t.r, toFloat(loadAt<T>(row, i)));
    for (int32_t i = n; i < n + t.r; ++i) put(i + t.r, toFloat(loadAt<T>(row, t.pad(i, 0, n - 1))));
}

// General form over n outputs: output x is the sum over k of sample x of
// in[k] times w[k], from 0 with k ascending. emit(x, sums) takes four lanes
// or one float at a time.
template <class Emit> void gatherLines(const uint8_t* const* in, const Taps& t, int64_t n, Emit emit) {
    const int32_t taps = 2 * t.r + 1;
    int64_t x = 0;
    for (; x + 16 <= n; x += 16) {
        F4 a0{}, a1{}, a2{}, a3{};
        for (int32_t k = 0; k < taps; ++k) {
            const uint8_t* s = in[k] + x * 4;
            const F4 w = splat<F4>(t.w[k]);
            a0 = a0 + loadV<F4>(s) * w;
            a1 = a1 + loadV<F4>(s + 16) * w;
            a2 = a2 + loadV<F4>(s + 32) * w;
            a3 = a3 + loadV<F4>(s + 48) * w;
        }
        emit(x, a0);
        emit(x + 4, a1);
        emit(x + 8, a2);
        emit(x + 12, a3);
    }
    for (; x + 4 <= n; x += 4) {
        F4 a{};
        for (int32_t k = 0; k < taps; ++k) a = a + loadV<F4>(in[k] + x * 4) * splat<F4>(t.w[k]);
        emit(x, a);
    }
    for (; x < n; ++x) {
        float a = 0.0f;
        for (int32_t k = 0; k < taps; ++k) a = a + loadAt<float>(in[k], x) * t.w[k];
        emit(x, a);
    }
}

// acc += s * c over `lanes` floats: the centre tap, or a tap whose mirror
// falls outside the line.
template <class Lanes> inline void addProduct(uint8_t* acc, const uint8_t* s, float c, Lanes lanes) noexcept {
    const F4 cv = splat<F4>(c);
    int64_t o = 0;
    for (; o + 16 <= lanes * 4; o += 16) storeV(acc + o, loadV<F4>(acc + o) + loadV<F4>(s + o) * cv);
    for (; o < lanes * 4; o += 4) storeV(acc + o, loadV<float>(acc + o) + loadV<float>(s + o) * c);
}

// a += s * c and b += s * c with one product for both. Both accumulators
// are loaded before either is stored: a and b may lie a multiple of 4 KiB
// apart, and a load right behind a store with the same low address bits
// would wait for it.
template <class Lanes>
inline void addMirrored(uint8_t* a, uint8_t* b, const uint8_t* s, float c, Lanes lanes) noexcept {
    const F4 cv = splat<F4>(c);
    int64_t o = 0;
    for (; o + 16 <= lanes * 4; o += 16) {
        const F4 prod = loadV<F4>(s + o) * cv;
        const F4 va = loadV<F4>(a + o), vb = loadV<F4>(b + o);
        storeV(a + o, va + prod);
        storeV(b + o, vb + prod);
    }
    for (; o < lanes * 4; o += 4) {
        const float prod = loadV<float>(s + o) * c;
        const float va = loadV<float>(a + o), vb = loadV<float>(b + o);
        storeV(a + o, va + prod);
        storeV(b + o, vb + prod);
    }
}

// Symmetric form over a line of n positions holding `lanes` floats each
// (that many lines side by side; a compile-time count where it is fixed).
// in(p) gives the samples of position p for p from -r to n + r - 1, border
// rule applied; the accumulators of output q are the `lanes` floats at
// acc + q * accStride (cleared here). Position p adds its sample times w[r]
// to p and the single product with w[r+j] to p+j and p-j, each inside the
// line. Positions are visited in ascending order, so each output receives
// its products in the order of the general form; done(q) runs as soon as
// output q is complete.
template <class Lanes, class In, class Done> void scatterLines(int64_t n, const Taps& t, uint8_t* const acc,
                                                               const int64_t accStride, Lanes lanes, In in, Done done) {
    const int64_t r = t.r;
    const float* const c = t.w + r;
    // Output q is cleared just before its first product arrives (from
    // position q - r), while the line is in the cache.
    auto clearAhead = [=](int64_t p) {
        if (p + r < n) std::memset(acc + (p + r) * accStride, 0, static_cast<size_t>(lanes) * 4);
    };
    auto checked = [=, &in, &done](int64_t p) {
        clearAhead(p);
        const uint8_t* s = in(p);
        if (p >= 0 && p < n) addProduct(acc + p * accStride, s, c[0], lanes);
        for (int64_t j = 1; j <= r; ++j) {
            const bool up = p + j >= 0 && p + j < n, down = p - j >= 0 && p - j < n;
            if (up && down)
                addMirrored(acc + (p + j) * accStride, acc + (p - j) * accStride, s, c[j], lanes);
            else if (up || down)
                addProduct(acc + (up ? p + j : p - j) * accStride, s, c[j], lanes);
        }
        if (p >= r) done(p - r);
    };
    // The line is at least 2r+1 long, so the three ranges do not overlap.
    int64_t p = -r;
    for (; p < r; ++p) checked(p);
    for (; p < n - r; ++p) {
        clearAhead(p);
        const uint8_t* s = in(p);
        uint8_t* up = acc + p * accStride;
        uint8_t* down = up;
        addProduct(up, s, c[0], lanes);
        for (int64_t j = 1; j <= r; ++j) {
            up += accStride;
            down -= accStride;
            addMirrored(up, down, s, c[j], lanes);
        }
        done(p - r);
    }
    for (; p < n + r; ++p) checked(p);
}

// Horizontal passes: rows of w samples of T into the float intermediate.
// False when the line buffer cannot be allocated.
template <class T> bool horizontalGather(const uint8_t* src, uint8_t* dst, int32_t w, int32_t h, const Taps& t) {
    const size_t taps = 2 * static_cast<size_t>(t.r) + 1;
    Buffer mem = allocateBuffer(taps * sizeof(uint8_t*) + (static_cast<size_t>(w) + taps - 1) * 4);
    if (!mem) return false;
    auto** rows = reinterpret_cast<const uint8_t**>(mem.get());
    uint8_t* line = mem.get() + taps * sizeof(uint8_t*);
    for (size_t k = 0; k < taps; ++k) rows[k] = line + k * 4;  // tap k reads the padded row shifted by k
    for (int64_t y = 0; y < h; ++y) {
        padLine<T>(src + y * w * static_cast<int64_t>(sizeof(T)), w, t,
                   [&](int64_t i, float v) { storeAt(line, i, v); });
        uint8_t* out = dst + y * w * 4;
        gatherLines(rows, t, w, [&](int64_t x, auto v) { putSums<float>(out, x, v); });
    }
    return true;
}

template <class T> bool horizontalScatter(const uint8_t* src, uint8_t* dst, int32_t w, int32_t h, const Taps& t) {
    constexpr int64_t kRows = 4;  // one row per lane
    const int64_t padded = static_cast<int64_t>(w) + 2 * static_cast<int64_t>(t.r);
    Buffer mem = allocateBuffer(static_cast<size_t>(padded + w) * kRows * 4);
    if (!mem) return false;
    uint8_t* const in = mem.get();
    uint8_t* const acc = in + padded * kRows * 4;
    const int64_t rowIn = w * static_cast<int64_t>(sizeof(T)), rowOut = static_cast<int64_t>(w) * 4;
    for (int64_t y0 = 0; y0 < h; y0 += kRows) {
        const int64_t rows = std::min<int64_t>(kRows, h - y0);
        // Lanes past the last row repeat it; their sums are never written.
        const uint8_t* s[kRows];
        uint8_t* out[kRows];
        for (int64_t l = 0; l < kRows; ++l) {
            s[l] = src + (y0 + std::min(l, rows - 1)) * rowIn;
            out[l] = dst + (y0 + l) * rowOut;
        }
        for (int32_t i = -t.r; i < w + t.r; ++i) {
            const int32_t k = i < 0 || i >= w ? t.pad(i, 0, w - 1) : i;
            const F4 v{toFloat(loadAt<T>(s[0], k)), toFloat(loadAt<T>(s[1], k)), toFloat(loadAt<T>(s[2], k)),
                       toFloat(loadAt<T>(s[3], k))};
            storeV(in + (i + t.r) * kRows * 4, v);
        }
        scatterLines(
            w, t, acc, kRows * 4, std::integral_constant<int64_t, kRows>{},
            [&](int64_t p) { return in + (p + t.r) * kRows * 4; },
            [&](int64_t q) {
                const F4 v = loadV<F4>(acc + q * kRows * 4);
                for (int64_t l = 0; l < rows; ++l) storeAt(out[l], q, v[l]);
            });
    }
    return true;
}

// Vertical passes: the float intermediate into h rows of w samples of T.
template <class T> bool verticalGather(const uint8_t* src, uint8_t* dst, int32_t w, int32_t h, const Taps& t) {
    const size_t taps = 2 * static_cast<size_t>(t.r) + 1;
    Buffer mem = allocateBuffer(taps * sizeof(uint8_t*));
    if (!mem) return false;
    auto** rows = reinterpret_cast<const uint8_t**>(mem.get());
    const int64_t rowBytes = static_cast<int64_t>(w) * 4;
    for (int32_t y = 0; y < h; ++y) {
        const bool border = y < t.r || y >= h - t.r;
        for (int32_t k = 0; k <= 2 * t.r; ++k) {
            const int32_t i = y - t.r + k;
            rows[k] = src + (border ? t.pad(i, 0, h - 1) : i) * rowBytes;
        }
        uint8_t* out = dst + y * static_cast<int64_t>(w) * static_cast<int64_t>(sizeof(T));
        gatherLines(rows, t, w, [&](int64_t x, auto v) { putSums<T>(out, x, v); });
    }
    return true;
}

// The accumulators live in `scratch` (w x h floats) at the places of their
// outputs; a strip of columns at a time keeps the 2r+1 rows that one input
// row reaches in the first-level cache.
template <class T>
bool verticalScatter(const uint8_t* src, uint8_t* scratch, uint8_t* dst, int32_t w, int32_t h, const Taps& t) {
    constexpr int64_t kStrip = 256;
    const int64_t rowFloats = w;
    for (int64_t x0 = 0; x0 < w; x0 += kStrip) {
        const int64_t cols = std::min<int64_t>(kStrip, w - x0);
        uint8_t* acc = scratch + x0 * 4;
        scatterLines(
            h, t, acc, rowFloats * 4, cols,
            [&](int64_t p) {
                const int64_t row = p >= 0 && p < h ? p : t.pad(static_cast<int32_t>(p), 0, h - 1);
                return src + (row * rowFloats + x0) * 4;
            },
            [&](int64_t q) {
                const uint8_t* a = acc + q * rowFloats * 4;
                uint8_t* out = dst + (q * rowFloats + x0) * static_cast<int64_t>(sizeof(T));
                if constexpr (std::is_same_v<T, float>)
                    std::memcpy(out, a, static_cast<size_t>(cols) * 4);
                else
                    for (int64_t c = 0; c < cols; ++c) storeAt<T>(out, c, fromSum<T>(loadAt<float>(a, c)));
            });
    }
    return true;
}

template <class T>
bool horizontal(const uint8_t* src, uint8_t* dst, int32_t w, int32_t h, const Taps& t, bool symmetric) {
    return symmetric ? horizontalScatter<T>(src, dst, w, h, t) : horizontalGather<T>(src, dst, w, h, t);
}

template <class T>
bool vertical(const uint8_t* src, uint8_t* scratch, uint8_t* dst, int32_t w, int32_t h, const Taps& t, bool symmetric) {
    return symmetric ? verticalScatter<T>(src, scratch, dst, w, h, t) : verticalGather<T>(src, dst, w, h, t);
}

}  // namespace ox::detail::sep
