// The saturation change on AVX2, sixteen pixels at a time: the channels'
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

// Sixteen pixels at a time, up to the last whole sixteen of the row. The
// roles (maximum, middle, minimum) of the three channels follow orderOf's
// comparisons lane by lane, ties included.
template <int32_t In, int32_t Out>
OX_TARGET_AVX2 int32_t saturateLeading(const uint8_t* s, uint8_t* d, int32_t n, const Shuffle16& gather,
                                       const Shuffle16& scatter, float factor) noexcept {
    const __m256 f = _mm256_set1_ps(factor), oneMinusF = _mm256_set1_ps(1.0f - factor);
    int32_t x = 0;
    for (; x + 16 <= n; x += 16, s += 16 * In, d += 16 * Out) {
        __m128i v[3];
        gather16<In>(s, gather, v);
        const __m128i b = v[0], g = v[1], r = v[2];
        const __m128i hi = _mm_max_epu8(b, _mm_max_epu8(g, r)), lo = _mm_min_epu8(b, _mm_min_epu8(g, r));
        const __m128i c1 = greater(b, g), c2 = greater(g, r), c3 = greater(r, b), c4 = greater(r, g);
        const __m128i A = c1;  // b > g
        const __m128i aC2 = _mm_and_si128(A, c2), aN2 = _mm_andnot_si128(c2, A);
        const __m128i bC4 = _mm_andnot_si128(A, c4), bN4 = _mm_andnot_si128(_mm_or_si128(A, c4), _mm_set1_epi8(-1));
        const __m128i isLo[3] = {_mm_andnot_si128(A, _mm_or_si128(c4, c3)), aN2,
                                 _mm_or_si128(aC2, _mm_andnot_si128(c3, bN4))};
        const __m128i isMid[3] = {_mm_or_si128(_mm_and_si128(aN2, c3), _mm_andnot_si128(c3, bN4)),
                                  _mm_or_si128(aC2, bC4),
                                  _mm_or_si128(_mm_andnot_si128(c3, aN2), _mm_and_si128(bN4, c3))};
        const __m128i mid = _mm_or_si128(_mm_or_si128(_mm_and_si128(isMid[0], b), _mm_and_si128(isMid[1], g)),
                                         _mm_and_si128(isMid[2], r));
        const NewValues first = newValues8(hi, lo, mid, f, oneMinusF);
        const NewValues second =
            newValues8(_mm_srli_si128(hi, 8), _mm_srli_si128(lo, 8), _mm_srli_si128(mid, 8), f, oneMinusF);
        const __m128i newLo = bytes16(first.lo, second.lo), newMid = bytes16(first.mid, second.mid);
        // Grey pixels (maximum equal to minimum) keep their channels.
        const __m128i grey = _mm_cmpeq_epi8(hi, lo);
        __m128i res[3];
        for (int32_t c = 0; c < 3; ++c) {
            __m128i o = _mm_blendv_epi8(v[c], newMid, isMid[c]);
            o = _mm_blendv_epi8(o, newLo, isLo[c]);
            res[c] = _mm_blendv_epi8(o, v[c], grey);
        }
        scatter16<Out>(d, scatter, res);
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
