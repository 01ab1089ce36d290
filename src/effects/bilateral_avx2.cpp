// The colour worker's radius-1 passes on AVX2: eight output pixels at a
// time, each computed with exactly the plain loop's sequence of operations
// (the same taps in the same order, W += w, one fused multiply-add per
// channel sum, one reciprocal, the same clamp and truncation), so the bytes
// are those of the plain loop. Channel values are read as floats (every
// byte is one exactly), the squared distance is formed in float on top of
// 2^23 (exact: integers below 2^24), whose bits then index the compact
// table, one scalar load per lane (on the processors measured, AVX2
// gathers were slower).
//
// Border pixels run the same nine taps with the weight of each neighbour
// outside the image forced to +0: W + 0 and fmaf(0, v, S) leave W and S
// as they are (both start at +0 and only grow, v is finite), so such a tap
// changes nothing, exactly as the plain loop's skipping it.
#include "core/detail/isa.hpp"
#include "effects/detail/bilateral_kernel.hpp"

#if OX_HAVE_AVX2_PATH

#include <immintrin.h>

#include <cstring>
#include <utility>

#include "core/detail/handles.hpp"
#include "core/detail/size.hpp"

#define OX_AVX2_INLINE [[gnu::always_inline, gnu::target("avx2,fma")]] inline

namespace ox::detail::bilateral {

namespace {

constexpr int32_t kRow = OX_BILATERAL_SPACE_SIZE;

// Eight pixels' channels as floats.
struct Px {
    __m256 c0, c1, c2;
};

// The nine spatial weights in visiting order (dy, then dx), and the
// centre's whole weight: its difference is 0, so its range weight is the
// table's first entry for every pixel.
struct Weights {
    __m256 space[9];
    __m256 centre;
    const float* byNorm;
};

OX_AVX2_INLINE Weights weightsOf(const float* space, const float* byNorm) {
    Weights k;
    for (int32_t dy = -1; dy <= 1; ++dy)
        for (int32_t dx = -1; dx <= 1; ++dx) k.space[(dy + 1) * 3 + dx + 1] = _mm256_set1_ps(space[dy * kRow + dx]);
    k.centre = _mm256_set1_ps(space[0] * byNorm[0]);
    k.byNorm = byNorm;
    return k;
}

struct Sums {
    __m256 W, S0, S1, S2;
};

OX_AVX2_INLINE void accumulate(Sums& s, __m256 w, const Px& v) {
    s.W = _mm256_add_ps(s.W, w);
    s.S0 = _mm256_fmadd_ps(w, v.c0, s.S0);
    s.S1 = _mm256_fmadd_ps(w, v.c1, s.S1);
    s.S2 = _mm256_fmadd_ps(w, v.c2, s.S2);
}

// 2^23 and its bits: a float in [2^23, 2^24) holds the integer above 2^23
// in its low mantissa bits, so 2^23 + n, n below 2^23, has the bits
// kBiasBits + n.
constexpr float kBias = 8388608.0f;
constexpr uint32_t kBiasBits = 0x4B000000;

// The range weight of each lane's pair of pixels p and q: the squared
// distance indexes the compact table. It depends on the distance only, so a
// pair weighs the same from either end. Formed on top of kBias, the
// distance needs no conversion: the float's bits less kBiasBits are the
// index, and the table's address less kBiasBits entries absorbs the
// difference (as an integer; the address read is inside the table).
OX_AVX2_INLINE __m256 rangeOf(const Px& p, const Px& q, const float* byNorm) {
    const __m256 d0 = _mm256_sub_ps(q.c0, p.c0), d1 = _mm256_sub_ps(q.c1, p.c1), d2 = _mm256_sub_ps(q.c2, p.c2);
    const __m256 norm = _mm256_fmadd_ps(d2, d2, _mm256_fmadd_ps(d1, d1, _mm256_fmadd_ps(d0, d0, _mm256_set1_ps(kBias))));
    const __m256i i = _mm256_castps_si256(norm);
    const __m128i lo = _mm256_castsi256_si128(i);
    const uint64_t a = static_cast<uint64_t>(_mm_cvtsi128_si64(lo)), b = static_cast<uint64_t>(_mm_extract_epi64(lo, 1));
    const __m128i hi = _mm256_extracti128_si256(i, 1);
    const uint64_t c = static_cast<uint64_t>(_mm_cvtsi128_si64(hi)), d = static_cast<uint64_t>(_mm_extract_epi64(hi, 1));
    const uintptr_t base = reinterpret_cast<uintptr_t>(byNorm) - uintptr_t{kBiasBits} * sizeof(float);
    auto at = [base](uint64_t bits) { return *reinterpret_cast<const float*>(base + bits * sizeof(float)); };
    const __m128 x = _mm_setr_ps(at(static_cast<uint32_t>(a)), at(a >> 32), at(static_cast<uint32_t>(b)), at(b >> 32));
    const __m128 y = _mm_setr_ps(at(static_cast<uint32_t>(c)), at(c >> 32), at(static_cast<uint32_t>(d)), at(d >> 32));
    return _mm256_set_m128(y, x);
}

// Neighbour v with range weight g: W += w and the three sums, w being the
// spatial weight times g. `keep` is all ones for a neighbour inside the
// image and 0 outside (used when Masked).
template <bool Masked> OX_AVX2_INLINE void weighed(Sums& s, const Px& v, __m256 g, __m256 space, __m256 keep) {
    __m256 w = _mm256_mul_ps(space, g);
    if constexpr (Masked) w = _mm256_and_ps(w, keep);
    accumulate(s, w, v);
}

// Sk * (1 / W) clamped to 0..255, to be truncated. The maximum against 0
// comes first and takes its second operand for a NaN, which the plain loop
// turns into 0 as well.
OX_AVX2_INLINE __m256 clampedOf(__m256 S, __m256 inv) {
    return _mm256_min_ps(_mm256_max_ps(_mm256_mul_ps(S, inv), _mm256_setzero_ps()), _mm256_set1_ps(255.0f));
}

// clampToByte(Sk * (1 / W)) as a float.
OX_AVX2_INLINE __m256 outputOf(__m256 S, __m256 inv) {
    return _mm256_round_ps(clampedOf(S, inv), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
}

// Output bytes 0-2 of each lane, truncated.
OX_AVX2_INLINE __m256i packed(const Px& o) {
    return _mm256_or_si256(_mm256_cvttps_epi32(o.c0), _mm256_or_si256(_mm256_slli_epi32(_mm256_cvttps_epi32(o.c1), 8),
                                                                       _mm256_slli_epi32(_mm256_cvttps_epi32(o.c2), 16)));
}

// Bytes 0-2 of each lane of `v` as floats.
OX_AVX2_INLINE Px unpacked(__m256i v) {
    const __m256i low = _mm256_set1_epi32(0xff);
    return {_mm256_cvtepi32_ps(_mm256_and_si256(v, low)),
            _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(v, 8), low)),
            _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(v, 16), low))};
}

