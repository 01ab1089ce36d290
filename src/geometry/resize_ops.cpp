// Bilinear and nearest-neighbour resize over interleaved views: the plain
// loops (the reference), the portable paths and the dispatch to the AVX2
// kernels.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/detail/handles.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "geometry/detail/resize_kernels.hpp"
#include "geometry/detail/resize_ops.hpp"

namespace ox::detail {

namespace {

using resize::Tap;

// True when the memory spans of the two views' rows meet.
template <class T> bool overlap(View<const T> a, View<const T> b) noexcept {
    const auto span = [](View<const T> v) {
        const T* first = v.row(0);
        return std::pair{reinterpret_cast<uintptr_t>(first),
                         reinterpret_cast<uintptr_t>(v.row(v.height - 1) + v.rowElements())};
    };
    const auto [a0, a1] = span(a);
    const auto [b0, b1] = span(b);
    return a0 < b1 && b0 < a1;
}

// ---------------------------------------------------------------- tables

// Centre of target sample i mapped into the source: the ratio is a float,
// the product a double rounded back to float; the weight is rounded half
// down.
Tap rawTap(int32_t i, float ratio) {
    const auto f = static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
    const float k = std::floor(f);
    const double share = static_cast<double>((f - k) * 1024.0f);
    return {saturateTrunc<int32_t>(k), saturateTrunc<int32_t>(std::ceil(share - 0.5))};
}

// Columns are clamped to the source and carry no share of a sample right
// of the last one; rows are clamped below only and lose their share only
// before the first row (the row loop clamps them above).
void columnTaps(Tap* taps, int32_t sw, int32_t dw) {
    const float ratio = static_cast<float>(sw) / static_cast<float>(dw);
    for (int32_t i = 0; i < dw; ++i) {
        const Tap t = rawTap(i, ratio);
        const int32_t c = std::min(std::max(t.index, 0), sw - 1);
        taps[i] = {c, t.index < 0 || std::max(t.index, 0) >= sw - 1 ? 0 : t.weight};
    }
}

void rowTaps(Tap* taps, int32_t sh, int32_t dh) {
    const float ratio = static_cast<float>(sh) / static_cast<float>(dh);
    for (int32_t j = 0; j < dh; ++j) {
        const Tap t = rawTap(j, ratio);
        taps[j] = {std::max(t.index, 0), t.index < 0 ? 0 : t.weight};
    }
}

// ---------------------------------------------------------------- rows

// What every path of the horizontal pass needs. Target columns mapped onto
// the last source sample have weight 0 and form the tail of the table
// (`body` is where it starts); they never read the sample to their right.
struct Columns {
    const Tap* taps;
    int32_t dw, body, channels;
};

// Samples [from, n) of one row, the plain way: sample k is channel k % C of
// target column k / C.
void interpolateFrom(const uint8_t* s, const Columns& cols, int64_t from, int32_t* out) {
    const int32_t C = cols.channels;
    for (int64_t i = from / C; i < cols.dw; ++i) {
        const uint8_t* p = s + static_cast<int64_t>(cols.taps[i].index) * C;
        const int32_t first = i == from / C ? static_cast<int32_t>(from % C) : 0;
        if (i < cols.body)
            for (int32_t c = first; c < C; ++c) out[i * C + c] = resize::interpolateOne(p[c], p[c + C], cols.taps[i].weight);
        else
            for (int32_t c = first; c < C; ++c) out[i * C + c] = p[c] * 1024;
    }
}

// The portable path: the channel count known to the compiler.
template <int32_t C> void interpolateFixed(const uint8_t* s, const Columns& cols, int32_t* out) {
    for (int32_t i = 0; i < cols.body; ++i) {
        const uint8_t* p = s + static_cast<int64_t>(cols.taps[i].index) * C;
        const int32_t w = cols.taps[i].weight;
        for (int32_t c = 0; c < C; ++c) out[static_cast<int64_t>(i) * C + c] = resize::interpolateOne(p[c], p[c + C], w);
    }
    for (int32_t i = cols.body; i < cols.dw; ++i) {
        const uint8_t* p = s + static_cast<int64_t>(cols.taps[i].index) * C;
        for (int32_t c = 0; c < C; ++c) out[static_cast<int64_t>(i) * C + c] = p[c] * 1024;
    }
}

void blendPlain(const int32_t* a, const int32_t* b, int32_t wy, uint8_t* d, int64_t n) {
    if (wy == 0)
        for (int64_t i = 0; i < n; ++i) d[i] = resize::blendUpper(a[i]);
    else
        for (int64_t i = 0; i < n; ++i) d[i] = resize::blendOne(a[i], b[i], wy);
}

// Fixed-width blocks let the compiler vectorise without a run-time trip
// count; the remainder goes one sample at a time.
template <int32_t N> void blendBlock(const int32_t* __restrict a, const int32_t* __restrict b, int32_t wy, uint8_t* __restrict d) {
    if (wy == 0)
        for (int32_t l = 0; l < N; ++l) d[l] = resize::blendUpper(a[l]);
    else
        for (int32_t l = 0; l < N; ++l) d[l] = resize::blendOne(a[l], b[l], wy);
}

void blendBlocks(const int32_t* a, const int32_t* b, int32_t wy, uint8_t* d, int64_t n) {
    constexpr int32_t kBlock = 32;
    int64_t i = 0;
    for (; i + kBlock <= n; i += kBlock) blendBlock<kBlock>(a + i, b + i, wy, d + i);
    blendPlain(a + i, b + i, wy, d + i, n - i);
}

// The row loop shared by every path. The two buffers keep the last two
// interpolated source rows, so each source row is interpolated once, when
// a target row first needs it; when the next pair shares a row with the
// last one the buffers swap instead. `interpolate(row, out)` and
// `blend(a, b, wy, d, n)` are the path's kernels.
template <class Interpolate, class Blend>
void bilinearRows(ConstView<uint8_t> src, View<uint8_t> dst, const Tap* rows, int32_t* work, Interpolate&& interpolate,
                  Blend&& blend) {
    const int32_t sh = src.height;
    const int64_t n = dst.rowElements();
    int32_t* buf[2] = {work, work + n};
    int32_t held[2] = {-1, -1};  // source rows in buf[0] and buf[1]
    for (int32_t j = 0; j < dst.height; ++j) {
        const int32_t r = std::min(rows[j].index, sh - 1);
        const int32_t wy = rows[j].weight;
        const bool lower = r < sh - 1 && wy > 0;
        if (held[0] != r) {
            if (held[1] == r) {
                std::swap(buf[0], buf[1]);
                std::swap(held[0], held[1]);
            } else {
                interpolate(src.row(r), buf[0]);
                held[0] = r;
            }
        }
        if (lower && held[1] != r + 1) {
            interpolate(src.row(r + 1), buf[1]);
            held[1] = r + 1;
        }
        blend(buf[0], buf[1], lower ? wy : 0, dst.row(j), n);
    }
}

#if OX_HAVE_AVX2_PATH
// The AVX2 path's read offsets and weight pairs, and how many samples of
// each row they cover; the rest of a row (its last few source columns)
// goes the plain way.
struct VectorTables {
    int32_t* offsets;
    int32_t* pairs;
    int64_t covered;
};

// Offsets are int32: the path is taken only when a source row's bytes and
// a target row's samples fit.
bool vectorTablesFit(ConstView<uint8_t> src, View<uint8_t> dst) {
    return src.channels <= 4 && src.rowElements() + 8 <= INT32_MAX && dst.rowElements() <= INT32_MAX;
}

// Fills the tables. For one or two channels a four-byte read at a sample's
// offset covers its right neighbour; for three or four an eight-byte read
// at the pixel's covers the neighbouring pixel. Samples are covered up to
// the first whose read would leave the source row (a later one may fit
// again: with two channels the first channel of the second-last pixel
// does, the second does not).
VectorTables vectorTables(const Columns& cols, int32_t sw, int32_t* offsets, int32_t* pairs) {
    const int32_t C = cols.channels;
    const int64_t rowBytes = static_cast<int64_t>(sw) * C, n = static_cast<int64_t>(cols.dw) * C;
    int64_t covered = -1;
    for (int32_t i = 0; i < cols.dw; ++i) {
        const int64_t pixel = static_cast<int64_t>(cols.taps[i].index) * C;
        if (C >= 3) {
            offsets[i] = static_cast<int32_t>(pixel);
            if (covered < 0 && pixel + 8 > rowBytes) covered = int64_t{i} * C;
        }
        for (int32_t c = 0; c < C; ++c) {
            const int64_t k = int64_t{i} * C + c;
            pairs[k] = resize::weightPair(cols.taps[i].weight);
            if (C >= 3) continue;
            offsets[k] = static_cast<int32_t>(pixel + c);
            if (covered < 0 && pixel + c + 4 > rowBytes) covered = k;
        }
    }
    if (covered < 0) covered = n;
    const int32_t step = resize::avx2InterpolateStep(C);
    return {offsets, pairs, covered / step * step};
}
#endif

}  // namespace

Status resizeBilinear(ConstView<uint8_t> src, View<uint8_t> dst) {
    const int32_t C = src.channels, sw = src.width, dw = dst.width, dh = dst.height;
    const int64_t n = dst.rowElements();
    // Overlapping views keep the plain loop's order of reads and writes.
    const Isa isa = overlap<uint8_t>(src, dst) ? Isa::Reference : activeIsa();
#if OX_HAVE_AVX2_PATH
    const bool avx2 = isa >= Isa::Avx2 && vectorTablesFit(src, dst);
#else
    const bool avx2 = false;
#endif
    // Two interpolated rows, the column and row tables, and for AVX2 the
    // read offsets and weight pairs.
    const Count rowBuffers = checkedProduct({2, n, sizeof(int32_t)});
    const Count tables = checkedProduct({int64_t{dw} + dh, sizeof(Tap)});
    const Count vector = checkedProduct({avx2 ? 2 : 0, n, sizeof(int32_t)});
    const Count bytes = rowBuffers && tables && vector ? checkedSum({*rowBuffers, *tables, *vector}) : std::nullopt;
    if (!bytes) return Status::Refused;
    Buffer scratch = allocateBuffer(static_cast<size_t>(*bytes));
    if (!scratch) return Status::Refused;
    auto* work = reinterpret_cast<int32_t*>(scratch.get());
    Tap* colTable = reinterpret_cast<Tap*>(work + 2 * n);
    Tap* rowTable = colTable + dw;
    columnTaps(colTable, sw, dw);
    rowTaps(rowTable, src.height, dh);
    Columns cols{colTable, dw, dw, C};
    while (cols.body > 0 && colTable[cols.body - 1].index == sw - 1) --cols.body;

#if OX_HAVE_AVX2_PATH
    if (avx2) {
        int32_t* offsets = reinterpret_cast<int32_t*>(rowTable + dh);
        const VectorTables g = vectorTables(cols, sw, offsets, offsets + n);
        bilinearRows(
            src, dst, rowTable, work,
            [&](const uint8_t* s, int32_t* out) {
                resize::interpolateAvx2(s, g.offsets, g.pairs, g.covered, C, src.rowElements(), out);
                interpolateFrom(s, cols, g.covered, out);
            },
            resize::blendAvx2);
        return Status::Ok;
    }
#endif
    if (isa == Isa::Reference || C > 4) {
        bilinearRows(
            src, dst, rowTable, work, [&](const uint8_t* s, int32_t* out) { interpolateFrom(s, cols, 0, out); },
            blendPlain);
        return Status::Ok;
    }
    auto fixed = [&]<int32_t N>() {
        bilinearRows(
            src, dst, rowTable, work, [&](const uint8_t* s, int32_t* out) { interpolateFixed<N>(s, cols, out); },
            blendBlocks);
    };
    switch (C) {
    case 1: fixed.template operator()<1>(); break;
    case 2: fixed.template operator()<2>(); break;
    case 3: fixed.template operator()<3>(); break;
    default: fixed.template operator()<4>(); break;
    }
    return Status::Ok;
}

// ---------------------------------------------------------------- nearest

namespace {

// Source column (or row) of target i: floor(i / scale), clamped.
int32_t nearestIndex(int32_t i, double scale, int32_t size) {
    return std::min(saturateTrunc<int32_t>(std::floor(i / scale)), size - 1);
}

// Whole pixels of P bytes, copied as fixed-size blocks.
template <int32_t P> void copyPixels(const uint8_t* s, const int32_t* cols, uint8_t* d, int32_t dw) {
    for (int32_t i = 0; i < dw; ++i) std::memcpy(d + static_cast<int64_t>(i) * P, s + static_cast<int64_t>(cols[i]) * P, P);
}

using CopyRow = void (*)(const uint8_t*, const int32_t*, uint8_t*, int32_t);

CopyRow copierFor(int64_t pixelBytes) {
    switch (pixelBytes) {
    case 1: return copyPixels<1>;
    case 2: return copyPixels<2>;
    case 3: return copyPixels<3>;
    case 4: return copyPixels<4>;
    case 6: return copyPixels<6>;
    case 8: return copyPixels<8>;
    case 12: return copyPixels<12>;
    case 16: return copyPixels<16>;
    case 24: return copyPixels<24>;
    case 32: return copyPixels<32>;
    default: return nullptr;
    }
}

}  // namespace

template <class T> Status resizeNearest(ConstView<T> src, View<T> dst) {
    const int32_t C = src.channels, sw = src.width, sh = src.height, dw = dst.width;
    const double sx = static_cast<double>(dw) / sw;
    const double sy = static_cast<double>(dst.height) / sh;
    const Count bytes = checkedProduct({dw, sizeof(int32_t)});
    Buffer table = bytes ? allocateBuffer(static_cast<size_t>(*bytes)) : nullptr;
    if (!table) return Status::Refused;
    auto* cols = reinterpret_cast<int32_t*>(table.get());
    for (int32_t i = 0; i < dw; ++i) cols[i] = nearestIndex(i, sx, sw);

    const CopyRow copier = copierFor(static_cast<int64_t>(C) * sizeof(T));
    if (useReference() || !copier || overlap<T>(src, dst)) {
        for (int32_t j = 0; j < dst.height; ++j) {
            const T* s = src.row(nearestIndex(j, sy, sh));
            T* d = dst.row(j);
            for (int32_t i = 0; i < dw; ++i)
                for (int32_t c = 0; c < C; ++c) d[static_cast<int64_t>(i) * C + c] = s[static_cast<int64_t>(cols[i]) * C + c];
        }
        return Status::Ok;
    }
    // Target rows that take the same source row as the row before are
    // copies of it.
    const size_t rowBytes = static_cast<size_t>(dst.rowElements()) * sizeof(T);
    int32_t last = -1;
    for (int32_t j = 0; j < dst.height; ++j) {
        const int32_t r = nearestIndex(j, sy, sh);
        if (r == last) std::memcpy(dst.row(j), dst.row(j - 1), rowBytes);
        else copier(reinterpret_cast<const uint8_t*>(src.row(r)), cols, reinterpret_cast<uint8_t*>(dst.row(j)), dw);
        last = r;
    }
    return Status::Ok;
}

template Status resizeNearest<uint8_t>(ConstView<uint8_t>, View<uint8_t>);
template Status resizeNearest<uint16_t>(ConstView<uint16_t>, View<uint16_t>);
template Status resizeNearest<int32_t>(ConstView<int32_t>, View<int32_t>);
template Status resizeNearest<uint32_t>(ConstView<uint32_t>, View<uint32_t>);
template Status resizeNearest<float>(ConstView<float>, View<float>);
template Status resizeNearest<double>(ConstView<double>, View<double>);

}  // namespace ox::detail
