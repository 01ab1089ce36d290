// Resize operations over typed views, for the exported shells and for the
// pipelines that scale a working copy and back (painterly smoothing,
// tilt-shift, the lens crop). Inputs are checked by the caller; each
// operation allocates its own scratch and dispatches on activeIsa().
#pragma once

#include <cstdint>

#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_image.h"

namespace ox::detail {

// Bilinear resize in fixed point of 8-bit interleaved pixels: every channel
// of `src` is resampled alone into the same channel of `dst`, with column
// and row shares in 1/1024 and the result rounded to nearest.
// Preconditions: neither view is empty, both have the same channel count
// (1 or more). When the two views share memory, rows are read as the
// target is written, in the order of the plain loop. Refused only when the
// scratch (tables and two interpolated rows) cannot be allocated; `dst` is
// then untouched.
Status resizeBilinear(ConstView<uint8_t> src, View<uint8_t> dst);

// Nearest-neighbour resize copying whole pixels: target (i, j) takes source
// pixel (floor(i / (dw / sw)), floor(j / (dh / sh))), the ratios in double.
// Preconditions as above. Refused only when the column table cannot be
// allocated; `dst` is then untouched. Instantiated for the six pixel types.
template <class T> Status resizeNearest(ConstView<T> src, View<T> dst);

// True when the scratch the exported resize reports for these images in
// this mode is beyond what its size query can report: the exported resize
// refuses them before anything else. A pipeline that runs the operation on
// whole images itself keeps that refusal with this.
bool resizeScratchTooLarge(const oxImage* src, const oxImage* dst, int32_t mode) noexcept;

}  // namespace ox::detail