// Masks of the nine taps from the lanes' four borders (all ones: the
// neighbour on that side exists).
OX_AVX2_INLINE void tapMasks(__m256 (&keep)[9], __m256 top, __m256 bottom, __m256 left, __m256 right) {
    const __m256 all = _mm256_castsi256_ps(_mm256_set1_epi32(-1));
    keep[0] = _mm256_and_ps(top, left), keep[1] = top, keep[2] = _mm256_and_ps(top, right);
    keep[3] = left, keep[4] = all, keep[5] = right;
    keep[6] = _mm256_and_ps(bottom, left), keep[7] = bottom, keep[8] = _mm256_and_ps(bottom, right);
}

OX_AVX2_INLINE __m256 maskOf(__m256i m) { return _mm256_castsi256_ps(m); }

// ---- Separate buffers: eight neighbouring pixels of a row ----------------

// Pixels p[0..7] (24 bytes, nothing read beyond), one per lane.
OX_AVX2_INLINE __m256i load8(const uint8_t* p) {
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                            4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1);
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1), spread);
}

// The eight lanes' bytes 0-2 as 24 packed bytes at p.
OX_AVX2_INLINE void store8(uint8_t* p, __m256i v) {
    const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                          0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i bytes =
        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pack), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(bytes));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), _mm256_extracti128_si256(bytes, 1));
}

// A source row as three float planes with one zero cell before and after
// (cell i holds pixel i - 1).
struct PlaneRow {
    float* c[3];
};

OX_AVX2_INLINE void convertRow(const PlaneRow& r, const uint8_t* src, int32_t w) {
    for (int32_t x = 0;; x += 8) {
        x = std::min(x, w - 8);
        const Px v = unpacked(load8(src + 3 * static_cast<int64_t>(x)));
        _mm256_storeu_ps(r.c[0] + x + 1, v.c0);
        _mm256_storeu_ps(r.c[1] + x + 1, v.c1);
        _mm256_storeu_ps(r.c[2] + x + 1, v.c2);
        if (x == w - 8) break;
    }
}

// The separate pass keeps its rows in one block, each row `cells` floats
// with pixel x in cell x + 1 and zero cells outside the image: a plane row
// is three such rows (channels 0, 1, 2), a pair row four: the range
// weights of pixel x's pairs with its right neighbour, the one below, below
// and right, and of its right neighbour with the one below it. Each pair
// serves both of its pixels, so an output pixel's eight neighbours cost
// four lookups. A group of pixels x..x + 7 sees every row from cell x on.
struct Rows {
    const float *up, *mid, *down, *above;  // planes y - 1, y, y + 1; pairs y - 1
    float* here;                           // pairs y
    int64_t cells;
};

OX_AVX2_INLINE Rows movedBy(const Rows& r, int32_t x) {
    return {r.up + x, r.mid + x, r.down + x, r.above + x, r.here + x, r.cells};
}

// The cells of a row: w + 2 rounded up to an odd multiple of 16, so that
// rows lie an odd multiple of 64 bytes apart modulo 4 KiB. A group reads and
// writes its twenty rows at the same x, and a load whose address matches a
// pending store's in the low 12 bits waits for it as if they overlapped:
// with rows 4104 bytes apart (w = 1024) that cost a quarter of the pass.
// With these strides the twenty rows sit at least 64 bytes apart in that
// window, farther than one access reaches.
inline int64_t separateRowCells(int32_t w) { return ((static_cast<int64_t>(w) + 2 + 15) / 16 * 16) | 16; }

OX_AVX2_INLINE Px loadPx(const float* plane, int64_t cells, int32_t dx) {
    return {_mm256_loadu_ps(plane + dx), _mm256_loadu_ps(plane + cells + dx), _mm256_loadu_ps(plane + 2 * cells + dx)};
}

