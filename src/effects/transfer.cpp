// Transfer enhancement: a local tone curve chosen per pixel from the
// box-blurred brightness of its neighbourhood.
#include <algorithm>
#include <cstring>

#include "convolution/detail/blur_ops.hpp"
#include "core/detail/handles.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "effects/detail/stage_transfer.hpp"
#include "ox_blur.h"
#include "ox_transfer.h"

using namespace ox::detail;

namespace {

// A grey image's pixels as a plane.
View<uint8_t> planeOf(const oxImage* img) { return {img->data, img->width, img->height, 1, img->width}; }

void initStats(oxTransferEnhanceStats& stats, int32_t width, int32_t height) {
    stats.brightnessSum = 0.0f;
    stats.pixelCount = static_cast<float>(height) * static_cast<float>(width);
}

int32_t retrieve(oxTransferEnhanceStats& stats, const oxImage* image, AbortFlag abortFlag) {
    if (!isColour(image) || !walkable(image)) return code(Status::Refused);
    initStats(stats, image->width, image->height);
    const ColourBytes px = colourBytes(image);
    // One running sum in row-major order, never split into partial sums:
    // once it passes 2^24 every add rounds, and the mean it yields selects
    // the whole curve.
    float sum = 0.0f;
    for (int32_t y = 0; y < image->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        forEachBrightness(px, y, image->width, [&sum](int32_t, uint8_t v) { sum += static_cast<float>(v); });
    }
    stats.brightnessSum = sum;
    return code(Status::Ok);
}

TransferCurve curveOf(const oxTransferEnhanceStats& stats, const oxTransferEnhanceParams& params) {
    const float mean = stats.brightnessSum / stats.pixelCount;
    return transferCurve(mean, params.steepness, params.strength);
}

void compute(const oxTransferEnhanceStats& stats, const oxTransferEnhanceParams& params,
             oxTransferEnhanceAddParams& out) {
    out.radius = params.radius;
    fillGainTable(curveOf(stats, params), kByteLevels.v, out.gainTable);
}

// The mirrored borders of the blur need more pixels than the radius in each
// direction a pass runs.
bool blurFits(const oxImage* image, int32_t radius) {
    return radius < 1 || (image->width > radius && image->height > radius);
}

// `known`: the brightness plane of the source when a stage before has
// formed it (null: formed here).
int32_t apply(const oxTransferEnhanceAddParams& params, const oxImage* source, oxImage* destination,
              AbortFlag abortFlag, const uint8_t* known = nullptr) {
    if (!isColour(source) || !isColour(destination)) return code(Status::Refused);
    if (!walkable(source) || !writableFor(destination, source)) return code(Status::Refused);
    if (!blurFits(source, params.radius)) return code(Status::Refused);

    const int32_t width = source->width, height = source->height;
    ImagePtr brightness(known ? nullptr : oxImageCreate(width, height, OX_GRAY));
    ImagePtr blurred(oxImageCreate(width, height, OX_GRAY));
    if ((!known && !brightness) || !blurred) return code(Status::Refused);

    const ColourBytes s = colourBytes(source), d = colourBytes(destination);
    if (!known)
        for (int32_t y = 0; y < height; ++y) {
            if (abortRequested(abortFlag)) return code(Status::Aborted);
            uint8_t* bp = brightness->data + static_cast<int64_t>(y) * width;
            forEachBrightness(s, y, width, [bp](int32_t x, uint8_t v) { bp[x] = v; });
        }
    const View<uint8_t> levels{known ? const_cast<uint8_t*>(known) : brightness->data, width, height, 1, width};
    // A radius below 1 blurs nothing and the blur then leaves its output
    // unwritten; the neighbourhood is the pixel itself.
    if (params.radius < 1 && hasPixels(source))
        std::memcpy(blurred->data, levels.data, static_cast<size_t>(width) * static_cast<size_t>(height));
    if (params.radius >= 1)
        if (const Status r = boxBlurPlane(levels, planeOf(blurred.get()), params.radius, params.radius, abortFlag);
            r != Status::Ok)
            return code(r);

    const uint8_t* table = params.gainTable;
    const uint8_t* neighbourhood = blurred->data;
    if (!useReference() && s.step == 3 && d.step == 3 && s.b == d.b && s.g == d.g && s.r == d.r) {
        // The common layout: one table row per pixel, its three bytes in
        // place.
        for (int32_t y = 0; y < height; ++y) {
            if (abortRequested(abortFlag)) return code(Status::Aborted);
            gainLookupRow(s.rowAt(y), neighbourhood + static_cast<int64_t>(y) * width, table, d.rowAt(y), width);
        }
        return code(Status::Ok);
    }
    return mapColourRows(s, d, width, height, abortFlag, [=](int32_t y) {
        const uint8_t* levels = neighbourhood + static_cast<int64_t>(y) * width;
        return [=](uint8_t v, int32_t x, auto) { return table[levels[x] * 256 + v]; };
    });
}

}  // namespace

