// The saturation change on AVX2, 32 pixels at a time: the channels'
// roles come from byte comparisons, the new minimum and middle from the
// plain loop's float operations in its order, eight lanes at a time.
#include "effects/detail/saturate_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

namespace ox::detail {

namespace {

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

// x > y for unsigned bytes.
OX_TARGET_AVX2 inline __m256i greater(__m256i x, __m256i y) {
    return _mm256_xor_si256(_mm256_cmpeq_epi8(_mm256_max_epu8(x, y), y), _mm256_set1_epi8(-1));
}

// New minimum and middle bytes of sixteen pixels from their maximum,
// minimum and middle.
OX_TARGET_AVX2 inline void newValues16(__m128i hi, __m128i lo, __m128i mid, __m256 f, __m256 oneMinusF, __m128i& newLo,
                                       __m128i& newMid) {
    const NewValues first = newValues8(hi, lo, mid, f, oneMinusF);
    const NewValues second =
        newValues8(_mm_srli_si128(hi, 8), _mm_srli_si128(lo, 8), _mm_srli_si128(mid, 8), f, oneMinusF);
    newLo = bytes16(first.lo, second.lo), newMid = bytes16(first.mid, second.mid);
}

// Thirty-two pixels at a time, two runs of sixteen side by side in the
// halves of each register. The roles (maximum, middle, minimum) of the
// three channels follow orderOf's comparisons lane by lane, ties included;
// grey pixels (maximum equal to minimum) keep their channels.
template <int32_t In, int32_t Out>
OX_TARGET_AVX2 int32_t saturateLeading(const uint8_t* s, uint8_t* d, int32_t n, const Shuffle16& gather,
                                       const Shuffle16& scatter, float factor) noexcept {
    const __m256 f = _mm256_set1_ps(factor), oneMinusF = _mm256_set1_ps(1.0f - factor);
    const __m256i ones = _mm256_set1_epi8(-1);
    int32_t x = 0;
    for (; x + 32 <= n; x += 32, s += 32 * In, d += 32 * Out) {
        __m256i v[3];
        gather32<In>(s, gather, v);
        const __m256i b = v[0], g = v[1], r = v[2];
        const __m256i hi = _mm256_max_epu8(b, _mm256_max_epu8(g, r)), lo = _mm256_min_epu8(b, _mm256_min_epu8(g, r));
        const __m256i c2 = greater(g, r), c3 = greater(r, b), c4 = greater(r, g);
        const __m256i A = greater(b, g);
        const __m256i aC2 = _mm256_and_si256(A, c2), aN2 = _mm256_andnot_si256(c2, A);
        const __m256i bC4 = _mm256_andnot_si256(A, c4), bN4 = _mm256_andnot_si256(_mm256_or_si256(A, c4), ones);
        const __m256i isLo[3] = {_mm256_andnot_si256(A, _mm256_or_si256(c4, c3)), aN2,
                                 _mm256_or_si256(aC2, _mm256_andnot_si256(c3, bN4))};
        const __m256i isMid[3] = {_mm256_or_si256(_mm256_and_si256(aN2, c3), _mm256_andnot_si256(c3, bN4)),
                                  _mm256_or_si256(aC2, bC4),
                                  _mm256_or_si256(_mm256_andnot_si256(c3, aN2), _mm256_and_si256(bN4, c3))};
        const __m256i mid = _mm256_or_si256(
            _mm256_or_si256(_mm256_and_si256(isMid[0], b), _mm256_and_si256(isMid[1], g)), _mm256_and_si256(isMid[2], r));
        __m128i lo0, mid0, lo1, mid1;
        newValues16(_mm256_castsi256_si128(hi), _mm256_castsi256_si128(lo), _mm256_castsi256_si128(mid), f, oneMinusF,
                    lo0, mid0);
        newValues16(_mm256_extracti128_si256(hi, 1), _mm256_extracti128_si256(lo, 1), _mm256_extracti128_si256(mid, 1), f,
                    oneMinusF, lo1, mid1);
        const __m256i newLo = _mm256_inserti128_si256(_mm256_castsi128_si256(lo0), lo1, 1);
        const __m256i newMid = _mm256_inserti128_si256(_mm256_castsi128_si256(mid0), mid1, 1);
        const __m256i grey = _mm256_cmpeq_epi8(hi, lo);
        __m256i res[3];
        for (int32_t c = 0; c < 3; ++c) {
            __m256i o = _mm256_blendv_epi8(v[c], newMid, isMid[c]);
            o = _mm256_blendv_epi8(o, newLo, isLo[c]);
            res[c] = _mm256_blendv_epi8(o, v[c], grey);
        }
        scatter32<Out>(d, scatter, res);
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
