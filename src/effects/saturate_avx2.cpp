// The saturation change on AVX2, 32 pixels at a time: the channels'
// roles come from byte comparisons, the new minimum and middle from the
// plain loop's float operations in its order, eight lanes at a time.
#include "effects/detail/saturate_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

namespace {

// x > y for unsigned bytes.
OX_TARGET_AVX2 inline __m128i greater(__m128i x, __m128i y) {
    return _mm_xor_si128(_mm_cmpeq_epi8(_mm_max_epu8(x, y), y), _mm_set1_epi8(-1));
}

// clampToByte of eight floats: maxps gives its second operand for a NaN,
// so NaN becomes 0 as there.
OX_TARGET_AVX2 inline __m256i clampTrunc8(__m256 v) {
    return _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), _mm256_set1_ps(255.0f)));
}

OX_TARGET_AVX2 inline __m128i bytes16(__m256i a, __m256i b) {
    const __m128i wa = _mm_packus_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
    const __m128i wb = _mm_packus_epi32(_mm256_castsi256_si128(b), _mm256_extracti128_si256(b, 1));
    return _mm_packus_epi16(wa, wb);
}

OX_TARGET_AVX2 inline __m256 floats8(__m128i bytes) { return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)); }

// New minimum and middle value of eight pixels from their maximum, minimum
// and middle, with pairTerms and the middle formula evaluated in the same
// order and precision (the fused multiply-add where pairTerms has fmaf).
struct NewValues {
    __m256i lo, mid;
};

OX_TARGET_AVX2 inline NewValues newValues8(__m128i hi, __m128i lo, __m128i mid, __m256 f, __m256 oneMinusF) {
    const __m256 one = _mm256_set1_ps(1.0f);
    const __m256 M = floats8(hi), m = floats8(lo);
    const __m256 k = _mm256_sub_ps(one, _mm256_div_ps(m, M));
    const __m256i newLo = clampTrunc8(_mm256_fmadd_ps(M, oneMinusF, _mm256_mul_ps(f, m)));
    const __m256 newLoF = _mm256_cvtepi32_ps(newLo);
    const __m256 keep = _mm256_sub_ps(one, _mm256_div_ps(newLoF, M));
    const __m256 spread = _mm256_sub_ps(floats8(mid), m);
    const __m256 v = _mm256_add_ps(_mm256_div_ps(_mm256_mul_ps(spread, keep), k), newLoF);
    return {newLo, clampTrunc8(v)};
}

// x > y for unsigned bytes, 32 lanes.
OX_TARGET_AVX2 inline __m256i greater(__m256i x, __m256i y) {
    return _mm256_xor_si256(_mm256_cmpeq_epi8(_mm256_max_epu8(x, y), y), _mm256_set1_epi8(-1));
}

OX_TARGET_AVX2 inline __m128i high8(__m128i v) { return _mm_srli_si128(v, 8); }

// The roles (maximum, middle, minimum) of the three channels follow
// orderOf's comparisons lane by lane, ties included, and the new values
// replace the old ones in their roles; grey pixels (maximum equal to
// minimum) keep their channels. V is __m128i (16 pixels) or __m256i (32,
// two runs of 16 in the two halves); Bytes<sizeof(V)> has its operations.
template <int32_t Size> struct Bytes;
template <> struct Bytes<16> {
    OX_TARGET_AVX2 static __m128i max(__m128i a, __m128i b) { return _mm_max_epu8(a, b); }
    OX_TARGET_AVX2 static __m128i min(__m128i a, __m128i b) { return _mm_min_epu8(a, b); }
    OX_TARGET_AVX2 static __m128i gt(__m128i a, __m128i b) { return greater(a, b); }
    OX_TARGET_AVX2 static __m128i eq(__m128i a, __m128i b) { return _mm_cmpeq_epi8(a, b); }
    OX_TARGET_AVX2 static __m128i and_(__m128i a, __m128i b) { return _mm_and_si128(a, b); }
    OX_TARGET_AVX2 static __m128i andnot(__m128i a, __m128i b) { return _mm_andnot_si128(a, b); }
    OX_TARGET_AVX2 static __m128i or_(__m128i a, __m128i b) { return _mm_or_si128(a, b); }
    OX_TARGET_AVX2 static __m128i ones() { return _mm_set1_epi8(-1); }
    OX_TARGET_AVX2 static __m128i blend(__m128i a, __m128i b, __m128i m) { return _mm_blendv_epi8(a, b, m); }
};
template <> struct Bytes<32> {
    OX_TARGET_AVX2 static __m256i max(__m256i a, __m256i b) { return _mm256_max_epu8(a, b); }
    OX_TARGET_AVX2 static __m256i min(__m256i a, __m256i b) { return _mm256_min_epu8(a, b); }
    OX_TARGET_AVX2 static __m256i gt(__m256i a, __m256i b) { return greater(a, b); }
    OX_TARGET_AVX2 static __m256i eq(__m256i a, __m256i b) { return _mm256_cmpeq_epi8(a, b); }
    OX_TARGET_AVX2 static __m256i and_(__m256i a, __m256i b) { return _mm256_and_si256(a, b); }
    OX_TARGET_AVX2 static __m256i andnot(__m256i a, __m256i b) { return _mm256_andnot_si256(a, b); }
    OX_TARGET_AVX2 static __m256i or_(__m256i a, __m256i b) { return _mm256_or_si256(a, b); }
    OX_TARGET_AVX2 static __m256i ones() { return _mm256_set1_epi8(-1); }
    OX_TARGET_AVX2 static __m256i blend(__m256i a, __m256i b, __m256i m) { return _mm256_blendv_epi8(a, b, m); }
};

