// Bilateral filter: the parameter records with their lookup tables, the five
// workers and the two dispatchers.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "core/detail/handles.hpp"
#include "core/detail/image_view.hpp"
#include "core/detail/isa.hpp"
#include "core/detail/pixel_types.hpp"
#include "effects/detail/bilateral_kernel.hpp"
#include "effects/detail/bilateral_ops.hpp"
#include "ox_bilateral.h"

using namespace ox::detail;

namespace {

using bilateral::kHalf;
// -1 / (2 * 65025) as the defaults write it; equal to the factor of range
// sigma 1, which is recorded as the cached sigma.
constexpr float kDefaultRangeFactor = -7.68935e-6f;
static_assert((-1.0f / ((1.0f + 1.0f) * 1.0f)) / 65025.0f == kDefaultRangeFactor);

// ---- Tables ---------------------------------------------------------------

void buildSpace(oxBilateralTables* t, float sigma) {
    BilateralSpace space;
    buildBilateralSpace(sigma, space);
    std::memcpy(t->spaceWeights, space.weights, sizeof t->spaceWeights);
}

void buildSpace(oxBilateralTables3D* t, float sigma) {
    float g[kHalf + 1];
    bilateralSpaceGaussian(sigma, g);
    for (int32_t dz = -kHalf; dz <= kHalf; ++dz)
        for (int32_t dy = -kHalf; dy <= kHalf; ++dy)
            for (int32_t dx = -kHalf; dx <= kHalf; ++dx)
                t->spaceWeights[dz + kHalf][dy + kHalf][dx + kHalf] =
                    (g[std::abs(dz)] * g[std::abs(dy)]) * g[std::abs(dx)];
}

template <class Tables> void updateSpace(Tables* t, float sigma) {
    if (!t || std::isnan(sigma) || sigma == t->cachedSpaceSigma) return;
    t->cachedSpaceSigma = sigma;
    buildSpace(t, sigma);
}

// The colour worker reads its range weights from a compact table by
// squared distance, which holds the same floats as the record's table and
// stays in cache: the one the thread keeps (threadColourRange), for one
// factor, until it releases a 2-D record. Records keep their layout, and a
// thread that filters with one sigma builds it once.
//
// The colour table's entries depend only on a^2 + b^2 + c^2, so the 195076
// distinct exponentials are evaluated once (into the thread's compact
// table) and the 16.7 million entries filled by lookup: the same values at
// a fraction of the time. Without memory for it every entry is evaluated on
// its own.
void buildRange(oxBilateralTables* t, float f) {
    const float* byNorm = threadColourRange(f);
    for (int32_t a = 0; a < 256; ++a) {
        for (int32_t b = 0; b < 256; ++b) {
            const int32_t base = a * a + b * b;
            float* out = t->rangeWeights[a][b];
            if (byNorm)
                for (int32_t c = 0; c < 256; ++c) out[c] = byNorm[base + c * c];
            else
                for (int32_t c = 0; c < 256; ++c) out[c] = bilateralRangeWeight(f, base + c * c);
        }
    }
}

void buildRange(oxBilateralTables3D* t, float f) {
    for (int32_t d = 0; d < 256; ++d) t->rangeWeights[d] = bilateralRangeWeight(f, d * d);
}

template <class Tables> void refreshRange(Tables* t, float sigma) {
    if (sigma == t->cachedRangeSigma) return;
    t->cachedRangeSigma = sigma;
    buildRange(t, bilateralRangeFactor(sigma));
}

// The compact table that matches the record's colour table, or null. The
// record's table is the one its cached sigma defines whenever the library
// built it, the defaults included (their literal factor is that of sigma
// 1); a block assembled by hand and never refreshed is not, and is caught
// here by its rows [0][0] and [255][255], so that the plain loop reads that
// table itself.
const float* compactMatching(const oxBilateralTables* t) {
    const float* byNorm = threadColourRange(bilateralRangeFactor(t->cachedRangeSigma));
    if (!byNorm) return nullptr;
    for (int32_t c = 0; c < 256; ++c) {
        const float low = byNorm[c * c], high = byNorm[2 * 255 * 255 + c * c];
        if (std::memcmp(&t->rangeWeights[0][0][c], &low, sizeof low) != 0 ||
            std::memcmp(&t->rangeWeights[255][255][c], &high, sizeof high) != 0)
            return nullptr;
    }
    return byNorm;
}

void wire(oxBilateralTables* t) {
    for (int32_t i = 0; i < OX_BILATERAL_SPACE_SIZE; ++i) t->spaceRows[i] = &t->spaceWeights[i][kHalf];
    t->spaceCenter = &t->spaceRows[kHalf];
}

void wire(oxBilateralTables3D* t) {
    for (int32_t z = 0; z < OX_BILATERAL_SPACE_SIZE; ++z) {
        for (int32_t i = 0; i < OX_BILATERAL_SPACE_SIZE; ++i) t->spaceRows[z][i] = &t->spaceWeights[z][i][kHalf];
        t->spacePlanes[z] = &t->spaceRows[z][kHalf];
    }
    t->spaceCenter = &t->spacePlanes[kHalf];
}

// A record with the defaults and a freshly built block of tables in `slot`.
template <class Tables> oxBilateralParams* makeDefault(Tables* oxBilateralParams::*slot) {
    auto* p = allocateRecord<oxBilateralParams>();
    auto* t = allocateRecord<Tables>();
    if (!p || !t) {
        std::free(t);
        std::free(p);
        return nullptr;
    }
    p->spaceSigma = 10.0;
    p->rangeSigma = 1.0;
    p->radius = 1;
    p->valueScale = 1.0;
    wire(t);
    t->cachedSpaceSigma = -1.0f;
    t->cachedRangeSigma = 1.0f;
    updateSpace(t, 10.0f);
    buildRange(t, kDefaultRangeFactor);
    p->*slot = t;
    return p;
}

// ---- Workers --------------------------------------------------------------

using bilateral::Job;
using bilateral::Kind;

void runPlain(const Job& j) { bilateral::runJob(j); }

// The pixel loops are compiled once more for processors with a fused
// multiply-add instruction: fmaf rounds once either way, so the bytes are
// the same, and the library call it replaces dominates the plain build.
#if defined(__x86_64__) && defined(__GNUC__)
[[gnu::target("fma")]] void runFused(const Job& j) { bilateral::runJob(j); }

void run(const Job& j) {
    static const bool fused = __builtin_cpu_supports("fma");
    fused ? runFused(j) : runPlain(j);
}
#else
void run(const Job& j) { runPlain(j); }
#endif

// True when the image's own buffer holds at least `bytes` bytes.
bool holds(const oxImage* img, int64_t bytes) {
    return img && hasBuffer(img) && *bufferBytes(img) >= bytes;
}

// Every plane header of the volume exists and holds `bytes` bytes.
bool planesHold(const oxVolume* v, int64_t bytes) {
    if (!v->planes) return false;
    for (int32_t z = 0; z < v->depth; ++z)
        if (!holds(v->planes[z], bytes)) return false;
    return true;
}

bool sigmasUsable(const oxBilateralParams* p) { return !std::isnan(p->spaceSigma) && !std::isnan(p->rangeSigma); }

int32_t clampRadius(int32_t radius) { return std::max(std::min(radius, OX_BILATERAL_MAX_RADIUS), 0); }

// Table refresh shared by every worker: the range table first, then space.
template <class Tables> void refresh(Tables* t, const oxBilateralParams* p) {
    refreshRange(t, static_cast<float>(p->rangeSigma));
    updateSpace(t, static_cast<float>(p->spaceSigma));
}

int32_t run2D(oxBilateralParams* p, const oxImage* src, oxImage* dst, Kind kind) {
    if (!p || !src || !dst || !p->tables2D || !sigmasUsable(p)) return 1;
    oxBilateralTables* t = p->tables2D;
    refresh(t, p);
    if (src->width < 1 || src->height < 1) return 0;
    const int64_t perPixel = kind == Kind::Colour8 ? 3 : kind == Kind::Gray64 ? 8 : 1;
    const Count bytes = checkedProduct({src->width, src->height, perPixel});
    if (dst->width != src->width || dst->height != src->height || dst->type != src->type) return 1;
    if (!bytes || !holds(src, *bytes) || !holds(dst, *bytes)) return 1;
    if (kind == Kind::Colour8 && (channelCount(src->encoding) < 3 || channelCount(dst->encoding) < 3)) return 1;
    if (kind == Kind::Gray64 && src->type != OX_64F) return 1;

    const int32_t r = clampRadius(p->radius);
    const float* space = &t->spaceWeights[kHalf][kHalf];
    if (kind == Kind::Colour8 && !useReference()) {
        // Packed 3-byte pixels whatever the channel count.
        const int64_t stride = 3 * static_cast<int64_t>(src->width);
        if (const float* byNorm = compactMatching(t)) {
            bilateralColourPass({src->data, src->width, src->height, 3, stride},
                                {dst->data, src->width, src->height, 3, stride}, r, space, byNorm);
            return 0;
        }
    }
    run(Job{kind, src->width, src->height, 1, 0, r, {src->data, nullptr}, {dst->data, nullptr}, space, 0,
            t->rangeWeights[0][0], t, p->valueScale});
    return 0;
}

int32_t run3D(oxBilateralParams* p, const oxVolume* src, oxVolume* dst, bool wide) {
    if (!p || !src || !dst || !p->tables3D || !sigmasUsable(p)) return 1;
    oxBilateralTables3D* t = p->tables3D;
    refresh(t, p);
    if (src->depth < 1 || src->height < 1 || src->width < 1) return 0;
    if (dst->depth != src->depth || dst->height != src->height || dst->width != src->width || dst->type != src->type)
        return 1;
    if (wide && src->type != OX_64F) return 1;
    const Count bytes = checkedProduct({src->width, src->height, wide ? 8 : 1});
    if (!bytes || !planesHold(src, *bytes) || !planesHold(dst, *bytes)) return 1;

    const int32_t r = clampRadius(p->radius);
    run(Job{wide ? Kind::Gray64 : Kind::Gray8, src->width, src->height, src->depth, r, r, {nullptr, src->planes},
            {nullptr, dst->planes}, &t->spaceWeights[kHalf][kHalf][kHalf], OX_BILATERAL_SPACE_SIZE * OX_BILATERAL_SPACE_SIZE,
            t->rangeWeights, nullptr, p->valueScale});
    return 0;
}

}  // namespace

