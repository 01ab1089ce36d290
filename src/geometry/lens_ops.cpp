// Lens distortion as an operation over views. The plain reference distorts
// the whole image into a zeroed work image and then crops it; the fast form
// finds the crop first (it depends only on the parameters and the size),
// distorts only the source rows the resize will read, straight into a work
// image of the crop's size, and writes every byte it keeps without clearing
// anything first.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/size.hpp"
#include "geometry/detail/lens_kernels.hpp"
#include "geometry/detail/lens_ops.hpp"
#include "geometry/detail/resize_ops.hpp"
#include "ox_resize.h"

namespace ox::detail {

void lens::distortRow(const Distortion& d, ConstView<uint8_t> src, int32_t y, int32_t x0, int32_t n,
                      uint8_t* out) noexcept {
    // The channel count as a constant keeps the neighbour offsets constant.
    auto run = [&]<int32_t C>() {
        for (int32_t i = 0; i < n; ++i, out += src.channels) samplePixel<C>(d, src, src.channels, x0 + i, y, out);
    };
    switch (src.channels) {
    case 1: return run.operator()<1>();
    case 3: return run.operator()<3>();
    case 4: return run.operator()<4>();
    default: return run.operator()<0>();
    }
}

namespace {

using lens::Distortion;
using lens::Point;

constexpr int kCornerSteps = 100;

// ---------------------------------------------------------------- crop

// Within one pixel of some corner of a w x h image (any corner, whichever
// one the search started from).
bool nearCorner(Point p, int32_t w, int32_t h) {
    const float right = static_cast<float>(w), bottom = static_cast<float>(h);
    const bool nearX = (p.x > -1.0f && p.x < 1.0f) || (p.x > static_cast<float>(w - 2) && p.x < right);
    const bool nearY = (p.y > -1.0f && p.y < 1.0f) || (p.y > static_cast<float>(h - 2) && p.y < bottom);
    return nearX && nearY;
}

bool outside(Point p, int32_t w, int32_t h) {
    return p.x < 0.0f || p.y < 0.0f || p.x > static_cast<float>(w - 1) || p.y > static_cast<float>(h - 1);
}

// Bisects between a corner (outer) and a point next to the centre (inner)
// for the outermost point whose distorted position stays in the image.
Point searchCorner(const Distortion& d, Point outer, Point inner, int32_t w, int32_t h) {
    Point mapped = d(outer);
    for (int step = 0; step < kCornerSteps && !nearCorner(mapped, w, h); ++step) {
        const Point mid{outer.x + (inner.x - outer.x) * 0.5f, outer.y + (inner.y - outer.y) * 0.5f};
        const Point at = d(mid);
        if (outside(at, w, h)) {
            outer = mid;
            mapped = at;
        } else {
            inner = mid;
        }
    }
    return outer;
}

int64_t trunc32(float v) { return saturateTrunc<int32_t>(v); }

// The rectangle inside the four corner points, or false when it is empty
// or not inside the image (extreme amounts or centres).
bool cropRect(const Distortion& d, int32_t w, int32_t h, oxRect& rect) {
    const float fw = static_cast<float>(w - 1), fh = static_cast<float>(h - 1);
    const Point topLeft = searchCorner(d, {0.0f, 0.0f}, {d.x0 - 1.0f, d.y0 - 1.0f}, w, h);
    const Point topRight = searchCorner(d, {fw, 0.0f}, {d.x0 + 1.0f, d.y0 - 1.0f}, w, h);
    const Point bottomLeft = searchCorner(d, {0.0f, fh}, {d.x0 - 1.0f, d.y0 + 1.0f}, w, h);
    const Point bottomRight = searchCorner(d, {fw, fh}, {d.x0 + 1.0f, d.y0 + 1.0f}, w, h);
    // Two extra columns on the left and none on the top are deliberate:
    // hosts depend on this rectangle.
    const int64_t x = trunc32(std::max(topLeft.x, bottomLeft.x)) + 2;
    const int64_t y = trunc32(std::max(topLeft.y, topRight.y));
    const int64_t width = trunc32(std::min(topRight.x, bottomRight.x)) - x;
    const int64_t height = trunc32(std::min(bottomLeft.y, bottomRight.y)) - y;
    if (x < 0 || y < 0 || width < 1 || height < 1 || x + width > w || y + height > h) return false;
    rect = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(width),
            static_cast<int32_t>(height)};
    return true;
}

// ---------------------------------------------------------------- resize

// The exported resize refuses a scratch above UINT32_MAX bytes (its size
// query reports 32 bits): two int32 rows and a (column, weight) pair per
// destination column and per row, plus a plane per side for colour images.
// The crop keeps that limit whichever resize runs it.
bool resizeScratchFits(int64_t cropW, int64_t cropH, int64_t dstW, int64_t dstH, int32_t channels) {
    const Count in = channels > 1 ? checkedProduct({cropW, cropH}) : Count(0);
    const Count out = channels > 1 ? checkedProduct({dstW, dstH}) : Count(0);
    if (!in || !out) return false;
    const Count bytes = checkedSum({8 * dstH + 16 * dstW, *in, *out});
    return bytes && *bytes <= UINT32_MAX;
}

// Rows of a `cropH`-row source that the bilinear resize to `dstH` rows
// reads: for each output row the row of its table entry, and the one below
// when its share is not 0 and it is not the last. The table is the
// resize's: centres mapped with the ratio in float and the product in
// double rounded to float, shares in 1/1024 rounded half down.
void markRowsRead(int32_t cropH, int32_t dstH, uint8_t* read) {
    std::memset(read, 0, static_cast<size_t>(cropH));
    const float ratio = static_cast<float>(cropH) / static_cast<float>(dstH);
    for (int32_t j = 0; j < dstH; ++j) {
        const auto f = static_cast<float>((j + 0.5) * static_cast<double>(ratio) - 0.5);
        const float k = std::floor(f);
        const double share = static_cast<double>((f - k) * 1024.0f);
        const int32_t index = saturateTrunc<int32_t>(k);
        const int32_t weight = index < 0 ? 0 : saturateTrunc<int32_t>(std::ceil(share - 0.5));
        const int32_t r = std::min(std::max(index, 0), cropH - 1);
        read[r] = 1;
        if (r < cropH - 1 && weight > 0) read[r + 1] = 1;
    }
}

int32_t encodingWith(int32_t channels) {
    switch (channels) {
    case 1: return OX_GRAY;
    case 3: return OX_BGR;
    case 4: return OX_RGBA;  // any four-channel order: both sides share it
    default: return -1;      // no image has it; the resize refuses it
    }
}

HeaderPtr headerOver(uint8_t* data, int64_t stride, int32_t width, int32_t height, int32_t channels) {
    HeaderPtr h(oxImageCreateHeader(static_cast<int32_t>(stride / channels), height, encodingWith(channels)));
    if (h) {
        h->data = data;
        h->roi = {0, 0, width, height};
    }
    return h;
}

// The one call into the resize: the crop scaled to dst. Views of one
// channel layout go straight to the interleaved resize; any other pairing
// keeps the exported resize's channel-by-channel rules.
Status resizeCrop(ConstView<uint8_t> crop, View<uint8_t> dst) {
    if (crop.channels == dst.channels) return resizeBilinear(crop, dst);
    HeaderPtr in = headerOver(const_cast<uint8_t*>(crop.data), crop.stride, crop.width, crop.height, crop.channels);
    HeaderPtr out = headerOver(dst.data, dst.stride, dst.width, dst.height, dst.channels);
    if (!in || !out) return Status::Refused;
    return oxResize(in.get(), out.get(), OX_RESIZE_BILINEAR, nullptr) == 0 ? Status::Ok : Status::Refused;
}

void copyRows(ConstView<uint8_t> from, View<uint8_t> to) {
    const auto bytes = static_cast<size_t>(from.rowElements());
    for (int32_t y = 0; y < from.height; ++y) std::memcpy(to.row(y), from.row(y), bytes);
}

// ---------------------------------------------------------------- reference

// The plain form: every pixel of the zeroed work image distorted, then the
// crop searched and scaled, or the whole image copied.
Status referenceLens(const Distortion& d, bool crop, ConstView<uint8_t> src, View<uint8_t> dst, AbortFlag abortFlag) {
    OwnedView<uint8_t> work = allocateView<uint8_t>(src.width, src.height, src.channels);
    if (!work) return Status::Refused;
    std::memset(work.view.data, 0, static_cast<size_t>(work.view.rowElements() * work.view.height));
    for (int32_t y = 0; y < src.height; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        uint8_t* out = work.view.row(y);
        for (int32_t x = 0; x < src.width; ++x, out += src.channels) lens::samplePixel<0>(d, src, src.channels, x, y, out);
    }
    if (!crop) {
        copyRows(work.view, dst);
        return Status::Ok;
    }
    oxRect rect;
    if (!cropRect(d, src.width, src.height, rect) ||
        !resizeScratchFits(rect.width, rect.height, dst.width, dst.height, src.channels))
        return Status::Refused;
    return resizeCrop(work.view.sub(rect.x, rect.y, rect.width, rect.height), dst);
}

// ---------------------------------------------------------------- fast

using RowKernel = void (*)(const Distortion&, ConstView<uint8_t>, int32_t, int32_t, int32_t, uint8_t*) noexcept;

RowKernel rowKernelFor(ConstView<uint8_t> src) {
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && lens::avx2Takes(src)) return lens::distortRowAvx2;
#endif
    (void)src;
    return lens::distortRow;
}