// A pair's weight as its two pixels use it. When the spatial weights of
// opposite offsets are equal (as every table the library builds has them),
// the product of spatial and range weight is the same float from either
// end and is stored once (Premultiplied); otherwise each use multiplies.
template <bool Premultiplied> OX_AVX2_INLINE __m256 stored(__m256 space, __m256 g) {
    if constexpr (Premultiplied) return _mm256_mul_ps(space, g);
    else return g;
}

template <bool Masked, bool Premultiplied>
OX_AVX2_INLINE void paired(Sums& s, const Px& v, __m256 pair, __m256 space, __m256 keep) {
    __m256 w = Premultiplied ? pair : _mm256_mul_ps(space, pair);
    if constexpr (Masked) w = _mm256_and_ps(w, keep);
    accumulate(s, w, v);
}

enum PairRow { H, V, D, A };

// The pairs the group's pixels start, for this row's outputs and the next
// row's. A row's pairs are all made before its outputs: each group's
// lookups are then independent of the sums, and the processor overlaps the
// groups' work instead of waiting on each group's lookups before its sums.
template <bool Premultiplied> OX_AVX2_INLINE void separatePairs(const Rows& r, const Weights& k) {
    const int64_t n = r.cells;
    const Px centre = loadPx(r.mid, n, 1), right = loadPx(r.mid, n, 2), below = loadPx(r.down, n, 1),
             belowRight = loadPx(r.down, n, 2);
    _mm256_storeu_ps(r.here + H * n + 1, stored<Premultiplied>(k.space[5], rangeOf(centre, right, k.byNorm)));
    _mm256_storeu_ps(r.here + V * n + 1, stored<Premultiplied>(k.space[7], rangeOf(centre, below, k.byNorm)));
    _mm256_storeu_ps(r.here + D * n + 1, stored<Premultiplied>(k.space[8], rangeOf(centre, belowRight, k.byNorm)));
    _mm256_storeu_ps(r.here + A * n + 1, stored<Premultiplied>(k.space[6], rangeOf(right, below, k.byNorm)));
}

// The group's outputs from the pairs of rows y - 1 and y.
template <bool Masked, bool Premultiplied>
OX_AVX2_INLINE void separateGroup(const Rows& r, uint8_t* out, const __m256 (&keep)[9], const Weights& k) {
    const int64_t n = r.cells;
    Sums s{_mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps()};
    paired<Masked, Premultiplied>(s, loadPx(r.up, n, 0), _mm256_loadu_ps(r.above + D * n), k.space[0], keep[0]);
    paired<Masked, Premultiplied>(s, loadPx(r.up, n, 1), _mm256_loadu_ps(r.above + V * n + 1), k.space[1], keep[1]);
    paired<Masked, Premultiplied>(s, loadPx(r.up, n, 2), _mm256_loadu_ps(r.above + A * n + 1), k.space[2], keep[2]);
    paired<Masked, Premultiplied>(s, loadPx(r.mid, n, 0), _mm256_loadu_ps(r.here + H * n), k.space[3], keep[3]);
    accumulate(s, k.centre, loadPx(r.mid, n, 1));
    paired<Masked, Premultiplied>(s, loadPx(r.mid, n, 2), _mm256_loadu_ps(r.here + H * n + 1), k.space[5], keep[5]);
    paired<Masked, Premultiplied>(s, loadPx(r.down, n, 0), _mm256_loadu_ps(r.here + A * n), k.space[6], keep[6]);
    paired<Masked, Premultiplied>(s, loadPx(r.down, n, 1), _mm256_loadu_ps(r.here + V * n + 1), k.space[7], keep[7]);
    paired<Masked, Premultiplied>(s, loadPx(r.down, n, 2), _mm256_loadu_ps(r.here + D * n + 1), k.space[8], keep[8]);
    const __m256 inv = _mm256_div_ps(_mm256_set1_ps(1.0f), s.W);
    store8(out, packed({clampedOf(s.S0, inv), clampedOf(s.S1, inv), clampedOf(s.S2, inv)}));
}

// A group with the neighbours outside the image masked: those of the rows
// above and below it (`top`, `bottom`) and of the columns left and right.
template <bool Premultiplied>
OX_AVX2_INLINE void maskedGroup(const Rows& rows, int32_t x, int32_t w, __m256 top, __m256 bottom, uint8_t* out,
                                const Weights& k) {
    const __m256i at = _mm256_add_epi32(_mm256_set1_epi32(x), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    __m256 keep[9];
    tapMasks(keep, top, bottom, maskOf(_mm256_cmpgt_epi32(at, _mm256_setzero_si256())),
             maskOf(_mm256_cmpgt_epi32(_mm256_set1_epi32(w - 1), at)));
    separateGroup<true, Premultiplied>(movedBy(rows, x), out + 3 * static_cast<int64_t>(x), keep, k);
}

// The rows of a separate pass. Groups of eight from x = 0; the last ends at
// w - 1 and may overlap the one before, which only writes the same values
// again.
template <bool Premultiplied>
OX_AVX2_INLINE void separateRows(const ColourPass& p, float* block, int64_t cells, const Weights& k) {
    const int32_t w = p.src.width, h = p.src.height, last = w - 8;
    auto plane = [&](int32_t y) { return block + 3 * cells * (y < 0 || y >= h ? 3 : y % 3); };
    auto pairs = [&](int32_t y) { return block + 12 * cells + 4 * cells * (y & 1); };
    const __m256 all = maskOf(_mm256_set1_epi32(-1));
    __m256 none[9];
    tapMasks(none, all, all, all, all);
    convertRow({{plane(0), plane(0) + cells, plane(0) + 2 * cells}}, p.src.row(0), w);
    for (int32_t y = 0; y < h; ++y) {
        if (y + 1 < h) convertRow({{plane(y + 1), plane(y + 1) + cells, plane(y + 1) + 2 * cells}}, p.src.row(y + 1), w);
        const Rows rows{plane(y - 1), plane(y), plane(y + 1), pairs(y - 1), pairs(y), cells};
        uint8_t* out = p.dst.row(y);
        for (int32_t x = 0; x < last; x += 8) separatePairs<Premultiplied>(movedBy(rows, x), k);
        separatePairs<Premultiplied>(movedBy(rows, last), k);

        const __m256 top = y > 0 ? all : _mm256_setzero_ps(), bottom = y < h - 1 ? all : _mm256_setzero_ps();
        maskedGroup<Premultiplied>(rows, 0, w, top, bottom, out, k);
        for (int32_t x = 8; x < last; x += 8) {
            if (y == 0 || y == h - 1) maskedGroup<Premultiplied>(rows, x, w, top, bottom, out, k);
            else separateGroup<false, Premultiplied>(movedBy(rows, x), out + 3 * static_cast<int64_t>(x), none, k);
        }
        if (last > 0) maskedGroup<Premultiplied>(rows, last, w, top, bottom, out, k);
    }
}

}  // namespace

