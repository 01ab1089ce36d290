// Contrast enhancement: black and white points from a brightness
// histogram, one stretch table for every colour channel.
#include <algorithm>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "ox_contrast.h"

using namespace ox::detail;

namespace {

struct Table {
    uint8_t v[256];
};

void emptyStats(oxContrastEnhanceStats& stats, int64_t pixels) {
    std::fill(std::begin(stats.histogram), std::end(stats.histogram), 0.0f);
    stats.pixelCount = static_cast<float>(pixels);
}

int64_t pixelsOf(const oxImage* image) { return static_cast<int64_t>(image->height) * image->width; }

// The histogram is a float sum of ones, which stops growing at 2^24
// (16777216 + 1 rounds back to 16777216). Counting in integers and capping
// there gives the same bins without a float add per pixel.
void storeCounts(const BrightnessCounts& counts, oxContrastEnhanceStats& stats) {
    constexpr uint64_t kFloatCountLimit = uint64_t{1} << 24;
    for (int32_t i = 0; i < 256; ++i) stats.histogram[i] = static_cast<float>(std::min(counts.total(i), kFloatCountLimit));
}

int32_t retrieve(oxContrastEnhanceStats& stats, const oxImage* image, AbortFlag abortFlag) {
    emptyStats(stats, pixelsOf(image));
    if (oxImageGetNChannel(image) < 1 || !walkable(image)) return code(Status::Refused);
    BrightnessCounts counts;
    const ColourBytes px = colourBytes(image);
    for (int32_t y = 0; y < image->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        if (image->width <= 0) continue;
        if (px.step > 1) {
            forEachBrightness(px, y, image->width, [&counts](int32_t x, uint8_t v) { ++counts.lane[x & 3][v]; });
        } else {
            counts.add(px.rowAt(y), image->width);
        }
    }
    storeCounts(counts, stats);
    return code(Status::Ok);
}

void compute(const oxContrastEnhanceStats& stats, const oxContrastEnhanceParams& params, uint8_t* table) {
    int32_t black = params.blackLevel, white = params.whiteLevel;
    if (params.manual == 0) {
        const float highCount = (params.highClip * stats.pixelCount) / 1000.0f;
        const float lowCount = (stats.pixelCount * params.lowClip) / 1000.0f;
        // Bin 255 never decides the black point, nor bin 0 the white point.
        black = 255;
        float s = 0.0f;
        for (int32_t i = 0; i <= 254; ++i) {
            s += stats.histogram[i];
            if (s > lowCount) {
                black = i;
                break;
            }
        }
        white = 0;
        s = 0.0f;
        for (int32_t i = 255; i >= 1; --i) {
            s += stats.histogram[i];
            if (s > highCount) {
                white = i;
                break;
            }
        }
    }
    // No guard on the division: equal levels give an infinite scale (a hard
    // threshold at black) and white below black an inverted table, on purpose.
    const float blackF = static_cast<float>(black);
    const float scale = 255.0f / (static_cast<float>(white) - blackF);
    for (int32_t i = 0; i < 256; ++i) table[i] = clampToByte((static_cast<float>(i) - blackF) * scale);
}

int32_t apply(const uint8_t* table, const oxImage* source, oxImage* destination, AbortFlag abortFlag) {
    const int32_t channels = oxImageGetNChannel(source);
    if (channels < 1) return code(Status::Refused);
    if (channels > 1 && !isColour(destination)) return code(Status::Refused);
    if (!walkable(source) || !writableFor(destination, source)) return code(Status::Refused);
    const ColourBytes s = colourBytes(source);
    if (channels > 1) {
        const ColourBytes d = colourBytes(destination);
        if (!useReference() && s.step == 3 && d.step == 3 && s.b == d.b && s.g == d.g && s.r == d.r) {
            // Every byte of such a row is a colour channel, each through the
            // same table: the row is one run of bytes.
            for (int32_t y = 0; y < source->height; ++y) {
                if (abortRequested(abortFlag)) return code(Status::Aborted);
                const uint8_t* sp = s.rowAt(y);
                uint8_t* dp = d.rowAt(y);
                for (int64_t i = 0; i < s.rowBytes; ++i) dp[i] = table[sp[i]];
            }
            return code(Status::Ok);
        }
        return mapColourRows(s, d, source->width, source->height, abortFlag,
                             [table](int32_t) { return [table](uint8_t v, int32_t, auto) { return table[v]; }; });
    }
    // A grey source indexes the destination as if it were grey of the same
    // size too; the destination's own layout is not consulted.
    for (int32_t y = 0; y < source->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        if (source->width <= 0) continue;
        const uint8_t* sp = s.rowAt(y);
        uint8_t* dp = destination->data + y * s.rowBytes;
        for (int32_t x = 0; x < source->width; ++x) dp[x] = table[sp[x]];
    }
    return code(Status::Ok);
}

// apply, and where source and destination share the three-byte layout, the
// brightness of every written pixel and its running sum into the tap, in
// the same row-major order as the transfer statistics take them.
int32_t applyTapped(const uint8_t* table, const oxImage* source, oxImage* destination, AbortFlag abortFlag,
                    BrightnessTap& tap) {
    const int32_t channels = oxImageGetNChannel(source);
    if (channels < 3 || !isColour(destination) || !walkable(source) || !writableFor(destination, source))
        return apply(table, source, destination, abortFlag);
    const ColourBytes s = colourBytes(source), d = colourBytes(destination);
    if (useReference() || s.step != 3 || d.step != 3 || s.b != d.b || s.g != d.g || s.r != d.r)
        return apply(table, source, destination, abortFlag);
    float sum = 0.0f;
    for (int32_t y = 0; y < source->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        const uint8_t* sp = s.rowAt(y);
        uint8_t* dp = d.rowAt(y);
        uint8_t* bright = tap.plane + static_cast<int64_t>(y) * source->width;
        for (int32_t x = 0; x < source->width; ++x, sp += 3, dp += 3) {
            const uint8_t c0 = table[sp[0]], c1 = table[sp[1]], c2 = table[sp[2]];
            dp[0] = c0;
            dp[1] = c1;
            dp[2] = c2;
            const uint8_t m = std::max({c0, c1, c2});
            bright[x] = m;
            sum += static_cast<float>(m);
        }
    }
    tap.sum = sum;
    tap.filled = true;
    return code(Status::Ok);
}

}  // namespace

