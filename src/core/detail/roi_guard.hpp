// Bounds test for the multi-image ROI walk.
#pragma once

#include <cstdint>

#include "core/detail/image_view.hpp"
#include "core/detail/pixel_types.hpp"
#include "ox_image.h"

namespace ox::detail {

// True when walking `rows` x `cols` pixels from the ROI origin of `img`,
// advancing by its own pixel step and its own ROI row skip, stays inside
// its buffer. That holds when its ROI lies inside the image and is at least
// as large as the walk: a narrower ROI gives a larger row skip and the walk
// drifts one row further right each row, past the end of the buffer.
inline bool roiWalkFits(const oxImage* img, int32_t cols, int32_t rows) noexcept {
    return isKnownType(img->type) && roiInside(img) && img->roi.width >= cols && img->roi.height >= rows;
}

}  // namespace ox::detail
