// The focus mask as an operation over a plane: the elliptical sharpness
// weight of the tilt-shift effect.
#pragma once

#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "ox_tiltshift.h"

namespace ox::detail {

// Fills every byte of the plane with (1 - sqrt(dx*dx + dy*dy)) * 255,
// truncated (negative and NaN give 0), where dx and dy are the offsets from
// the centre of the box `p` spans (fractions of the plane's size) in units
// of its half-axes.
Status focusMaskFill(const oxFocusMaskParams& p, View<uint8_t> plane) noexcept;

}  // namespace ox::detail
