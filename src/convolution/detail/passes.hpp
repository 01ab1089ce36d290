// The portable kernels of the separable passes: the arithmetic of
// passes_plain.hpp, four floats at a time through the compiler's vector
// extension (SSE2 on x86-64, NEON on arm64). Vector lanes always hold
// different outputs, never parts of one sum, so every output still
// accumulates its products in single precision, from 0, in tap order, and
// the bytes do not change.
//
// Every pass is a gather: output x of a line is the sum over k of
// in[k][x] * w[k]. A horizontal pass points in[k] at a padded line shifted
// by k pixels; a vertical pass points in[k] at whole rows of the float
// intermediate, so the border rule is consulted once per line or row, never
// per tap.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "convolution/detail/samples.hpp"

namespace ox::detail::sep {

// Four float lanes; GCC and Clang lower the operators to SSE2 or NEON.
typedef float F4 __attribute__((vector_size(16)));

template <class V> inline V loadV(const void* p) noexcept {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class V> inline void storeV(void* p, V v) noexcept { std::memcpy(p, &v, sizeof v); }

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

// The general form over n outputs: output x is the sum over k of sample x
// of in[k] times w[k], from 0 with k ascending. The lines hold floats,
// addressed as floats or (the volume convolution's buffers) as bytes.
// emit(x, sums) takes four lanes or one float at a time.
template <class P, class Emit> void gatherLines(const P* const* in, const Taps& t, int64_t n, Emit emit) {
    static_assert(std::is_same_v<P, float> || std::is_same_v<P, uint8_t>);
    constexpr int64_t step = sizeof(float) / sizeof(P);
    const int32_t taps = 2 * t.r + 1;
    int64_t x = 0;
    for (; x + 16 <= n; x += 16) {
        F4 a0{}, a1{}, a2{}, a3{};
        for (int32_t k = 0; k < taps; ++k) {
            const P* s = in[k] + x * step;
            const F4 w = splat<F4>(t.w[k]);
            a0 = a0 + loadV<F4>(s) * w;
            a1 = a1 + loadV<F4>(s + 4 * step) * w;
            a2 = a2 + loadV<F4>(s + 8 * step) * w;
            a3 = a3 + loadV<F4>(s + 12 * step) * w;
        }
        emit(x, a0);
        emit(x + 4, a1);
        emit(x + 8, a2);
        emit(x + 12, a3);
    }
    for (; x + 4 <= n; x += 4) {
        F4 a{};
        for (int32_t k = 0; k < taps; ++k) a = a + loadV<F4>(in[k] + x * step) * splat<F4>(t.w[k]);
        emit(x, a);
    }
    for (; x < n; ++x) {
        float a = 0.0f;
        for (int32_t k = 0; k < taps; ++k) a = a + loadV<float>(in[k] + x * step) * t.w[k];
        emit(x, a);
    }
}

namespace baseline {

// out[x] = fromSum(sum over k of in[k][x] * w[k]) for x < n.
template <class T> void gatherRow(const float* const* in, const Taps& t, int64_t n, T* out) {
    gatherLines(in, t, n, [&](int64_t x, auto v) { putSums<T>(reinterpret_cast<uint8_t*>(out), x, v); });
}

// Four neighbouring outputs of a vertical pass: out[j] from in[j .. j+2r].
template <class T> void gatherRows4(const float* const* in, const Taps& t, int64_t n, T* const* out) {
    for (int32_t j = 0; j < 4; ++j) gatherRow(in + j, t, n, out[j]);
}

// n samples of T as floats.
template <class T> void widen(const T* src, int64_t n, float* dst) {
    for (int64_t i = 0; i < n; ++i) dst[i] = toFloat(sampleAt(src, i));
}

}  // namespace baseline

}  // namespace ox::detail::sep