OX_TARGET_AVX2 bool colourRadius1SeparateAvx2(const ColourPass& p, const float* byNorm) {
    const int32_t w = p.src.width;
    if (w < 8) {  // narrower than one group
        filterColourRadius1(p, NormRange{byNorm});
        return true;
    }
    // Four plane rows (y - 1, y and y + 1 by y mod 3, and one of zeros for
    // the rows outside the image) and two pair rows (rows y - 1 and y).
    const int64_t cells = separateRowCells(w);
    const Count bytes = checkedProduct({4 * 3 + 2 * 4, cells, static_cast<int64_t>(sizeof(float))});
    Buffer memory = bytes ? allocateZeroed(static_cast<size_t>(*bytes)) : nullptr;
    if (!memory) return false;
    float* block = reinterpret_cast<float*>(memory.get());
    const Weights k = weightsOf(p.space, byNorm);
    auto same = [&](int32_t dy, int32_t dx) {
        return std::memcmp(&p.space[dy * kRow + dx], &p.space[-dy * kRow - dx], sizeof(float)) == 0;
    };
    if (same(1, 1) && same(1, 0) && same(1, -1) && same(0, 1)) separateRows<true>(p, block, cells, k);
    else separateRows<false>(p, block, cells, k);
    return true;
}

// ---- In place: a wavefront across rows ------------------------------------
//
// Pixel (x, y) of an in-place pass reads the new (x - 1, y) and the new row
// above, and the old values right and below: with t = x + 2y, it needs the
// pixels of t - 1, t - 2 and t - 3 done and those of t + 1 .. t + 3 not yet.
// Pixels of equal t are independent, so a band of eight rows is swept with
// lane j on row y0 + j at x = s - 2j for step s = 0, 1, ...
//
// The band is seen through a skewed copy: cell k of copy row s holds pixel
// (s - 2(k - 1), y0 + k - 1), k = 0..9 covering the row above the band to
// the row below it. Neighbour (dy, dx) of every lane at step s is then the
// eight cells from k = dy + 1 of copy row s + dx + 2dy: one load. Copy row
// s + 4 (kAhead) is filled from the image at step s (all of it still old,
// or final above the band), and each step's outputs go into its copy row,
// into the image, and on in registers to the next step, which reads two of
// them.
// Cells 0 and 9, the rows above and below the band, are final before the
// band starts and are written ahead, many copy rows at a time.

