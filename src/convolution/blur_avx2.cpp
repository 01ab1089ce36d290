// The box blur's AVX2 loops: 16 window sums at a time in 16-bit lanes.
// Every sum is an exact integer, so the order in which the lanes form it
// does not matter, and the divider reproduces the float quotient exactly.
#include "convolution/detail/blur_kernels.hpp"

#if OX_HAVE_AVX2_PATH
#include <immintrin.h>

#include <cstring>

namespace ox::detail {

namespace {

// v moved K 16-bit lanes up across the whole register, zeros shifted in.
template <int K> OX_TARGET_AVX2 inline __m256i shiftUp(__m256i v) noexcept {
    const __m256i low = _mm256_permute2x128_si256(v, v, 0x08);  // [0 | low half of v]
    if constexpr (2 * K < 16)
        return _mm256_alignr_epi8(v, low, 16 - 2 * K);
    else if constexpr (2 * K == 16)
        return low;
    else
        return _mm256_slli_si256(low, 2 * K - 16);
}

// Lane j becomes the sum of lanes j, j - S, j - 2S, ... (S = 1 or 3).
template <int S> OX_TARGET_AVX2 inline __m256i stridedPrefix(__m256i v) noexcept {
    if constexpr (S == 1) {
        v = _mm256_add_epi16(v, shiftUp<1>(v));
        v = _mm256_add_epi16(v, shiftUp<2>(v));
        v = _mm256_add_epi16(v, shiftUp<4>(v));
        return _mm256_add_epi16(v, shiftUp<8>(v));
    } else {
        v = _mm256_add_epi16(v, shiftUp<3>(v));
        v = _mm256_add_epi16(v, shiftUp<6>(v));
        return _mm256_add_epi16(v, shiftUp<12>(v));
    }
}

// Shuffle that gives lane j the last lane of its class modulo S of the
// previous block: lane 16 - S + (j mod S), taken from the high half.
template <int S> OX_TARGET_AVX2 inline __m256i carryMask() noexcept {
    alignas(32) uint8_t m[32];
    for (int j = 0; j < 16; ++j) {
        const int idx = 8 - S + j % S;
        m[2 * j] = static_cast<uint8_t>(2 * idx);
        m[2 * j + 1] = static_cast<uint8_t>(2 * idx + 1);
    }
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
}

OX_TARGET_AVX2 inline __m256i divide16(__m256i t, __m256i first, __m256i second) noexcept {
    return _mm256_mulhi_epu16(_mm256_mulhi_epu16(t, first), second);
}

// The 16 quotients (each below 256) as 16 bytes in lane order.
OX_TARGET_AVX2 inline __m128i packBytes(__m256i q) noexcept {
    return _mm256_castsi256_si128(_mm256_permute4x64_epi64(_mm256_packus_epi16(q, q), 0x08));
}

OX_TARGET_AVX2 inline __m256i load16Bytes(const uint8_t* p) noexcept {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

OX_TARGET_AVX2 inline void storeBytes(uint8_t* out, int64_t left, __m128i bytes) noexcept {
    if (left >= 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    } else {
        alignas(16) uint8_t tmp[16];
        _mm_store_si128(reinterpret_cast<__m128i*>(tmp), bytes);
        std::memcpy(out, tmp, static_cast<size_t>(left));
    }
}

// Window sums by differences: W[i] = W[i - S] + line[i + 2rS] - line[i - S],
// a prefix sum of the differences with stride S, carried from block to
// block. The first S sums are formed whole.
template <int S>
OX_TARGET_AVX2 void rowMeans(const uint8_t* line, int64_t count, int32_t r, BoxDivider divide, uint8_t* out) noexcept {
    const int64_t ahead = 2 * static_cast<int64_t>(r) * S;
    const __m256i first = _mm256_set1_epi16(static_cast<int16_t>(divide.first));
    const __m256i second = _mm256_set1_epi16(static_cast<int16_t>(divide.second));
    const __m256i carryShuffle = carryMask<S>();
    alignas(32) uint16_t d[16];
    for (int j = 0; j < 16; ++j) {
        if (j < S) {
            uint32_t sum = 0;
            for (int64_t k = 0; k <= 2 * static_cast<int64_t>(r); ++k) sum += line[j + k * S];
            d[j] = static_cast<uint16_t>(sum);
        } else {
            d[j] = static_cast<uint16_t>(line[j + ahead] - line[j - S]);
        }
    }
    __m256i sums = stridedPrefix<S>(_mm256_load_si256(reinterpret_cast<const __m256i*>(d)));
    storeBytes(out, count, packBytes(divide16(sums, first, second)));
    for (int64_t i = 16; i < count; i += 16) {
        const __m256i carry = _mm256_shuffle_epi8(_mm256_permute2x128_si256(sums, sums, 0x11), carryShuffle);
        const __m256i diff = _mm256_sub_epi16(load16Bytes(line + i + ahead), load16Bytes(line + i - S));
        sums = _mm256_add_epi16(stridedPrefix<S>(diff), carry);
        storeBytes(out + i, count - i, packBytes(divide16(sums, first, second)));
    }
}

}  // namespace

OX_TARGET_AVX2 void boxRowMeansAvx2(const uint8_t* line, int64_t count, int32_t r, int32_t stride, BoxDivider divide,
                                    uint8_t* out) noexcept {
    if (count <= 0) return;
    if (stride == 3)
        rowMeans<3>(line, count, r, divide, out);
    else
        rowMeans<1>(line, count, r, divide, out);
}

OX_TARGET_AVX2 void boxColumnStepAvx2(const uint8_t* enter, const uint8_t* leave, uint16_t* running, uint8_t* out,
                                      int64_t count, BoxDivider divide) noexcept {
    const __m256i first = _mm256_set1_epi16(static_cast<int16_t>(divide.first));
    const __m256i second = _mm256_set1_epi16(static_cast<int16_t>(divide.second));
    int64_t x = 0;
    for (; x + 16 <= count; x += 16) {
        auto* run = reinterpret_cast<__m256i*>(running + x);
        const __m256i t = _mm256_add_epi16(_mm256_loadu_si256(run), load16Bytes(enter + x));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), packBytes(divide16(t, first, second)));
        _mm256_storeu_si256(run, _mm256_sub_epi16(t, load16Bytes(leave + x)));
    }
    for (; x < count; ++x) {
        const auto t = static_cast<uint16_t>(running[x] + enter[x]);
        out[x] = divide(t);
        running[x] = static_cast<uint16_t>(t - leave[x]);
    }
}

}  // namespace ox::detail
#endif
