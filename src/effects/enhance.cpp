// The Enhance effect: the user-level record, the stage set it is spread
// into, the five-stage pipeline and the entry point for raw buffers.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/enhance_stages.hpp"
#include "effects/detail/entry.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "ox_color_correction.h"
#include "ox_elementwise.h"
#include "ox_enhance.h"

using namespace ox::detail;

namespace {

using StageSetPtr = Owned<oxEnhanceParamsInner, oxEnhanceParamsInnerRelease>;
using EnhanceParamsPtr = Owned<oxEnhanceParams, oxEnhanceParamsRelease>;

// The contrast mix weight: weight * 255 in single precision, rounded with
// halves away from zero (0.5 gives 128), clamped to 0..255; NaN gives 0.
uint8_t contrastMixWeight(float weight) noexcept {
    return clampTrunc<uint8_t>(std::roundf(weight * 255.0f), uint8_t{0}, uint8_t{255});
}

// The unprocessed source for the final blend or for fill light in place:
// an 8-bit image of the source's size and encoding, filled by oxCopy. That
// copies the source's ROI only, so the rest is zeroed rather than left
// uninitialised. Null when it cannot be made or filled.
ImagePtr unprocessedCopy(const oxImage* source) {
    ImagePtr copy(oxImageCreate(source->width, source->height, source->encoding));
    if (!copy) return copy;
    if (!roiIsWhole(source)) std::memset(copy->data, 0, static_cast<size_t>(*bufferBytes(copy.get())));
    if (oxCopy(source, copy.get()) != 0) copy.reset();
    return copy;
}

// The blends belong to the image core: these are the one place the
// pipeline asks for them, through the exported functions, so that they can
// switch to the core's operations. Both statuses are examined.
int32_t mixContrast(const oxImage* working, oxImage* destination, uint8_t weight) {
    return oxAddWeigthedS(working, destination, destination, weight);
}

int32_t blendWithWeights(const oxImage* unprocessed, oxImage* destination, const oxImage* weights) {
    return oxAddWeigthedM(unprocessed, destination, destination, weights);
}

// The colour bytes of a three-channel image as a packed view.
View<uint8_t> packedColour(const oxImage* img) noexcept {
    return {img->data, img->width, img->height, 3, static_cast<int64_t>(img->width) * 3};
}

bool samePlaces(const ColourBytes& a, const ColourBytes& b) noexcept { return a.b == b.b && a.g == b.g && a.r == b.r; }

// Each byte of a three-byte pixel is one of its colour channels.
bool everyByteColour(const ColourBytes& c) noexcept {
    const auto inPixel = [](int32_t at) { return at >= 0 && at <= 2; };
    return c.step == 3 && inPixel(c.b) && inPixel(c.g) && inPixel(c.r) && c.b != c.g && c.g != c.r && c.b != c.r;
}

// Contrast at full weight and then transfer run as one walk
// (contrastThenTransfer) only where the stages' own checks all pass: both
// images packed three-byte colour with every byte a colour channel, in the
// same places; a blur that fits; the same pixels or none shared; and the
// mix, which at weight 255 copies the destination onto itself, succeeding
// (asked first: its status depends on the destination's record only, and
// it changes no byte).
bool oneWalkApplies(const oxEnhanceParamsInner& s, const oxImage* working, oxImage* destination) {
    if (useReference() || contrastMixWeight(s.contrastWeight) != 255 || !(s.transfer->steepness > 0.0f)) return false;
    if (!isColour(working) || !isColour(destination) || !walkable(working) || !walkable(destination)) return false;
    if (!hasPixels(working) || working->width != destination->width || working->height != destination->height)
        return false;
    const ColourBytes w = colourBytes(working), d = colourBytes(destination);
    if (!everyByteColour(w) || d.step != 3 || !samePlaces(w, d)) return false;
    const int32_t radius = s.transfer->radius;
    if (radius >= 1 && (working->width <= radius || working->height <= radius)) return false;
    const int64_t bytes = w.rowBytes * working->height;
    const bool shared = w.data < d.data + bytes && d.data < w.data + bytes;
    if (shared && w.data != d.data) return false;
    return mixContrast(working, destination, 255) == 0;
}

// The contrast stage, its mix and the transfer stage, each where switched
// on; `working` becomes the destination once one has written it.
int32_t contrastAndTransfer(const oxEnhanceParamsInner& s, const oxImage*& working, oxImage* destination,
                            AbortFlag abortFlag) {
    if (s.contrastWeight > 0.0f && oneWalkApplies(s, working, destination)) {
        bool declined = false;
        const Status r = contrastThenTransfer(packedColour(working), packedColour(destination), *s.contrast,
                                              *s.transfer, abortFlag, declined);
        if (!declined) {
            working = destination;
            return code(r);
        }
    }
    // With the mix weight at 255 the mix leaves the contrast output as it is,
    // so the contrast stage can gather the brightness the transfer stage
    // reads next while it writes the pixels.
    BrightnessTap tap;
    Buffer tapPlane;
    if (s.contrastWeight > 0.0f && contrastMixWeight(s.contrastWeight) == 255 && s.transfer->steepness > 0.0f) {
        const Count bytes = checkedProduct({working->width, working->height});
        if (bytes && *bytes > 0) tapPlane = allocateBuffer(static_cast<size_t>(*bytes));
        tap.plane = tapPlane.get();
    }
    if (s.contrastWeight > 0.0f) {
        if (const int32_t r = contrastStage(*s.contrast, working, nullptr, destination, abortFlag,
                                            tap.plane ? &tap : nullptr);
            r != 0)
            return r;
        // Deliberate: once the working image is the destination this mixes
        // the destination with itself, which can lower values by one.
        const uint8_t w = contrastMixWeight(s.contrastWeight);
        if (const int32_t r = mixContrast(working, destination, w); r != 0) return r;
        working = destination;
    }
    if (s.transfer->steepness > 0.0f) {
        if (const int32_t r = transferStage(*s.transfer, working, nullptr, destination, abortFlag, &tap); r != 0)
            return r;
        working = destination;
    }
    return code(Status::Ok);
}

int32_t enhance(const oxEnhanceParams& params, const oxImage* source, const oxImage* weights, oxImage* destination,
                AbortFlag abortFlag) {
    if (destination->width != source->width || destination->height != source->height) return code(Status::Refused);
    StageSetPtr set(oxEnhanceParamsInnerCreate());
    if (!set) return code(Status::Refused);
    oxEnhanceSetInnerParams(&params, set.get());
    const oxEnhanceParamsInner& s = *set;

    // "In place" means the same record: two headers over one buffer are two
    // images here, as for every stage.
    ImagePtr copy;
    if (weights != nullptr || (destination == source && s.fillLight != 0)) {
        copy = unprocessedCopy(source);
        if (!copy) return code(Status::Refused);
    }
    const oxImage* unprocessed = copy ? copy.get() : source;

    // Every stage writes the destination and the next one reads it.
    const oxImage* working = source;
    if (s.colorCorrection != 0) {
        if (const int32_t r = colourCorrectionStage(source, nullptr, destination, abortFlag); r != 0) return r;
        working = destination;
    }
    if (const int32_t r = contrastAndTransfer(s, working, destination, abortFlag); r != 0) return r;
    if (s.fillLight != 0) {
        if (const int32_t r = fillLightStage(s.fillLightParams->amount, unprocessed, working, destination, abortFlag); r != 0)
            return r;
        working = destination;
    }
    if (s.sharpen != 0) {
        if (const int32_t r = sharpenStage(s.sharpenParams->amount, working, nullptr, destination, abortFlag); r != 0)
            return r;
    }
    if (weights == nullptr) return code(Status::Ok);
    return blendWithWeights(unprocessed, destination, weights);
}

int32_t yewEnhance(int32_t width, int32_t height, const uint8_t* sourcePixels, uint8_t* destinationPixels,
                   float transferSteepness) {
    if (sourcePixels == nullptr || destinationPixels == nullptr || width < 0 || height < 0)
        return code(Status::Refused);
    HeaderPtr source = wrapBgr(width, height, sourcePixels);
    HeaderPtr destination = wrapBgr(width, height, destinationPixels);
    if (!source || !destination) return code(Status::Refused);
    EnhanceParamsPtr params(oxEnhanceParamsDefault());
    if (!params) return code(Status::Refused);
    params->transferSteepness = transferSteepness;
    return enhance(*params, source.get(), nullptr, destination.get(), nullptr);
}

}  // namespace

