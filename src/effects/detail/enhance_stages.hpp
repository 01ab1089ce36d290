// Building the Enhance stage set from the four stage records' factories.
// The factories are parameters so that a failing allocation at each step
// can be exercised; oxEnhanceParamsInnerCreate passes the real ones.
#pragma once

#include "core/detail/handles.hpp"
#include "ox_enhance.h"

namespace ox::detail {

struct StageFactories {
    oxContrastEnhanceParams* (*contrast)();
    oxTransferEnhanceParams* (*transfer)();
    oxFillLightParams* (*fillLight)();
    oxSharpenParams* (*sharpen)();
};

// All four records are made, in stage order, before any is checked; when
// one is missing the others are released and the set is not returned.
inline oxEnhanceParamsInner* createStageSet(const StageFactories& make) noexcept {
    std::unique_ptr<oxEnhanceParamsInner, FreeDeleter> set(allocateRecord<oxEnhanceParamsInner>());
    if (!set) return nullptr;
    Owned<oxContrastEnhanceParams, oxContrastEnhanceParamsRelease> contrast(make.contrast());
    Owned<oxTransferEnhanceParams, oxTransferEnhanceParamsRelease> transfer(make.transfer());
    Owned<oxFillLightParams, oxFillLightParamsRelease> fillLight(make.fillLight());
    Owned<oxSharpenParams, oxSharpenParamsRelease> sharpen(make.sharpen());
    if (!contrast || !transfer || !fillLight || !sharpen) return nullptr;
    set->contrast = contrast.release();
    set->transfer = transfer.release();
    set->fillLightParams = fillLight.release();
    set->sharpenParams = sharpen.release();
    return set.release();
}

}  // namespace ox::detail