namespace {

constexpr int32_t kCells = 16;  // cells 0..9 used: a copy row is 64 bytes per channel
constexpr int32_t kStrip = 64;  // copy rows held at once
constexpr int32_t kAhead = 4;   // step s fills copy row s + kAhead (s - 3 .. s + 3 are read)

constexpr int32_t kEdge = 24;  // zero cells before and after a row of planes

// How a step finds the neighbours outside the image: None (there are
// none: a band inside the image, lanes within its columns), Rows (lanes
// within the columns, in a band at the image's top or bottom: the band's
// masks) or Any (masks of the step's own lanes).
enum class Edge { None, Rows, Any };

struct Wave {
    uint8_t* base;  // row y0
    int64_t stride;
    int32_t w, h, y0, rows;  // rows: band rows inside the image (1..8)
    __m256i gatherOffset;    // j * (stride - 6) - 1
    __m256i twoLanes;        // 2j
    __m256i laneRows;        // j < rows
    int64_t laneStep;        // stride - 6: lane j's pixel at step s is 3s + j * laneStep beyond base
    // Where a band has rows outside the image (its last rows), steps inside
    // the image's columns read lane j from row min(j, rows - 1).
    int64_t laneFrom[8];
    // The masks of the nine taps for the steps whose lanes all lie inside
    // the image's columns: only the rows above and below it are outside.
    __m256 bandKeep[9];
    // The rows above and below the band as planes, pixel x in cell x + kEdge.
    PlaneRow above, below;
    // Consecutive copy rows from row `origin` on, the three channels of a
    // row together: everything step s reads lies at fixed offsets from its
    // own row. When the strip is full, the rows still read move to its front
    // (makeRoom). `last` is the last copy row a step reads.
    int32_t origin, last;
    alignas(64) float strip[kStrip][3][kCells];
};

// Copy row s. A step takes it once and reaches everything else it reads
// at constant offsets from it (cellAt).
OX_AVX2_INLINE float* rowOf(Wave& v, int32_t s) {
    return &v.strip[0][0][0] + static_cast<int64_t>(s - v.origin) * (3 * kCells);
}

// Cell k of channel c of copy row s + d, from row s.
OX_AVX2_INLINE float* cellAt(float* row, int32_t c, int32_t d, int32_t k) { return row + (d * 3 + c) * kCells + k; }

// Cells 1..8 (the lanes) of a copy row.
OX_AVX2_INLINE void putLanes(float* row, const Px& px) {
    _mm256_storeu_ps(cellAt(row, 0, 0, 1), px.c0);
    _mm256_storeu_ps(cellAt(row, 1, 0, 1), px.c1);
    _mm256_storeu_ps(cellAt(row, 2, 0, 1), px.c2);
}

// Cells 0 and 9 of copy rows from..to that a step reads: the pixels of the
// rows above and below the band.
OX_AVX2_INLINE void edgeCells(Wave& v, int32_t from, int32_t to) {
    to = std::min(to, v.last);
    if (from > to) return;
    float* row = rowOf(v, from);
    for (int32_t s = from; s <= to; ++s, row += 3 * kCells)
        for (int32_t c = 0; c < 3; ++c) {
            *cellAt(row, c, 0, 0) = v.above.c[c][s + 2 + kEdge];
            *cellAt(row, c, 0, 9) = v.below.c[c][s - 16 + kEdge];
        }
}

// Room in the strip for copy rows up to `row`, with step s next: rows
// s - 3 .. s + kAhead - 1, all that is filled and still read, move to the
// front when it has none.
OX_AVX2_INLINE void makeRoom(Wave& v, int32_t s, int32_t row) {
    if (row - v.origin < kStrip) return;
    std::memmove(v.strip[0], v.strip[s - 3 - v.origin], (kAhead + 3) * sizeof v.strip[0]);
    v.origin = s - 3;
    edgeCells(v, s + kAhead, v.origin + kStrip - 1);
}

// One cell from the image, or zeros for a pixel outside it.
OX_AVX2_INLINE void fillCell(Wave& v, int32_t s, int32_t k) {
    const int32_t x = s - 2 * (k - 1), y = v.y0 + k - 1;
    const bool inside = x >= 0 && x < v.w && y >= 0 && y < v.h;
    const uint8_t* px = inside ? v.base + (k - 1) * v.stride + 3 * static_cast<int64_t>(x) : nullptr;
    for (int32_t c = 0; c < 3; ++c) *cellAt(rowOf(v, s), c, 0, k) = inside ? static_cast<float>(px[c]) : 0.0f;
}

// A row of pixels (null: outside the image, zeros) into planes with kEdge
// zero cells on either side.
OX_AVX2_INLINE void planeRow(const PlaneRow& r, const uint8_t* src, int32_t w) {
    if (!src) {
        for (int32_t c = 0; c < 3; ++c) std::memset(r.c[c] + kEdge, 0, static_cast<size_t>(w) * sizeof(float));
    } else if (w >= 8) {
        convertRow({{r.c[0] + kEdge - 1, r.c[1] + kEdge - 1, r.c[2] + kEdge - 1}}, src, w);
    } else {
        for (int32_t x = 0; x < w; ++x)
            for (int32_t c = 0; c < 3; ++c) r.c[c][kEdge + x] = static_cast<float>(src[3 * x + c]);
    }
}

// Copy row s. The band's lanes are gathered as the 4 bytes ending with
// their pixel, so that the buffer's last pixel is never overrun; the one
// pixel with no byte before it, the buffer's first, is read on its own.
OX_AVX2_INLINE void fillRow(Wave& v, int32_t s) {
    const __m256i x = _mm256_sub_epi32(_mm256_set1_epi32(s), v.twoLanes);
    __m256i inside = _mm256_and_si256(v.laneRows, _mm256_and_si256(_mm256_cmpgt_epi32(x, _mm256_set1_epi32(-1)),
                                                                   _mm256_cmpgt_epi32(_mm256_set1_epi32(v.w), x)));
    const bool origin = v.y0 == 0 && s == 0;
    if (origin) inside = _mm256_blend_epi32(inside, _mm256_setzero_si256(), 1);
    const __m256i index = _mm256_add_epi32(v.gatherOffset, _mm256_set1_epi32(3 * s));
    const __m256i raw =
        _mm256_mask_i32gather_epi32(_mm256_setzero_si256(), reinterpret_cast<const int*>(v.base), index, inside, 1);
    const Px px = unpacked(_mm256_srli_epi32(raw, 8));
    putLanes(rowOf(v, s), px);
    if (origin) fillCell(v, s, 1);
}

// Copy row s when every lane's pixel lies inside the image's columns and
// is not the buffer's first: eight loads instead of a gather. Lanes below
// the image (Edge::Rows) read the band's last row again: their neighbours
// above weigh them 0 and their outputs go nowhere.
template <Edge E> OX_AVX2_INLINE void fillRowInside(Wave& v, int32_t s) {
    const uint8_t* at = v.base + (3 * static_cast<int64_t>(s) - 1);
    auto word = [&](int32_t j) {
        int32_t w;
        std::memcpy(&w, at + (E == Edge::None ? j * v.laneStep : v.laneFrom[j]), 4);
        return w;
    };
    __m128i lo = _mm_cvtsi32_si128(word(0)), hi = _mm_cvtsi32_si128(word(4));
    lo = _mm_insert_epi32(lo, word(1), 1), hi = _mm_insert_epi32(hi, word(5), 1);
    lo = _mm_insert_epi32(lo, word(2), 2), hi = _mm_insert_epi32(hi, word(6), 2);
    lo = _mm_insert_epi32(lo, word(3), 3), hi = _mm_insert_epi32(hi, word(7), 3);
    const Px px = unpacked(_mm256_srli_epi32(_mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1), 8));
    putLanes(rowOf(v, s), px);
}

