// The Enhance stages as internal operations: each is the whole Filter of
// its stage (statistics, derived record, apply, optional blend through
// weights) on images the caller has made sure exist, with the stage's own
// statuses (0, 1, 2, or a blend's code). The exported stage shells and the
// Enhance pipeline both call these, so the pipeline passes its records
// without a second round of null checks and conversions.
#pragma once

#include <cstdint>

#include "core/detail/status.hpp"
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

}  // namespace ox::detail
