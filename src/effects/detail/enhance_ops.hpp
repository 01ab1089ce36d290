// The Enhance stages as internal operations: each is the whole Filter of
// its stage (statistics, derived record, apply, optional blend through
// weights) on images the caller has made sure exist, with the stage's own
// statuses (0, 1, 2, or a blend's code). The exported stage shells and the
// Enhance pipeline both call these, so the pipeline passes its records
// without a second round of null checks and conversions.
#pragma once

#include <cstdint>

#include "core/detail/status.hpp"
#include "core/detail/view.hpp"
#include "effects/detail/stage_transfer.hpp"
#include "effects/detail/tone_kernels.hpp"
#include "ox_color_correction.h"
#include "ox_contrast.h"
#include "ox_image.h"
#include "ox_transfer.h"

namespace ox::detail {

// The brightness of an image (the largest of channels 1-3 of each pixel)
// as the transfer stage gathers it: a packed plane of the image's size and
// the single-precision running sum of its values in row-major order. A
// stage that writes the image can form it on the way (`filled`), so that
// the transfer stage reading the image next need not walk it twice.
struct BrightnessTap {
    uint8_t* plane = nullptr;
    float sum = 0.0f;
    bool filled = false;
};

int32_t colourCorrectionStage(const oxImage* source, const oxImage* weights, oxImage* destination,
                              AbortFlag abortFlag);
// With a tap and no weights, the contrast stage also fills the tap with
// the brightness of what it writes, where its layout allows (else the tap
// stays unfilled).
int32_t contrastStage(const oxContrastEnhanceParams& params, const oxImage* source, const oxImage* weights,
                      oxImage* destination, AbortFlag abortFlag, BrightnessTap* tap = nullptr);
// With a filled tap that describes `source` as it is, and no weights, the
// transfer stage takes its statistics and brightness map from the tap.
int32_t transferStage(const oxTransferEnhanceParams& params, const oxImage* source, const oxImage* weights,
                      oxImage* destination, AbortFlag abortFlag, const BrightnessTap* tap = nullptr);
int32_t fillLightStage(double amount, const oxImage* base, const oxImage* light, oxImage* destination,
                       AbortFlag abortFlag);
int32_t sharpenStage(double amount, const oxImage* source, const oxImage* mask, oxImage* destination,
                     AbortFlag abortFlag);

// The contrast stage's table for an image of `pixels` pixels whose
// brightness values occur as `counts`: the statistics its Filter gathers
// and the table it computes from them.
void contrastTable(const BrightnessCounts& counts, int64_t pixels, const oxContrastEnhanceParams& params,
                   uint8_t* table) noexcept;

// The transfer stage's curve for a running brightness sum over an image of
// width x height pixels, as its Filter computes it.
TransferCurve transferCurveOf(float brightnessSum, int32_t width, int32_t height,
                              const oxTransferEnhanceParams& params) noexcept;

// The contrast stage, its output mixed in at weight 255 (which keeps it),
// then the transfer stage, as one walk over packed three-byte colour: the
// contrast output is never formed. Its brightness is the table applied to
// the source's brightness, which holds for a table that never decreases;
// for any other table nothing is done and `declined` is set (the caller
// runs the stages). Preconditions: src and dst have the same size (at
// least one pixel, larger than the transfer radius in both directions
// when it is 1 or more), 3 channels, packed rows, the colour bytes in the
// same places (any order); they are the same pixels or do not overlap.
// Ok, Aborted or Refused (no memory for the blur); then dst holds what the
// stages run one after the other leave: nothing written when the flag is
// seen while the histogram is gathered, else the contrast output in every
// row the transfer has not written. With no memory for its own scratch it
// declines as well.
Status contrastThenTransfer(ConstView<uint8_t> src, View<uint8_t> dst, const oxContrastEnhanceParams& contrast,
                            const oxTransferEnhanceParams& transfer, AbortFlag abortFlag, bool& declined) noexcept;

}  // namespace ox::detail