OX_AVX2_INLINE Px loadCells(float* row, int32_t d, int32_t k) {
    return {_mm256_loadu_ps(cellAt(row, 0, d, k)), _mm256_loadu_ps(cellAt(row, 1, d, k)),
            _mm256_loadu_ps(cellAt(row, 2, d, k))};
}

// The lanes' neighbours up and right: the previous step's outputs moved one
// lane down, lane 0 from the row above the band.
OX_AVX2_INLINE __m256 shiftedIn(__m256 previous, float above) {
    const __m256 moved = _mm256_permutevar8x32_ps(previous, _mm256_setr_epi32(0, 0, 1, 2, 3, 4, 5, 6));
    return _mm256_blend_ps(moved, _mm256_set1_ps(above), 1);
}

// The masks of the nine taps of step s (lanes or neighbours outside the
// image: 0).
OX_AVX2_INLINE void stepMasks(const Wave& v, int32_t s, __m256 (&keep)[9]) {
    const __m256i x = _mm256_sub_epi32(_mm256_set1_epi32(s), v.twoLanes);
    const __m256i y = _mm256_add_epi32(_mm256_set1_epi32(v.y0), _mm256_srli_epi32(v.twoLanes, 1));
    tapMasks(keep, maskOf(_mm256_cmpgt_epi32(y, _mm256_setzero_si256())),
             maskOf(_mm256_cmpgt_epi32(_mm256_set1_epi32(v.h - 1), y)),
             maskOf(_mm256_cmpgt_epi32(x, _mm256_setzero_si256())),
             maskOf(_mm256_cmpgt_epi32(_mm256_set1_epi32(v.w - 1), x)));
}


// A tap's whole weight: spatial weight times range weight, 0 where masked.
template <Edge E> OX_AVX2_INLINE __m256 tapWeight(__m256 g, __m256 space, __m256 keep) {
    const __m256 w = _mm256_mul_ps(space, g);
    if constexpr (E != Edge::None) return _mm256_and_ps(w, keep);
    return w;
}

// The weights of the six taps of step s that need no output of step s - 1:
// up-left and up (outputs of steps s - 3 and s - 2) and the four old
// neighbours right and below. They are formed a step early, so that their
// lookups overlap the previous step's sums instead of lengthening the one
// chain the wavefront has: step s - 1's outputs, the lookups of the two
// taps that read them, and step s's sums.
struct Early {
    __m256 w[6];  // up-left, up, right, below-left, below, below-right
};

template <Edge E> OX_AVX2_INLINE void earlyWeights(Wave& v, int32_t s, float* const row, const Weights& k, Early& e) {
    __m256 own[9]{};  // read only with an edge
    if constexpr (E == Edge::Any) stepMasks(v, s, own);
    const __m256(&keep)[9] = E == Edge::Rows ? v.bandKeep : own;
    const Px c = loadCells(row, 0, 1);
    e.w[0] = tapWeight<E>(rangeOf(c, loadCells(row, -3, 0), k.byNorm), k.space[0], keep[0]);
    e.w[1] = tapWeight<E>(rangeOf(c, loadCells(row, -2, 0), k.byNorm), k.space[1], keep[1]);
    e.w[2] = tapWeight<E>(rangeOf(c, loadCells(row, 1, 1), k.byNorm), k.space[5], keep[5]);
    e.w[3] = tapWeight<E>(rangeOf(c, loadCells(row, 1, 2), k.byNorm), k.space[6], keep[6]);
    e.w[4] = tapWeight<E>(rangeOf(c, loadCells(row, 2, 2), k.byNorm), k.space[7], keep[7]);
    e.w[5] = tapWeight<E>(rangeOf(c, loadCells(row, 3, 2), k.byNorm), k.space[8], keep[8]);
}

