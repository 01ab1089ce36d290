// The Enhance stages as internal operations: each is the whole Filter of
// its stage (statistics, derived record, apply, optional blend through
// weights) on images the caller has made sure exist, with the stage's own
// statuses (0, 1, 2, or a blend's code). The exported stage shells and the
// Enhance pipeline both call these, so the pipeline passes its records
// without a second round of null checks and conversions.
#pragma once

#include <cstdint>

#include "core/detail/status.hpp"
#include "ox_color_correction.h"
#include "ox_contrast.h"
#include "ox_image.h"
#include "ox_transfer.h"

namespace ox::detail {

int32_t colourCorrectionStage(const oxImage* source, const oxImage* weights, oxImage* destination,
                              AbortFlag abortFlag);
int32_t contrastStage(const oxContrastEnhanceParams& params, const oxImage* source, const oxImage* weights,
                      oxImage* destination, AbortFlag abortFlag);
int32_t transferStage(const oxTransferEnhanceParams& params, const oxImage* source, const oxImage* weights,
                      oxImage* destination, AbortFlag abortFlag);
int32_t fillLightStage(double amount, const oxImage* base, const oxImage* light, oxImage* destination,
                       AbortFlag abortFlag);
int32_t sharpenStage(double amount, const oxImage* source, const oxImage* mask, oxImage* destination,
                     AbortFlag abortFlag);

}  // namespace ox::detail