const uint8_t* endOf(ConstView<uint8_t> v) { return v.row(v.height - 1) + v.rowElements(); }

bool disjoint(ConstView<uint8_t> a, ConstView<uint8_t> b) { return endOf(a) <= b.data || endOf(b) <= a.data; }

// Without crop: straight into dst when nothing can abort and dst does not
// overlap src, otherwise through a work image so that an abort or a shared
// buffer never sees a half-written dst.
Status distortWhole(const Distortion& d, ConstView<uint8_t> src, View<uint8_t> dst, AbortFlag abortFlag) {
    const RowKernel distortRow = rowKernelFor(src);
    if (abortFlag == nullptr && disjoint(src, dst)) {
        for (int32_t y = 0; y < src.height; ++y) distortRow(d, src, y, 0, src.width, dst.row(y));
        return Status::Ok;
    }
    OwnedView<uint8_t> work = allocateView<uint8_t>(src.width, src.height, src.channels);
    if (!work) return Status::Refused;
    for (int32_t y = 0; y < src.height; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        distortRow(d, src, y, 0, src.width, work.view.row(y));
    }
    copyRows(work.view, dst);
    return Status::Ok;
}

// With crop: only the crop's rows that the resize reads are distorted; the
// others are never written and never read. The flag is still polled once
// per source row.
Status distortCrop(const Distortion& d, ConstView<uint8_t> src, View<uint8_t> dst, AbortFlag abortFlag,
                   std::span<uint8_t> scratch) {
    oxRect rect;
    if (!cropRect(d, src.width, src.height, rect) ||
        !resizeScratchFits(rect.width, rect.height, dst.width, dst.height, src.channels))
        return lensRefusal(src.height, abortFlag);
    const Count workBytes = checkedProduct({rect.width, rect.height, src.channels});
    OwnedView<uint8_t> work;
    if (workBytes && static_cast<uint64_t>(*workBytes) <= scratch.size())
        work.view = {scratch.data(), rect.width, rect.height, src.channels, int64_t{rect.width} * src.channels};
    else
        work = allocateView<uint8_t>(rect.width, rect.height, src.channels);
    OwnedView<uint8_t> read = allocateView<uint8_t>(rect.height, 1, 1);
    if (!work.view.data || !read) return Status::Refused;
    markRowsRead(rect.height, dst.height, read.view.data);
    const RowKernel distortRow = rowKernelFor(src);
    for (int32_t y = 0; y < src.height; ++y) {
        if (abortRequested(abortFlag)) return Status::Aborted;
        const int32_t r = y - rect.y;
        if (r >= 0 && r < rect.height && read.view.data[r])
            distortRow(d, src, y, rect.x, rect.width, work.view.row(r));
    }
    return resizeCrop(work.view, dst);
}

}  // namespace

Status lensDistortion(const LensParams& p, ConstView<uint8_t> src, View<uint8_t> dst, AbortFlag abortFlag,
                      std::span<uint8_t> scratch) {
    const Distortion d = lens::distortionOf(p.amount, p.cx, p.cy, src.width, src.height);
    if (useReference()) return referenceLens(d, p.crop, src, dst, abortFlag);
    return p.crop ? distortCrop(d, src, dst, abortFlag, scratch) : distortWhole(d, src, dst, abortFlag);
}

Status lensRefusal(int32_t rows, AbortFlag abortFlag) noexcept {
    for (int32_t y = 0; y < rows; ++y)
        if (abortRequested(abortFlag)) return Status::Aborted;
    return Status::Refused;
}

}  // namespace ox::detail