extern "C" {

OX_API oxEnhanceParams* oxEnhanceParamsDefault(void) {
    auto* p = allocateRecord<oxEnhanceParams>();
    if (p != nullptr) *p = {0, 1, 1.0f, 9.0f, 4.0f, 0.3f, 1.4f, 7, 0, 1.0f, 0, 0.3f};
    return p;
}

OX_API void oxEnhanceParamsRelease(oxEnhanceParams** params) { releaseRecord(params); }

OX_API oxEnhanceParamsInner* oxEnhanceParamsInnerCreate(void) {
    return createStageSet({oxContrastEnhanceParamsDefault, oxTransferEnhanceParamsDefault, oxFillLightParamsDefault,
                           oxSharpenParamsDefault});
}

OX_API void oxEnhanceParamsInnerRelease(oxEnhanceParamsInner** inner) {
    if (inner == nullptr || *inner == nullptr) return;
    oxEnhanceParamsInner* set = *inner;
    oxContrastEnhanceParamsRelease(&set->contrast);
    oxFillLightParamsRelease(&set->fillLightParams);
    oxSharpenParamsRelease(&set->sharpenParams);
    oxTransferEnhanceParamsRelease(&set->transfer);
    releaseRecord(inner);
}

OX_API void oxEnhanceSetInnerParams(const oxEnhanceParams* params, oxEnhanceParamsInner* inner) {
    if (params == nullptr || inner == nullptr) return;
    inner->colorCorrection = params->colorCorrection;
    inner->reservedFlag = params->reservedFlag;
    inner->contrastWeight = params->contrastWeight;
    if (inner->contrast != nullptr) {
        inner->contrast->highClip = params->contrastHighClip;
        inner->contrast->lowClip = params->contrastLowClip;
    }
    if (inner->transfer != nullptr) {
        inner->transfer->steepness = params->transferSteepness;
        inner->transfer->strength = params->transferStrength;
        inner->transfer->radius = params->transferRadius;
    }
    inner->fillLight = params->fillLight;
    if (inner->fillLightParams != nullptr) inner->fillLightParams->amount = params->fillLightAmount;
    inner->sharpen = params->sharpen;
    if (inner->sharpenParams != nullptr) inner->sharpenParams->amount = params->sharpenAmount;
}

OX_API int32_t oxEnhanceFilter(const oxEnhanceParams* params, const oxImage* source, const oxImage* weights,
                               oxImage* destination, const volatile int32_t* abortFlag) {
    if (params == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return enhance(*params, source, weights, destination, abortFlag);
}

OX_API int32_t oxYewEnhance(int32_t width, int32_t height, const uint8_t* sourcePixels, uint8_t* destinationPixels,
                            float transferSteepness) {
    return yewEnhance(width, height, sourcePixels, destinationPixels, transferSteepness);
}

}  // extern "C"