// Step s: its outputs from the early weights and the two taps that read
// step s - 1's outputs (`previous`), in the plain loop's tap order.
template <Edge E>
OX_AVX2_INLINE void waveStep(Wave& v, int32_t s, float* const row, Px& previous, const Weights& k, const Early& e,
                             __m256i* staged) {
    const Px c = loadCells(row, 0, 1);
    __m256 own[9]{};  // read only with an edge
    if constexpr (E == Edge::Any) stepMasks(v, s, own);
    const __m256(&keep)[9] = E == Edge::Rows ? v.bandKeep : own;
    const Px upRight{shiftedIn(previous.c0, *cellAt(row, 0, -1, 0)), shiftedIn(previous.c1, *cellAt(row, 1, -1, 0)),
                     shiftedIn(previous.c2, *cellAt(row, 2, -1, 0))};
    const __m256 wUpRight = tapWeight<E>(rangeOf(c, upRight, k.byNorm), k.space[2], keep[2]);
    const __m256 wLeft = tapWeight<E>(rangeOf(c, previous, k.byNorm), k.space[3], keep[3]);
    Sums sums{_mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps()};
    accumulate(sums, e.w[0], loadCells(row, -3, 0));
    accumulate(sums, e.w[1], loadCells(row, -2, 0));
    accumulate(sums, wUpRight, upRight);
    accumulate(sums, wLeft, previous);
    accumulate(sums, k.centre, c);
    accumulate(sums, e.w[2], loadCells(row, 1, 1));
    accumulate(sums, e.w[3], loadCells(row, 1, 2));
    accumulate(sums, e.w[4], loadCells(row, 2, 2));
    accumulate(sums, e.w[5], loadCells(row, 3, 2));
    const __m256 inv = _mm256_div_ps(_mm256_set1_ps(1.0f), sums.W);
    const Px out{outputOf(sums.S0, inv), outputOf(sums.S1, inv), outputOf(sums.S2, inv)};
    previous = out;
    putLanes(row, out);

    // Into the image, or held back for writeStaged: 4 bytes per pixel, the
    // fourth a stray 0 in the next pixel's first byte, which that pixel's
    // own store (the lane's next step, or the staged block holding it)
    // overwrites: the copy has read it already. The row's last pixel gets
    // its 3 bytes alone.
    if constexpr (E != Edge::Any) {
        if (staged) {
            _mm256_store_si256(staged, packed(out));
            return;
        }
    }
    alignas(32) uint32_t words[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(words), packed(out));
    const int64_t at = 3 * static_cast<int64_t>(s);
    if constexpr (E == Edge::None) {
#pragma GCC unroll 8
        for (int32_t j = 0; j < 8; ++j) std::memcpy(v.base + (at + j * v.laneStep), &words[j], 4);
        return;
    }
    if constexpr (E == Edge::Rows) {
        for (int32_t j = 0; j < v.rows; ++j) std::memcpy(v.base + (at + j * v.laneStep), &words[j], 4);
        return;
    }
    const __m256i x = _mm256_sub_epi32(_mm256_set1_epi32(s), v.twoLanes);
    const __m256i inside = _mm256_and_si256(v.laneRows, _mm256_and_si256(_mm256_cmpgt_epi32(x, _mm256_set1_epi32(-1)),
                                                                         _mm256_cmpgt_epi32(_mm256_set1_epi32(v.w), x)));
    for (int32_t lanes = _mm256_movemask_ps(maskOf(inside)); lanes; lanes &= lanes - 1) {
        const int32_t j = __builtin_ctz(static_cast<uint32_t>(lanes));
        uint8_t* px = v.base + (at + j * v.laneStep);
        if (s - 2 * j != v.w - 1) {
            std::memcpy(px, &words[j], 4);
        } else {
            std::memcpy(px, &words[j], 2);
            px[2] = static_cast<uint8_t>(words[j] >> 16);
        }
    }
}

// Eight vectors of eight 4-byte words as a matrix, transposed: out[j]
// holds word j of every in[i], in order of i.
OX_AVX2_INLINE void transposed(const __m256i (&in)[8], __m256i (&out)[8]) {
    __m256i t[8], u[8];
    for (int32_t i = 0; i < 8; i += 2) {
        t[i] = _mm256_unpacklo_epi32(in[i], in[i + 1]);
        t[i + 1] = _mm256_unpackhi_epi32(in[i], in[i + 1]);
    }
    for (int32_t i = 0; i < 8; i += 4) {
        u[i] = _mm256_unpacklo_epi64(t[i], t[i + 2]);      // words 0 and 4 of in[i .. i + 3]
        u[i + 1] = _mm256_unpackhi_epi64(t[i], t[i + 2]);  // words 1 and 5
        u[i + 2] = _mm256_unpacklo_epi64(t[i + 1], t[i + 3]);
        u[i + 3] = _mm256_unpackhi_epi64(t[i + 1], t[i + 3]);
    }
    for (int32_t j = 0; j < 4; ++j) {
        out[j] = _mm256_permute2x128_si256(u[j], u[j + 4], 0x20);
        out[j + 4] = _mm256_permute2x128_si256(u[j], u[j + 4], 0x31);
    }
}

// Copy rows s .. s + 7 when every lane's pixel in them lies inside the
// image's columns: each lane's eight consecutive pixels in one 24-byte
// load, turned into one word per lane and copy row. The pixels are all
// still old: the steps before s have written only pixels left of them.
template <Edge E> OX_AVX2_INLINE void fillRowsInside(Wave& v, int32_t s) {
    const uint8_t* at = v.base + 3 * static_cast<int64_t>(s);
    __m256i lanes[8], rows[8];
    for (int32_t j = 0; j < 8; ++j) lanes[j] = load8(at + (E == Edge::None ? j * v.laneStep : v.laneFrom[j]));
    transposed(lanes, rows);
    for (int32_t i = 0; i < 8; ++i) putLanes(rowOf(v, s + i), unpacked(rows[i]));
}

// The outputs of the eight steps s0 .. s0 + 7, all lanes inside the image
// (step i's packed pixels in staged[i]), written at once: a transpose gives
// each lane its eight consecutive pixels, which go into its row as exactly
// 24 bytes. Holding them back is safe because the image's new values are
// read only after the band (as the next band's row above); within it the
// copy reads pixels still ahead of the outputs.
OX_AVX2_INLINE void writeStaged(const Wave& v, int32_t s0, const __m256i (&staged)[8]) {
    __m256i lane[8];
    transposed(staged, lane);
    for (int32_t j = 0; j < v.rows; ++j) store8(v.base + 3 * static_cast<int64_t>(s0) + j * v.laneStep, lane[j]);
}

