// The separable convolution over views (convolution_ops.hpp): the plain
// reference, and the fast paths' pipeline, which streams rows through a
// small ring of the float intermediate instead of a whole image of it.
//
// The pipeline filters rows with the horizontal pass as the vertical pass
// needs them: output rows y .. y+3 need intermediate rows y-r .. y+3+r
// (border rows map into that window too), so a ring of 2r+4 rows suffices
// and stays in the second-level cache. Every source row is read before the
// destination row of the same index is written, which makes the
// convolution work in place. All lanes of a pixel travel together: the
// intermediate is interleaved like the image, and vector lanes over
// consecutive elements still hold independent sums.
#include "convolution/detail/convolution_ops.hpp"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <optional>

#include "convolution/detail/passes.hpp"
#include "convolution/detail/passes_avx2.hpp"
#include "convolution/detail/passes_plain.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/size.hpp"

namespace ox::detail {

using sep::Lanes;
using sep::Taps;

namespace {

// The kernels of one fast path.
struct BaselineKernels {
    template <class T> static void row(const float* const* in, const Taps& t, int64_t n, T* out) {
        sep::baseline::gatherRow(in, t, n, out);
    }
    template <class T> static void rows4(const float* const* in, const Taps& t, int64_t n, T* const* out) {
        sep::baseline::gatherRows4(in, t, n, out);
    }
    template <class T> static void widen(const T* src, int64_t n, float* dst) { sep::baseline::widen(src, n, dst); }
};

#if OX_HAVE_AVX2_PATH
struct Avx2Kernels {
    template <class T> static void row(const float* const* in, const Taps& t, int64_t n, T* out) {
        sep::avx2::gatherRow(in, t, n, out);
    }
    template <class T> static void rows4(const float* const* in, const Taps& t, int64_t n, T* const* out) {
        sep::avx2::gatherRows4(in, t, n, out);
    }
    template <class T> static void widen(const T* src, int64_t n, float* dst) { sep::avx2::widen(src, n, dst); }
};
#endif

// Calls run(Kernels{}) with the kernels of the active fast path.
template <class Run> Status withFastKernels(Run run) {
#if OX_HAVE_AVX2_PATH
    if (useAvx2()) return run(Avx2Kernels{});
#endif
    return run(BaselineKernels{});
}

Lanes lanesFor(int32_t srcChannels, int32_t dstChannels, ChannelPlaces from, ChannelPlaces to) {
    Lanes lanes{};
    if (srcChannels == 1) {
        lanes.count = 1;
        lanes.fromInOrder = true;
        lanes.toInOrder = dstChannels == 1;
        return lanes;
    }
    lanes.count = 3;
    for (int32_t c = 0; c < 3; ++c) {
        const int32_t lane = srcChannels == 3 ? from.at[c] : c;
        lanes.from[lane] = from.at[c];
        lanes.to[lane] = to.at[c];
    }
    lanes.fromInOrder = srcChannels == 3;
    lanes.toInOrder = dstChannels == 3 && lanes.to[0] == 0 && lanes.to[1] == 1 && lanes.to[2] == 2;
    return lanes;
}

// Scratch of the fast passes in one allocation: an array of row pointers,
// then up to three float areas, each starting on a 64-byte line.
class Scratch {
public:
    // False when a size does not fit or memory runs out.
    bool allocate(int64_t pointers, std::initializer_list<int64_t> areas) {
        Count end = lineUp(checkedProduct({pointers, static_cast<int64_t>(sizeof(float*))}));
        size_t i = 0;
        for (int64_t floats : areas) {
            const Count bytes = checkedProduct({floats, static_cast<int64_t>(sizeof(float))});
            if (!end || !bytes) return false;
            offsets_[i++] = *end;
            end = lineUp(checkedSum({*end, *bytes}));
        }
        // aligned_alloc wants a whole number of lines, and at least one.
        end = end ? lineUp(checkedSum({*end, 1})) : std::nullopt;
        if (!end) return false;
        mem_.reset(static_cast<uint8_t*>(std::aligned_alloc(kLine, static_cast<size_t>(*end))));
        return mem_ != nullptr;
    }
    const float** pointers() const { return reinterpret_cast<const float**>(mem_.get()); }
    float* area(size_t i) const { return reinterpret_cast<float*>(mem_.get() + offsets_[i]); }

private:
    static constexpr int64_t kLine = 64;
    static Count lineUp(Count bytes) {
        const Count padded = bytes ? checkedSum({*bytes, kLine - 1}) : std::nullopt;
        return padded ? Count(*padded / kLine * kLine) : std::nullopt;
    }
    Buffer mem_;
    int64_t offsets_[3] = {};
};

// Output rows per vertical step; the AVX2 kernel shares each loaded row
// among this many sums.
constexpr int32_t kBlock = 4;

// One source row as the padded float line of the horizontal pass: pixel i
// of the line, for i from -r to w+r-1, holds the lanes of source pixel i
// (through the border rule outside the row) at (i + r) * lanes.
template <class K, class T>
void padRow(const T* row, int32_t w, int32_t channels, const Taps& t, const Lanes& lanes, float* line) {
    const int32_t c = lanes.count;
    auto put = [&](int64_t i, int32_t pixel) {
        const T* px = row + static_cast<int64_t>(pixel) * channels;
        for (int32_t l = 0; l < c; ++l) line[(i + t.r) * c + l] = sep::toFloat(sep::sampleAt(px, lanes.from[l]));
    };
    for (int32_t i = -t.r; i < 0; ++i) put(i, t.pad(i, 0, w - 1));
    if (lanes.fromInOrder)
        K::widen(row, static_cast<int64_t>(w) * c, line + static_cast<int64_t>(t.r) * c);
    else
        for (int32_t i = 0; i < w; ++i) put(i, i);
    for (int64_t i = w; i < static_cast<int64_t>(w) + t.r; ++i) put(i, t.pad(static_cast<int32_t>(i), 0, w - 1));
}

// Output rows y0 .. y0+b-1 of a vertical pass over h rows: in[i] becomes
// intermediate row y0 - r + i (through the border rule outside 0 .. h-1),
// as rowOf gives it.
template <class K, class T, class RowOf>
void verticalStep(int32_t y0, int32_t b, int32_t h, const Taps& t, int64_t n, const float** in, RowOf rowOf,
                  T* const* out) {
    for (int32_t i = 0; i < 2 * t.r + b; ++i) {
        int32_t y = y0 - t.r + i;
        if (y < 0 || y >= h) y = t.pad(y, 0, h - 1);
        in[i] = rowOf(y);
    }
    if (b == kBlock)
        K::rows4(in, t, n, out);
    else
        for (int32_t j = 0; j < b; ++j) K::row(in + j, t, n, out[j]);
}

template <class K, class T>
Status streamConvolution(ConstView<T> src, View<T> dst, const Taps& x, const Taps& y, const Lanes& lanes) {
    const int32_t w = src.width, h = src.height, c = lanes.count;
    const int64_t n = static_cast<int64_t>(w) * c;
    // Whole 64-byte lines per ring row, an odd number of them: the vertical
    // pass reads 2r+4 rows at once, and rows a multiple of 4 KiB apart
    // would all compete for one set of the first-level cache.
    const int64_t stride = ((n + 15) / 16 | 1) * 16;
    const int64_t ringRows = std::min<int64_t>(h, 2 * static_cast<int64_t>(y.r) + kBlock);
    // Sums for a destination whose pixels are not the lanes in order are
    // staged as floats and placed afterwards.
    const bool staged = !lanes.toInOrder;
    const Count ring = checkedProduct({ringRows, stride});
    const Count line = checkedProduct({static_cast<int64_t>(w) + 2 * static_cast<int64_t>(x.r), c});
    if (!ring || !line) return Status::Refused;
    const int64_t hTaps = 2 * static_cast<int64_t>(x.r) + 1, vTaps = 2 * static_cast<int64_t>(y.r) + kBlock;
    Scratch scratch;
    if (!scratch.allocate(hTaps + vTaps, {*ring, *line, staged ? kBlock * stride : 0})) return Status::Refused;
    const float** hIn = scratch.pointers();
    const float** vIn = hIn + hTaps;
    float* const rows = scratch.area(0);
    float* const padded = scratch.area(1);
    float* const stage = scratch.area(2);
    for (int64_t k = 0; k < hTaps; ++k) hIn[k] = padded + k * c;  // tap k reads the line shifted by k pixels
    auto ringRow = [&](int32_t row) { return rows + (row % ringRows) * stride; };

    int32_t next = 0;  // the next source row to filter horizontally
    for (int32_t y0 = 0; y0 < h; y0 += kBlock) {
        const int32_t b = std::min(kBlock, h - y0);
        const int32_t last = static_cast<int32_t>(std::min<int64_t>(h - 1, static_cast<int64_t>(y0) + b - 1 + y.r));
        for (; next <= last; ++next) {
            padRow<K>(src.row(next), w, src.channels, x, lanes, padded);
            K::row(hIn, x, n, ringRow(next));
        }
        if (staged) {
            float* out[kBlock];
            for (int32_t j = 0; j < kBlock; ++j) out[j] = stage + j * stride;
            verticalStep<K>(y0, b, h, y, n, vIn, ringRow, out);
            for (int32_t j = 0; j < b; ++j) {
                T* to = dst.row(y0 + j);
                for (int64_t p = 0; p < w; ++p)
                    for (int32_t l = 0; l < c; ++l)
                        sep::setSample(to, p * dst.channels + lanes.to[l], sep::fromSum<T>(out[j][p * c + l]));
            }
        } else {
            T* out[kBlock];
            for (int32_t j = 0; j < kBlock; ++j) out[j] = j < b ? dst.row(y0 + j) : nullptr;
            verticalStep<K>(y0, b, h, y, n, vIn, ringRow, out);
        }
    }
    return Status::Ok;
}

// The weights the symmetric form applies, into `mirrored`: it weighs both
// sides with the taps from the centre to the right end, whatever the left
// half holds. A gather with these gives the scatter's products in its order.
Taps mirroredTaps(const Taps& t, float* mirrored) {
    for (int32_t k = 0; k <= 2 * t.r; ++k) mirrored[k] = t.w[t.r + (k < t.r ? t.r - k : k - t.r)];
    return {mirrored, t.r, t.pad};
}

const uint8_t* bytes(const void* p) { return static_cast<const uint8_t*>(p); }
uint8_t* bytes(void* p) { return static_cast<uint8_t*>(p); }

}  // namespace

Status prepareKernel(const oxSepKernel* kernel, int32_t width, int32_t height, PreparedKernel& out) {
    const oxSepKernel* k = workingKernel(kernel, out.normalized);
    if (!k || !k->kernelX || !k->kernelY) return Status::Refused;
    if (!sep::axisTaps(k->kernelX, k->radiusX, k->border, width, out.x) ||
        !sep::axisTaps(k->kernelY, k->radiusY, k->border, height, out.y))
        return Status::Refused;
    return Status::Ok;
}

template <class T>
Status separableConvolution(ConstView<T> src, View<T> dst, const PreparedKernel& k, ChannelPlaces srcPlaces,
                            ChannelPlaces dstPlaces) {
    const Lanes lanes = lanesFor(src.channels, dst.channels, srcPlaces, dstPlaces);
    if (useReference()) return sep::plain::convolve(src, dst, k.x, k.y, lanes) ? Status::Ok : Status::Refused;
    return withFastKernels([&](auto kernels) {
        return streamConvolution<decltype(kernels)>(src, dst, k.x, k.y, lanes);
    });
}

template <class T> Status horizontalPass(ConstView<T> src, float* dst, const Taps& t, bool symmetric) {
    const int32_t w = src.width;
    if (useReference()) {
        sep::plain::horizontal<T>(bytes(src.data), bytes(dst), w, src.height, t, symmetric);
        return Status::Ok;
    }
    return withFastKernels([&](auto kernels) {
        using K = decltype(kernels);
        const int64_t taps = 2 * static_cast<int64_t>(t.r) + 1;
        Scratch scratch;
        if (!scratch.allocate(taps, {static_cast<int64_t>(w) + taps - 1, symmetric ? taps : 0}))
            return Status::Refused;
        const float** in = scratch.pointers();
        float* const line = scratch.area(0);
        for (int64_t k = 0; k < taps; ++k) in[k] = line + k;
        const Taps weights = symmetric ? mirroredTaps(t, scratch.area(1)) : t;
        const Lanes plane = lanesFor(1, 1, {}, {});
        for (int32_t y = 0; y < src.height; ++y) {
            padRow<K>(src.row(y), w, 1, t, plane, line);
            K::row(in, weights, w, dst + static_cast<int64_t>(y) * w);
        }
        return Status::Ok;
    });
}

template <class T>
Status verticalPass(const float* src, float* scratch, View<T> dst, const Taps& t, bool symmetric) {
    const int32_t w = dst.width, h = dst.height;
    if (useReference()) {
        sep::plain::vertical<T>(bytes(src), bytes(scratch), bytes(dst.data), w, h, t, symmetric);
        return Status::Ok;
    }
    return withFastKernels([&](auto kernels) {
        using K = decltype(kernels);
        const int64_t taps = 2 * static_cast<int64_t>(t.r) + 1;
        Scratch rows;
        if (!rows.allocate(taps - 1 + kBlock, {symmetric ? taps : 0})) return Status::Refused;
        const Taps weights = symmetric ? mirroredTaps(t, rows.area(0)) : t;
        auto rowOf = [&](int32_t y) { return src + static_cast<int64_t>(y) * w; };
        for (int32_t y0 = 0; y0 < h; y0 += kBlock) {
            const int32_t b = std::min(kBlock, h - y0);
            T* out[kBlock];
            for (int32_t j = 0; j < kBlock; ++j) out[j] = j < b ? dst.row(y0 + j) : nullptr;
            verticalStep<K>(y0, b, h, weights, w, rows.pointers(), rowOf, out);
        }
        return Status::Ok;
    });
}

#define OX_SEPARABLE_CONVOLUTION_OPS(T)                                                                         \
    template Status separableConvolution<T>(ConstView<T>, View<T>, const PreparedKernel&, ChannelPlaces,        \
                                            ChannelPlaces);                                                     \
    template Status horizontalPass<T>(ConstView<T>, float*, const Taps&, bool);                                 \
    template Status verticalPass<T>(const float*, float*, View<T>, const Taps&, bool);
OX_SEPARABLE_CONVOLUTION_OPS(uint8_t)
OX_SEPARABLE_CONVOLUTION_OPS(float)
OX_SEPARABLE_CONVOLUTION_OPS(double)
#undef OX_SEPARABLE_CONVOLUTION_OPS

}  // namespace ox::detail
