// The ROI walk of the element-wise operations as a typed view, and the
// overlap test that decides whether a vectorised loop may run over views
// that share memory.
#pragma once

#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/view.hpp"

namespace ox::detail {

// The walk of cols x rows pixels over `img` from its ROI origin by its own
// ROI row skip: after `cols` pixels a row advances by width - roi.width
// more pixels, so a ROI narrower than the walk drifts right row by row,
// exactly as the cursor walk does. Preconditions: roiWalkFits(img, cols,
// rows) and T is the image's element type.
template <class T> View<T> walkView(const oxImage* img, int32_t cols, int32_t rows) noexcept {
    const int32_t channels = channelCount(img->encoding);
    const int64_t stride = (static_cast<int64_t>(img->width) - img->roi.width + cols) * channels;
    T* origin = reinterpret_cast<T*>(roiCursor(img).p);
    return {origin, cols, rows, channels, stride};
}

// True when the memory the two views touch intersects and they are not the
// same pixels (same first element, stride and channels): only then can an
// operation's result depend on the order in which pixels are visited.
template <class A, class B> bool overlap(const View<A>& a, const View<B>& b) noexcept {
    if (a.empty() || b.empty()) return false;
    const auto* a0 = reinterpret_cast<const uint8_t*>(a.data);
    const auto* b0 = reinterpret_cast<const uint8_t*>(b.data);
    if (a0 == b0 && sizeof(A) == sizeof(B) && a.stride == b.stride && a.channels == b.channels) return false;
    const auto* a1 = reinterpret_cast<const uint8_t*>(a.row(a.height - 1) + a.rowElements());
    const auto* b1 = reinterpret_cast<const uint8_t*>(b.row(b.height - 1) + b.rowElements());
    return a0 < b1 && b0 < a1;
}

// Runs an element-wise row kernel row(s, d, n) over two views of the same
// shape: once over the whole buffer when both are packed (one long run
// keeps the vector loop busy past row ends), else row by row.
template <class S, class D, class Row> void forEachRow(const View<S>& src, const View<D>& dst, Row row) noexcept {
    if (src.empty()) return;
    if (src.packed() && dst.packed()) {
        row(src.data, dst.data, src.rowElements() * src.height);
        return;
    }
    for (int32_t y = 0; y < src.height; ++y) row(src.row(y), dst.row(y), src.rowElements());
}

}  // namespace ox::detail
