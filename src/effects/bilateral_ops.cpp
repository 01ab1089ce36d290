// The bilateral filter's internal operations: the weight formulas, the
// compact colour table and the colour pass with its choice of path.
#include "effects/detail/bilateral_ops.hpp"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "core/detail/isa.hpp"
#include "core/detail/size.hpp"
#include "effects/detail/bilateral_kernel.hpp"

namespace ox::detail {

namespace {

using bilateral::ColourPass;
using bilateral::NormRange;

float expAsFloat(float x) { return static_cast<float>(std::exp(static_cast<double>(x))); }

// The plain loops, compiled once more for processors with a fused
// multiply-add instruction: fmaf rounds once either way, so the bytes are
// the same, and the library call it replaces dominates the plain build.
void referencePlain(const ColourPass& p, const float* byNorm) { bilateral::filterColour(p, NormRange{byNorm}); }

void baselinePlain(const ColourPass& p, const float* byNorm) {
    if (p.r == 1) bilateral::filterColourRadius1(p, NormRange{byNorm});
    else bilateral::filterColour(p, NormRange{byNorm});
}

#if defined(__x86_64__) && defined(__GNUC__)
[[gnu::target("fma")]] void referenceFused(const ColourPass& p, const float* byNorm) {
    bilateral::filterColour(p, NormRange{byNorm});
}

[[gnu::target("fma")]] void baselineFused(const ColourPass& p, const float* byNorm) {
    if (p.r == 1) bilateral::filterColourRadius1(p, NormRange{byNorm});
    else bilateral::filterColour(p, NormRange{byNorm});
}

bool fusedInstruction() {
    static const bool fused = __builtin_cpu_supports("fma");
    return fused;
}
#else
void referenceFused(const ColourPass& p, const float* byNorm) { referencePlain(p, byNorm); }
void baselineFused(const ColourPass& p, const float* byNorm) { baselinePlain(p, byNorm); }
bool fusedInstruction() { return false; }
#endif

// The address range of a view's rows as integers: views of different
// buffers may be compared only that way.
struct Extent {
    uintptr_t first, end;
};

template <class T> Extent extentOf(const View<T>& v) {
    const auto first = reinterpret_cast<uintptr_t>(v.data);
    return {first, first + static_cast<uintptr_t>((v.height - 1) * v.stride + 3 * static_cast<int64_t>(v.width))};
}

}  // namespace

// Offset 0 weighs exactly 1 for every sigma: a zero sigma would otherwise
// give 0/0, and its other offsets come out as exp(-inf) = 0, so it keeps
// the centre alone.
void bilateralSpaceGaussian(float sigma, float g[OX_BILATERAL_SPACE_SIZE / 2 + 1]) noexcept {
    const float d = (sigma + sigma) * sigma;
    g[0] = 1.0f;
    for (int32_t k = 1; k <= OX_BILATERAL_SPACE_SIZE / 2; ++k) g[k] = expAsFloat(-static_cast<float>(k * k) / d);
}

// A zero sigma gives -inf.
float bilateralRangeFactor(float sigma) noexcept { return (-1.0f / ((sigma + sigma) * sigma)) / 65025.0f; }

// Difference 0 weighs exactly 1 for every sigma (f * 0 would be NaN for a
// zero sigma); the rest of a zero sigma is exp(-inf) = 0.
float bilateralRangeWeight(float f, int32_t n) noexcept {
    return n == 0 ? 1.0f : expAsFloat(f * static_cast<float>(n));
}

void buildBilateralSpace(float sigma, BilateralSpace& out) noexcept {
    constexpr int32_t half = OX_BILATERAL_SPACE_SIZE / 2;
    float g[half + 1];
    bilateralSpaceGaussian(sigma, g);
    for (int32_t dy = -half; dy <= half; ++dy)
        for (int32_t dx = -half; dx <= half; ++dx) out.weights[dy + half][dx + half] = g[std::abs(dy)] * g[std::abs(dx)];
}

Status buildColourRange(float f, ColourRange& out) noexcept {
    if (!out) {
        const Count bytes = checkedProduct({kBilateralNorms, static_cast<int64_t>(sizeof(float))});
        out.memory = allocateBuffer(static_cast<size_t>(sizeOrZero(bytes)));
        if (!out) return Status::Refused;
    }
    auto* byNorm = reinterpret_cast<float*>(out.memory.get());
    for (int32_t n = 0; n < kBilateralNorms; ++n) byNorm[n] = bilateralRangeWeight(f, n);
    out.factor = f;
    return Status::Ok;
}

namespace {
thread_local ColourRange threadRange;
}  // namespace

const float* threadColourRange(float f) noexcept {
    if (threadRange && std::memcmp(&threadRange.factor, &f, sizeof f) == 0) return threadRange.byNorm();
    return buildColourRange(f, threadRange) == Status::Ok ? threadRange.byNorm() : nullptr;
}

void releaseThreadColourRange() noexcept { threadRange = ColourRange{}; }

Status bilateralColourPass(ConstView<uint8_t> src, View<uint8_t> dst, int32_t r, const float* space,
                           const float* byNorm) noexcept {
    if (src.empty()) return Status::Ok;
    const ColourPass p{src, dst, r, space};
    const bool fused = fusedInstruction();
    if (useReference()) {
        fused ? referenceFused(p, byNorm) : referencePlain(p, byNorm);
        return Status::Ok;
    }
#if OX_HAVE_AVX2_PATH
    if (useAvx2() && r == 1) {
        const Extent s = extentOf(src), d = extentOf(dst);
        if (src.data == dst.data && src.stride == dst.stride) {
            if (bilateral::colourRadius1InPlaceAvx2(p, byNorm)) return Status::Ok;
        } else if (d.end <= s.first || s.end <= d.first) {
            if (bilateral::colourRadius1SeparateAvx2(p, byNorm)) return Status::Ok;
        }
    }
#endif
    fused ? baselineFused(p, byNorm) : baselinePlain(p, byNorm);
    return Status::Ok;
}

}  // namespace ox::detail