void ox::detail::contrastTable(const BrightnessCounts& counts, int64_t pixels, const oxContrastEnhanceParams& params,
                               uint8_t* table) noexcept {
    oxContrastEnhanceStats stats;
    emptyStats(stats, pixels);
    storeCounts(counts, stats);
    compute(stats, params, table);
}

namespace {

struct ContrastStage {
    using Params = oxContrastEnhanceParams;
    using Stats = oxContrastEnhanceStats;
    using Derived = Table;
    static int32_t retrieve(Stats& s, const oxImage* img, AbortFlag f) { return ::retrieve(s, img, f); }
    static void compute(const Stats& s, const Params* p, Derived& d) { ::compute(s, *p, d.v); }
    static int32_t apply(const Derived& d, const oxImage* src, oxImage* dst, AbortFlag f) {
        return ::apply(d.v, src, dst, f);
    }
};

}  // namespace

int32_t ox::detail::contrastStage(const oxContrastEnhanceParams& params, const oxImage* source, const oxImage* weights,
                                  oxImage* destination, AbortFlag abortFlag, BrightnessTap* tap) {
    if (tap == nullptr || weights != nullptr)
        return runStageFilter<ContrastStage>(&params, source, weights, destination, abortFlag);
    // The Filter sequence without a blend: statistics, table, apply.
    HeapRecord<oxContrastEnhanceStats> stats(allocateRecord<oxContrastEnhanceStats>());
    if (!stats) return code(Status::Refused);
    if (const int32_t r = retrieve(*stats, source, abortFlag); r != 0) return r;
    Table table;
    compute(*stats, params, table.v);
    return applyTapped(table.v, source, destination, abortFlag, *tap);
}

extern "C" {

OX_API oxContrastEnhanceParams* oxContrastEnhanceParamsDefault(void) {
    auto* p = allocateRecord<oxContrastEnhanceParams>();
    if (p != nullptr) *p = {9.0f, 4.0f, 0, 255, 0};
    return p;
}

OX_API void oxContrastEnhanceParamsRelease(oxContrastEnhanceParams** params) { releaseRecord(params); }

OX_API oxContrastEnhanceStats* oxContrastEnhanceStatsCreate(void) { return allocateRecord<oxContrastEnhanceStats>(); }

OX_API void oxContrastEnhanceStatsRelease(oxContrastEnhanceStats** stats) { releaseRecord(stats); }

OX_API void oxContrastEnhanceStatsInit(oxContrastEnhanceStats* stats, const oxImage* image) {
    if (stats != nullptr && image != nullptr) emptyStats(*stats, pixelsOf(image));
}

OX_API int32_t oxContrastEnhanceStatsRetrieve(oxContrastEnhanceStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag) {
    if (stats == nullptr || image == nullptr) return code(Status::Refused);
    return retrieve(*stats, image, abortFlag);
}

OX_API void oxContrastEnhanceStatsUpdate(const oxContrastEnhanceStats* from, oxContrastEnhanceStats* into) {
    if (from == nullptr || into == nullptr) return;
    for (int i = 0; i < 256; ++i) into->histogram[i] += from->histogram[i];
}

OX_API void oxContrastEnhanceAddParamsCompute(const oxContrastEnhanceStats* stats,
                                              const oxContrastEnhanceParams* params, uint8_t* table) {
    if (stats != nullptr && params != nullptr && table != nullptr) compute(*stats, *params, table);
}

OX_API int32_t oxContrastEnhanceApply(const uint8_t* table, const oxImage* source, oxImage* destination,
                                      const volatile int32_t* abortFlag) {
    if (table == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return apply(table, source, destination, abortFlag);
}

OX_API int32_t oxContrastEnhanceFilter(const oxContrastEnhanceParams* params, const oxImage* source,
                                       const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag) {
    if (params == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return contrastStage(*params, source, weights, destination, abortFlag);
}

}  // extern "C"
