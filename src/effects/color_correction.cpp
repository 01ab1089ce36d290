// Colour correction: per-channel white-point stretch through three tables.
#include <algorithm>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/numeric.hpp"
#include "core/detail/status.hpp"
#include "effects/detail/enhance_ops.hpp"
#include "effects/detail/stage.hpp"
#include "effects/detail/stage_pixels.hpp"
#include "ox_color_correction.h"

using namespace ox::detail;

namespace {

// Largest byte at each position of a 48-byte block over a run of pixels: 48
// is a whole number of 3- and 4-byte pixels, so position j always holds the
// same channel (j modulo the pixel step). The blocks are three 16-byte
// vectors (the compiler's generic vectors, so any processor has them).
constexpr int32_t kBlock = 48;
typedef uint8_t Bytes16 __attribute__((vector_size(16)));

inline Bytes16 maxBytes(Bytes16 a, Bytes16 b) {
    const Bytes16 greater = reinterpret_cast<Bytes16>(a > b);
    return (a & greater) | (b & ~greater);
}

void blockMax(const uint8_t* p, int64_t bytes, uint8_t (&acc)[kBlock]) {
    Bytes16 m[3];
    std::memcpy(m, acc, kBlock);
    int64_t i = 0;
    for (; i + kBlock <= bytes; i += kBlock) {
        for (int32_t k = 0; k < 3; ++k) {
            Bytes16 v;
            std::memcpy(&v, p + i + 16 * k, 16);
            m[k] = maxBytes(m[k], v);
        }
    }
    std::memcpy(acc, m, kBlock);
    for (int32_t j = 0; i < bytes; ++i, ++j) acc[j] = std::max(acc[j], p[i]);
}

// Channel maxima of one row, pixel by pixel. Wider pixel types place the
// byte offsets of channels 2 and 3 beyond the pixel step, where the block
// walk cannot tell channels apart.
void plainMax(const ColourBytes& px, int64_t y, int32_t width, uint8_t (&m)[3]) {
    const uint8_t* p = px.rowAt(y);
    for (int32_t x = 0; x < width; ++x, p += px.step) {
        m[0] = std::max(m[0], p[px.b]);
        m[1] = std::max(m[1], p[px.g]);
        m[2] = std::max(m[2], p[px.r]);
    }
}

int32_t retrieve(oxColorCorrectionStats& stats, const oxImage* image, AbortFlag abortFlag) {
    if (!isColour(image) || !walkable(image)) return code(Status::Refused);
    stats = {0.0f, 0.0f, 0.0f};
    const ColourBytes px = colourBytes(image);
    const bool blocks = std::max({px.b, px.g, px.r}) < px.step;
    // Bytes compare exactly as their float values, so the maxima are kept as
    // integers; the record is written only when the walk completes, so an
    // aborted call leaves it holding zeros.
    uint8_t acc[kBlock] = {}, m[3] = {};
    for (int32_t y = 0; y < image->height; ++y) {
        if (abortRequested(abortFlag)) return code(Status::Aborted);
        if (image->width <= 0) continue;
        if (blocks)
            blockMax(px.rowAt(y), px.rowBytes, acc);
        else
            plainMax(px, y, image->width, m);
    }
    if (blocks) {
        uint8_t byOffset[4] = {};
        for (int32_t j = 0; j < kBlock; ++j) byOffset[j % px.step] = std::max(byOffset[j % px.step], acc[j]);
        m[0] = byOffset[px.b];
        m[1] = byOffset[px.g];
        m[2] = byOffset[px.r];
    }
    stats = {static_cast<float>(m[0]), static_cast<float>(m[1]), static_cast<float>(m[2])};
    return code(Status::Ok);
}

void fillTable(float maximum, float& scale, uint8_t* lut) {
    scale = 255.0f / maximum;
    for (int i = 0; i < 256; ++i) lut[i] = clampToByte(scale * static_cast<float>(i));
}

void compute(const oxColorCorrectionStats& stats, oxColorCorrectionAddParams& out) {
    fillTable(stats.maxB, out.scaleB, out.lutB);
    fillTable(stats.maxG, out.scaleG, out.lutG);
    fillTable(stats.maxR, out.scaleR, out.lutR);
}

int32_t apply(const oxColorCorrectionAddParams& params, const oxImage* source, oxImage* destination) {
    if (!isColour(source) || !isColour(destination)) return code(Status::Refused);
    if (!walkable(source) || !writableFor(destination, source)) return code(Status::Refused);
    const uint8_t* luts[3] = {params.lutB, params.lutG, params.lutR};
    return mapColourRows(colourBytes(source), colourBytes(destination), source->width, source->height, nullptr,
                         [&luts](int32_t) {
                             return [&luts](uint8_t v, int32_t, auto channel) { return luts[channel()][v]; };
                         });
}

struct ColourCorrectionStage {
    struct Params {};
    using Stats = oxColorCorrectionStats;
    using Derived = oxColorCorrectionAddParams;
    static int32_t retrieve(Stats& s, const oxImage* img, AbortFlag f) { return ::retrieve(s, img, f); }
    static void compute(const Stats& s, const Params*, Derived& d) { ::compute(s, d); }
    static int32_t apply(const Derived& d, const oxImage* src, oxImage* dst, AbortFlag) {
        return ::apply(d, src, dst);
    }
};

}  // namespace

int32_t ox::detail::colourCorrectionStage(const oxImage* source, const oxImage* weights, oxImage* destination,
                                          AbortFlag abortFlag) {
    return runStageFilter<ColourCorrectionStage>(nullptr, source, weights, destination, abortFlag);
}

extern "C" {

OX_API oxColorCorrectionStats* oxColorCorrectionStatsCreate(void) {
    return allocateRecord<oxColorCorrectionStats>();
}

OX_API void oxColorCorrectionStatsRelease(oxColorCorrectionStats** stats) { releaseRecord(stats); }

OX_API void oxColorCorrectionStatsInit(oxColorCorrectionStats* stats) {
    if (stats != nullptr) *stats = {0.0f, 0.0f, 0.0f};
}

OX_API int32_t oxColorCorrectionStatsRetrieve(oxColorCorrectionStats* stats, const oxImage* image,
                                              const volatile int32_t* abortFlag) {
    if (stats == nullptr || image == nullptr) return code(Status::Refused);
    return retrieve(*stats, image, abortFlag);
}

OX_API void oxColorCorrectionStatsUpdate(const oxColorCorrectionStats* from, oxColorCorrectionStats* into) {
    if (from == nullptr || into == nullptr) return;
    if (from->maxB > into->maxB) into->maxB = from->maxB;
    if (from->maxG > into->maxG) into->maxG = from->maxG;
    if (from->maxR > into->maxR) into->maxR = from->maxR;
}

OX_API void oxColorCorrectionAddParamsCompute(const oxColorCorrectionStats* stats,
                                              oxColorCorrectionAddParams* addParams) {
    if (stats != nullptr && addParams != nullptr) compute(*stats, *addParams);
}

OX_API int32_t oxColorCorrectionApply(const oxColorCorrectionAddParams* addParams, const oxImage* source,
                                      oxImage* destination) {
    if (addParams == nullptr || source == nullptr || destination == nullptr) return code(Status::Refused);
    return apply(*addParams, source, destination);
}

OX_API int32_t oxColorCorrectionFilter(const oxImage* source, const oxImage* weights, oxImage* destination,
                                       const volatile int32_t* abortFlag) {
    if (source == nullptr || destination == nullptr) return code(Status::Refused);
    return colourCorrectionStage(source, weights, destination, abortFlag);
}

}  // extern "C"