// New minimum and middle bytes of one run of sixteen pixels from their
// maximum, minimum and middle, and of two runs side by side.
OX_TARGET_AVX2 inline void newValues(__m128i hi, __m128i lo, __m128i mid, __m256 f, __m256 oneMinusF, __m128i& newLo,
                                     __m128i& newMid) {
    const NewValues first = newValues8(hi, lo, mid, f, oneMinusF);
    const NewValues second = newValues8(high8(hi), high8(lo), high8(mid), f, oneMinusF);
    newLo = bytes16(first.lo, second.lo), newMid = bytes16(first.mid, second.mid);
}

OX_TARGET_AVX2 inline void newValues(__m256i hi, __m256i lo, __m256i mid, __m256 f, __m256 oneMinusF, __m256i& newLo,
                                     __m256i& newMid) {
    __m128i lo0, mid0, lo1, mid1;
    newValues(_mm256_castsi256_si128(hi), _mm256_castsi256_si128(lo), _mm256_castsi256_si128(mid), f, oneMinusF, lo0,
              mid0);
    newValues(_mm256_extracti128_si256(hi, 1), _mm256_extracti128_si256(lo, 1), _mm256_extracti128_si256(mid, 1), f,
              oneMinusF, lo1, mid1);
    newLo = _mm256_inserti128_si256(_mm256_castsi128_si256(lo0), lo1, 1);
    newMid = _mm256_inserti128_si256(_mm256_castsi128_si256(mid0), mid1, 1);
}

template <class V>
OX_TARGET_AVX2 inline void saturated(const V (&v)[3], V (&res)[3], __m256 f, __m256 oneMinusF) {
    using B = Bytes<sizeof(V)>;
    const V b = v[0], g = v[1], r = v[2];
    const V hi = B::max(b, B::max(g, r)), lo = B::min(b, B::min(g, r));
    const V c2 = B::gt(g, r), c3 = B::gt(r, b), c4 = B::gt(r, g);
    const V A = B::gt(b, g);
    const V aC2 = B::and_(A, c2), aN2 = B::andnot(c2, A);
    const V bC4 = B::andnot(A, c4), bN4 = B::andnot(B::or_(A, c4), B::ones());
    const V isLo[3] = {B::andnot(A, B::or_(c4, c3)), aN2, B::or_(aC2, B::andnot(c3, bN4))};
    const V isMid[3] = {B::or_(B::and_(aN2, c3), B::andnot(c3, bN4)), B::or_(aC2, bC4),
                        B::or_(B::andnot(c3, aN2), B::and_(bN4, c3))};
    const V mid = B::or_(B::or_(B::and_(isMid[0], b), B::and_(isMid[1], g)), B::and_(isMid[2], r));
    V newLo, newMid;
    newValues(hi, lo, mid, f, oneMinusF, newLo, newMid);
    const V grey = B::eq(hi, lo);
    for (int32_t c = 0; c < 3; ++c) {
        V o = B::blend(v[c], newMid, isMid[c]);
        o = B::blend(o, newLo, isLo[c]);
        res[c] = B::blend(o, v[c], grey);
    }
}

// Thirty-two pixels at a time, then one block of sixteen if that many are
// left.
template <int32_t In, int32_t Out>
OX_TARGET_AVX2 int32_t saturateLeading(const uint8_t* s, uint8_t* d, int32_t n, const Shuffle16& gather,
                                       const Shuffle16& scatter, float factor) noexcept {
    const __m256 f = _mm256_set1_ps(factor), oneMinusF = _mm256_set1_ps(1.0f - factor);
    int32_t x = 0;
    for (; x + 32 <= n; x += 32, s += 32 * In, d += 32 * Out) {
        __m256i v[3], res[3];
        gather32<In>(s, gather, v);
        saturated(v, res, f, oneMinusF);
        scatter32<Out>(d, scatter, res);
    }
    if (x + 16 <= n) {
        __m128i v[3], res[3];
        gather16<In>(s, gather, v);
        saturated(v, res, f, oneMinusF);
        scatter16<Out>(d, scatter, res);
        x += 16;
    }
    return x;
}

}  // namespace

OX_TARGET_AVX2 int32_t saturateRowAvx2(const uint8_t* s, int32_t inChannels, const Shuffle16& gather, uint8_t* d,
                                       int32_t outChannels, const Shuffle16& scatter, int32_t n,
                                       float factor) noexcept {
    if (inChannels == 3)
        return outChannels == 3 ? saturateLeading<3, 3>(s, d, n, gather, scatter, factor)
                                : saturateLeading<3, 4>(s, d, n, gather, scatter, factor);
    return outChannels == 3 ? saturateLeading<4, 3>(s, d, n, gather, scatter, factor)
                            : saturateLeading<4, 4>(s, d, n, gather, scatter, factor);
}

}  // namespace ox::detail
#endif
