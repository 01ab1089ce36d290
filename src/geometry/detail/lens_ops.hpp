// Lens distortion over typed views, for the exported shells and for the
// tilt-shift entry that runs it after its blur. Inputs are checked by the
// caller; the operation allocates its own scratch and dispatches on
// activeIsa().
#pragma once

#include <cstdint>
#include <span>

#include "core/detail/status.hpp"
#include "core/detail/view.hpp"

namespace ox::detail {

struct LensParams {
    float amount;  // strength, spread over the whole image as amount / (w * h)
    float cx;      // centre as fractions of the width and height
    float cy;
    bool crop;  // crop the defined region and scale it to dst; else copy
};

// Distorts the 8-bit interleaved `src` (the whole image: the distortion's
// scale and centre come from its size). Without crop, `dst` receives the
// distorted image, 0 where a pixel's sample has no 2 x 2 neighbourhood.
// With crop, the rectangle the distortion leaves defined is scaled to
// `dst`'s size with the bilinear resize.
//
// Preconditions: src at least 2 x 2 pixels; dst not empty, with src's
// channel count, and without crop src's size. The two may share memory:
// dst is written only after the last source byte has been read.
//
// The flag is polled once per source row before dst is touched: Aborted
// leaves dst as it was. Refused (after the rows were polled, dst untouched)
// when the crop rectangle is empty or leaves the image, when the resize's
// scratch would pass the 4 GiB its callers are promised, or when scratch
// cannot be had.
//
// With crop, a pipeline can lend memory it no longer needs as `scratch`:
// when it holds the crop's pixels (crop width x height x channels bytes),
// the crop is distorted there instead of into new memory. It must overlap
// neither src nor dst.
Status lensDistortion(const LensParams& p, ConstView<uint8_t> src, View<uint8_t> dst, AbortFlag abortFlag,
                      std::span<uint8_t> scratch = {});

// What lensDistortion returns for an input a later step would refuse: the
// flag polled once per row of a `rows`-row source, Aborted when it is set,
// Refused otherwise.
Status lensRefusal(int32_t rows, AbortFlag abortFlag) noexcept;

}  // namespace ox::detail