extern "C" {

OX_API oxBilateralParams* oxBilateralParamsDefault(void) { return makeDefault(&oxBilateralParams::tables2D); }

OX_API oxBilateralParams* oxBilateralParamsDefault3D(void) { return makeDefault(&oxBilateralParams::tables3D); }

OX_API oxBilateralTables* oxBilateralParamsInnerCreate(void) { return allocateRecord<oxBilateralTables>(); }

OX_API oxBilateralTables3D* oxBilateralParams3DInnerCreate(void) { return allocateRecord<oxBilateralTables3D>(); }

OX_API void oxBilateralParamsUpdateSpaceGaussian(oxBilateralTables* tables, float sigma) { updateSpace(tables, sigma); }

OX_API void oxBilateralParams3DUpdateSpaceGaussian(oxBilateralTables3D* tables, float sigma) {
    updateSpace(tables, sigma);
}

OX_API void oxBilateralParamsRelease(oxBilateralParams** params) {
    if (!params || !*params) return;
    if ((*params)->tables2D) releaseThreadColourRange();
    std::free((*params)->tables2D);
    (*params)->tables2D = nullptr;
    std::free((*params)->tables3D);
    releaseRecord(params);
}

OX_API int32_t oxBilateralFilterGold1C(oxBilateralParams* params, const oxImage* src, oxImage* dst) {
    return run2D(params, src, dst, Kind::Gray8);
}

OX_API int32_t oxBilateralFilterGold3C(oxBilateralParams* params, const oxImage* src, oxImage* dst) {
    return run2D(params, src, dst, Kind::Colour8);
}

OX_API int32_t oxBilateralFilter64(oxBilateralParams* params, const oxImage* src, oxImage* dst) {
    return run2D(params, src, dst, Kind::Gray64);
}

OX_API int32_t oxBilateralFilter(oxBilateralParams* params, const oxImage* src, oxImage* dst) {
    if (!src || !dst) return 1;
    if (oxImageHaveUncompatibleEncodings(src, dst) || src->encoding != dst->encoding) return 1;
    // Every multi-channel image goes to the colour worker as 3-byte pixels.
    if (oxImageGetNChannel(src) != 1) return run2D(params, src, dst, Kind::Colour8);
    if (src->type == OX_64F) return run2D(params, src, dst, Kind::Gray64);
    return run2D(params, src, dst, Kind::Gray8);
}

OX_API int32_t oxBilateralFilter3D(oxBilateralParams* params, const oxVolume* src, oxVolume* dst) {
    if (!src) return 1;
    return run3D(params, src, dst, src->type == OX_64F);
}

OX_API int32_t oxBilateralFilter3D64(oxBilateralParams* params, const oxVolume* src, oxVolume* dst) {
    return run3D(params, src, dst, true);
}

}  // extern "C"