// The steps of a band; those inside the image's columns run with the
// band's edge, Inside, the others with masks of their own.
template <Edge Inside> OX_AVX2_INLINE void sweep(Wave& v, const Weights& k, int32_t steps) {
    const int32_t w = v.w;
    auto plain = [&](int32_t s) { return s >= 15 && s <= w - 2; };
    Px previous{_mm256_setzero_ps(), _mm256_setzero_ps(), _mm256_setzero_ps()};
    Early early;
    earlyWeights<Edge::Any>(v, 0, rowOf(v, 0), k, early);
    alignas(32) __m256i staged[8];
    for (int32_t s = 0; s < steps;) {
        // Eight plain steps in a row write their outputs together.
        if (plain(s) && plain(s + 7) && s + 7 + kAhead <= w - 1) {
            makeRoom(v, s, s + 7 + kAhead);
            const int32_t s0 = s;
            fillRowsInside<Inside>(v, s + kAhead);
            // The block's copy rows lie one after another from row s0.
            float* row = rowOf(v, s0);
            for (int32_t i = 0; i < 8; ++i, ++s, row += 3 * kCells) {
                waveStep<Inside>(v, s, row, previous, k, early, &staged[i]);
                if (i < 7 || plain(s + 1)) earlyWeights<Inside>(v, s + 1, row + 3 * kCells, k, early);
                else earlyWeights<Edge::Any>(v, s + 1, row + 3 * kCells, k, early);
            }
            writeStaged(v, s0, staged);
            continue;
        }
        // Copy row s + kAhead (its lanes at x = s + kAhead - 2j, all old
        // still).
        makeRoom(v, s, s + kAhead);
        if (plain(s) && s + kAhead <= w - 1) fillRowInside<Inside>(v, s + kAhead);
        else fillRow(v, s + kAhead);
        float* const row = rowOf(v, s);
        if (plain(s)) waveStep<Inside>(v, s, row, previous, k, early, nullptr);
        else waveStep<Edge::Any>(v, s, row, previous, k, early, nullptr);
        if (plain(s + 1)) earlyWeights<Inside>(v, s + 1, row + 3 * kCells, k, early);
        else earlyWeights<Edge::Any>(v, s + 1, row + 3 * kCells, k, early);
        ++s;
    }
}

}  // namespace

OX_TARGET_AVX2 bool colourRadius1InPlaceAvx2(const ColourPass& p, const float* byNorm) {
    const int32_t w = p.src.width, h = p.src.height;
    const int64_t stride = p.dst.stride;
    // Gather offsets stay within 32 bits.
    if (static_cast<double>(stride) * 9 + 3.0 * (w + 32) >= 2147483647.0) return false;
    const Weights k = weightsOf(p.space, byNorm);
    Wave v;
    v.stride = stride;
    v.w = w, v.h = h;
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    v.gatherOffset = _mm256_sub_epi32(_mm256_mullo_epi32(lanes, _mm256_set1_epi32(static_cast<int32_t>(stride - 6))),
                                      _mm256_set1_epi32(1));
    v.twoLanes = _mm256_add_epi32(lanes, lanes);
    v.laneStep = stride - 6;
    // Two plane rows of w + 2 kEdge cells, zero outside the image.
    const int64_t cells = static_cast<int64_t>(w) + 2 * kEdge;
    const Count bytes = checkedProduct({2 * 3, cells, static_cast<int64_t>(sizeof(float))});
    Buffer memory = bytes ? allocateZeroed(static_cast<size_t>(*bytes)) : nullptr;
    if (!memory) return false;
    auto* planes = reinterpret_cast<float*>(memory.get());
    for (int32_t c = 0; c < 3; ++c) {
        v.above.c[c] = planes + c * cells;
        v.below.c[c] = planes + (3 + c) * cells;
    }
    for (int32_t y0 = 0; y0 < h; y0 += 8) {
        v.y0 = y0;
        v.base = p.dst.row(y0);
        v.rows = std::min(8, h - y0);
        planeRow(v.above, y0 > 0 ? p.dst.row(y0 - 1) : nullptr, w);
        planeRow(v.below, y0 + 8 < h ? p.dst.row(y0 + 8) : nullptr, w);
        v.laneRows = _mm256_cmpgt_epi32(_mm256_set1_epi32(v.rows), lanes);
        const int32_t steps = w + 2 * (v.rows - 1);
        v.last = steps + 3;
        v.origin = -3;
        edgeCells(v, v.origin, v.origin + kStrip - 1);
        for (int32_t s = -3; s < kAhead; ++s) fillRow(v, s);
        // Inside the image's columns (x = s - 2j within 1..w - 2 for every
        // lane) a step needs masks only for the rows above and below the
        // image, the same for the whole band.
        const __m256i y = _mm256_add_epi32(_mm256_set1_epi32(y0), lanes);
        const __m256 all = maskOf(_mm256_set1_epi32(-1));
        tapMasks(v.bandKeep, maskOf(_mm256_cmpgt_epi32(y, _mm256_setzero_si256())),
                 maskOf(_mm256_cmpgt_epi32(_mm256_set1_epi32(h - 1), y)), all, all);
        for (int32_t j = 0; j < 8; ++j) v.laneFrom[j] = std::min(j, v.rows - 1) * v.laneStep;
        if (y0 > 0 && y0 + 8 < h) sweep<Edge::None>(v, k, steps);
        else sweep<Edge::Rows>(v, k, steps);
    }
    return true;
}

}  // namespace ox::detail::bilateral

#endif  // OX_HAVE_AVX2_PATH