TransferCurve ox::detail::transferCurveOf(float brightnessSum, int32_t width, int32_t height,
                                          const oxTransferEnhanceParams& params) noexcept {
    oxTransferEnhanceStats stats;
    initStats(stats, width, height);
    stats.brightnessSum = brightnessSum;
    return curveOf(stats, params);
}

namespace {

struct TransferStage {
    using Params = oxTransferEnhanceParams;
    using Stats = oxTransferEnhanceStats;
    using Derived = oxTransferEnhanceAddParams;
    static int32_t retrieve(Stats& s, const oxImage* img, AbortFlag f) { return ::retrieve(s, img, f); }
    static void compute(const Stats& s, const Params* p, Derived& d) { ::compute(s, *p, d); }
    static int32_t apply(const Derived& d, const oxImage* src, oxImage* dst, AbortFlag f) {
        return ::apply(d, src, dst, f);
    }
};

}  // namespace

int32_t ox::detail::transferStage(const oxTransferEnhanceParams& params, const oxImage* source, const oxImage* weights,
                                  oxImage* destination, AbortFlag abortFlag, const BrightnessTap* tap) {
    if (tap == nullptr || !tap->filled || weights != nullptr)
        return runStageFilter<TransferStage>(&params, source, weights, destination, abortFlag);
    // The Filter sequence without a blend, with the statistics the tap
    // gathered: the same sum, in the same order, as retrieve forms.
    if (!isColour(source) || !walkable(source)) return code(Status::Refused);
    if (abortRequested(abortFlag)) return code(Status::Aborted);
    oxTransferEnhanceStats stats;
    initStats(stats, source->width, source->height);
    stats.brightnessSum = tap->sum;
    HeapRecord<oxTransferEnhanceAddParams> derived(allocateRecord<oxTransferEnhanceAddParams>());
    if (!derived) return code(Status::Refused);
    compute(stats, params, *derived);
    return apply(*derived, source, destination, abortFlag, tap->plane);
}

extern "C" {

OX_API oxTransferEnhanceParams* oxTransferEnhanceParamsDefault(void) {
    auto* p = allocateRecord<oxTransferEnhanceParams>();
    if (p != nullptr) *p = {0.3f, 1.0f, 7};
    return p;
}

OX_API void oxTransferEnhanceParamsRelease(oxTransferEnhanceParams** params) { releaseRecord(params); }

OX_API oxTransferEnhanceStats* oxTransferEnhanceStatsCreate(void) { return allocateRecord<oxTransferEnhanceStats>(); }

OX_API void oxTransferEnhanceStatsRelease(oxTransferEnhanceStats** stats) { releaseRecord(stats); }

OX_API void oxTransferEnhanceStatsInit(oxTransferEnhanceStats* stats, const oxImage* image) {
    if (stats != nullptr && image != nullptr) initStats(*stats, image->width, image->height);
}

OX_API int32_t oxTransferEnhanceStatsRetrieve(oxTransferEnhanceStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag) {
    if (stats == nullptr || image == nullptr) return code(Status::Refused);
    return retrieve(*stats, image, abortFlag);
}

OX_API void oxTransferEnhanceStatsUpdate(const oxTransferEnhanceStats* from, oxTransferEnhanceStats* into) {
    if (from != nullptr && into != nullptr) into->brightnessSum += from->brightnessSum;
}

OX_API void oxTransferEnhanceAddParamsCompute(const oxTransferEnhanceStats* stats,
                                              const oxTransferEnhanceParams* params,
                                              oxTransferEnhanceAddParams* addParams) {
    if (stats != nullptr && params != nullptr && addParams != nullptr) compute(*stats, *params, *addParams);
}

OX_API int32_t oxTransferEnhanceApply(const oxTransferEnhanceAddParams* addParams, const oxImage* source,
                                      oxImage* destination, const volatile int32_t* abortFlag) {
    if (addParams == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return apply(*addParams, source, destination, abortFlag);
}

OX_API int32_t oxTransferEnhanceFilter(const oxTransferEnhanceParams* params, const oxImage* source,
                                       const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag) {
    if (params == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return transferStage(*params, source, weights, destination, abortFlag);
}

}  // extern "C"
