// Separable kernels and the convolution of images. Kernels come from every
// builder (custom weights including NaN and infinities, the Gaussians from
// a radius or a sigma, normalised copies) with fuzzed radii, flags and
// border rules; the image filter runs with fuzzed sizes, types, encodings
// and ROIs inside the images, and must give the plain reference path's
// samples. The twelve exported passes must also give the bytes of the
// plain line-at-a-time passes they are built to match.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "convolution/detail/passes_plain.hpp"
#include "fuzz_support.hpp"
#include "ox_convolution.h"
#include "ox_kernel.h"

using namespace oxfuzz;
namespace sep = ox::detail::sep;

namespace {

using Kernel = Owned<oxSepKernel, oxSepKernelRelease>;

int32_t smallRadius(FuzzedDataProvider& in) {
    if (in.ConsumeIntegralInRange<int>(0, 15) == 0) return in.ConsumeIntegralInRange<int32_t>(-3, 300);
    return in.ConsumeIntegralInRange<int32_t>(0, 6);
}

// Sigmas beyond a few hundred only ask for kernels of gigabytes, which the
// builders hand to the allocator as asked: not a fault worth a run.
double sigma(FuzzedDataProvider& in) {
    const double s = anyDouble(in);
    return std::isnan(s) || std::fabs(s) <= 200.0 ? s : std::fmod(s, 200.0);
}

void fillWeights(FuzzedDataProvider& in, float* w, int32_t r, bool symmetric) {
    for (int32_t i = 0; i <= 2 * r; ++i) w[i] = in.ConsumeBool() ? floatIn(in, -1.0f, 1.0f) : anyFloat(in);
    if (symmetric)
        for (int32_t i = 0; i < r; ++i) w[2 * r - i] = w[i];
}

Kernel makeKernel(FuzzedDataProvider& in) {
    Kernel k;
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
    case 0: k.reset(oxSepKernelGaussian(smallRadius(in))); break;
    case 1: k.reset(oxSepKernelGaussianFromSigma(in.ConsumeIntegralInRange<int32_t>(-2, 12), sigma(in))); break;
    default: {
        const int32_t rx = smallRadius(in), ry = smallRadius(in);
        k.reset(oxSepKernelCreate(rx, ry, in.ConsumeIntegralInRange<int32_t>(-1, 2), in.ConsumeIntegralInRange<int32_t>(-1, 2)));
        if (!k) return k;
        fillWeights(in, k->kernelX, k->radiusX, in.ConsumeBool());
        fillWeights(in, k->kernelY, k->radiusY, in.ConsumeBool());
        break;
    }
    }
    if (!k) return k;
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) k->border = in.ConsumeIntegralInRange<int32_t>(-1, 3);
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) k->isNormalized = in.ConsumeBool();
    if (in.ConsumeIntegralInRange<int>(0, 7) == 0) {
        Kernel copy(in.ConsumeBool() ? oxSepKernelGetNormalizedKernel(k.get()) : oxSepKernelCopy(k.get()));
        if (copy) k = std::move(copy);
    }
    return k;
}

// Equal samples, NaN matching any NaN.
template <class T> bool sameSamples(const uint8_t* a, const uint8_t* b, int64_t count) {
    if constexpr (std::is_same_v<T, uint8_t>) {
        return std::memcmp(a, b, static_cast<size_t>(count)) == 0;
    } else {
        for (int64_t i = 0; i < count; ++i) {
            const T x = sep::loadAt<T>(a, i), y = sep::loadAt<T>(b, i);
            if (!(x == y || (std::isnan(x) && std::isnan(y)))) return false;
        }
        return true;
    }
}

using HPass = int32_t (*)(const oxImage*, float*, const oxSepKernel*);
using VPass = int32_t (*)(const float*, oxImage*, const oxSepKernel*);
using SymmVPass = int32_t (*)(const float*, float*, oxImage*, const oxSepKernel*);

struct Passes {
    HPass h, symmH;
    VPass v;
    SymmVPass symmV;
};

template <class T> Passes passesOf() {
    if constexpr (std::is_same_v<T, uint8_t>)
        return {oxApplySepKernelH, oxApplySepKernelSymmH, oxApplySepKernelV, oxApplySepKernelSymmV};
    else if constexpr (std::is_same_v<T, float>)
        return {oxApplySepKernelH32F, oxApplySepKernelSymmH32F, oxApplySepKernelV32F, oxApplySepKernelSymmV32F};
    else
        return {oxApplySepKernelH64D, oxApplySepKernelSymmH64D, oxApplySepKernelV64D, oxApplySepKernelSymmV64D};
}

// One exported pass against its plain form, on a one-channel image.
template <class T>
void comparePass(FuzzedDataProvider& in, const oxSepKernel* k, int32_t type, const std::vector<uint8_t>& fill) {
    const int32_t w = side(in, 48, 1500), h = side(in, 48, w > 48 ? 48 : 1500);
    const bool horizontal = in.ConsumeBool(), symmetric = in.ConsumeBool();
    OwnedImage img;
    if (!makeImage(img, w, h, OX_GRAY, type, fill)) return;
    const int64_t area = int64_t{w} * h;
    std::vector<uint8_t> inter(static_cast<size_t>(area * 4 + 4)), expected(inter.size());
    std::vector<float> scratch(static_cast<size_t>(area + 1));
    const Passes passes = passesOf<T>();
    const ox::detail::PadRule pad = ox::detail::padRule(k->border);
    if (horizontal) {
        const int32_t s = (symmetric ? passes.symmH : passes.h)(img.get(), reinterpret_cast<float*>(inter.data()), k);
        OXFUZZ_CHECK(s == 0 || s == 1);
        if (s != 0 || !pad) return;
        sep::plain::horizontal<T>(img->data, expected.data(), w, h, {k->kernelX, k->radiusX, pad}, symmetric);
        OXFUZZ_CHECK(sameSamples<float>(inter.data(), expected.data(), area));
    } else {
        fillRepeating(inter.data(), static_cast<int64_t>(inter.size()), fill);
        OwnedImage plainOut;
        if (!makeImage(plainOut, w, h, OX_GRAY, type, {})) return;
        const auto* src = reinterpret_cast<const float*>(inter.data());
        const int32_t s = symmetric ? passes.symmV(src, scratch.data(), img.get(), k) : passes.v(src, img.get(), k);
        OXFUZZ_CHECK(s == 0 || s == 1);
        if (s != 0 || !pad) return;
        std::vector<float> plainScratch(scratch.size());
        sep::plain::vertical<T>(inter.data(), reinterpret_cast<uint8_t*>(plainScratch.data()), plainOut->data, w, h,
                                {k->kernelY, k->radiusY, pad}, symmetric);
        OXFUZZ_CHECK(sameSamples<T>(img->data, plainOut->data, area));
    }
}

void filter(FuzzedDataProvider& in, const oxSepKernel* k, const std::vector<uint8_t>& fill) {
    static constexpr int32_t kTypes[] = {OX_8U, OX_32F, OX_64F};
    ImageChoice choice;
    choice.anyRoiAllowed = false;
    choice.maxLarge = 1200;
    choice.usualType = in.PickValueInArray(kTypes);
    const bool opt = in.ConsumeBool(), inPlace = in.ConsumeBool();
    OwnedImage src, other;
    if (!fuzzImage(in, src, choice, fill)) return;
    oxImage* dst = fuzzDestination(in, inPlace, src, other, choice);
    if (!dst) return;
    const std::vector<uint8_t> before = snapshot(src), dstBefore = inPlace ? before : snapshot(other);
    const uint64_t scratchBytes = oxSeparableConvolutionGetTempBufferSize(src.get());
    // The Opt form's buffer starts zeroed: a ROI that fills only part of
    // the channel plane leaves the rest as the buffer held it.
    auto run = [&] {
        if (!opt) return oxSeparableConvolutionFilter(src.get(), dst, k);
        Scratch scratch(scratchBytes);
        if (!scratch.p) return -1;
        std::memset(scratch.p, 0, static_cast<size_t>(scratchBytes));
        return oxSeparableConvolutionFilterOpt(src.get(), dst, k, scratch.p);
    };
    const int32_t status = run();
    if (status == -1) return;
    OXFUZZ_CHECK(status == 0 || status == 1);
    if (!inPlace) OXFUZZ_CHECK(unchanged(src, before));
    // The plain reference from the same inputs gives the same samples.
    // (The allocating form leaves a partly filled plane undefined.)
    if (status != 0 || !opt) return;
    const std::vector<uint8_t> fast(dst->data, dst->data + dstBefore.size());
    restore(src, before);
    if (!inPlace) restore(other, dstBefore);
    OXFUZZ_CHECK(onReference(run) == 0);
    ox::detail::visitType(dst->type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        OXFUZZ_CHECK(sameSamples<T>(fast.data(), dst->data, static_cast<int64_t>(fast.size() / sizeof(T))));
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int32_t what = in.ConsumeIntegralInRange<int32_t>(0, 3);
    std::vector<uint8_t> choices = in.ConsumeBytes<uint8_t>(in.ConsumeIntegralInRange<size_t>(16, 512));
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(choices.data(), choices.size());
    Kernel k = makeKernel(p);
    if (!k) return 0;
    switch (what) {
    case 0: comparePass<uint8_t>(p, k.get(), OX_8U, fill); break;
    case 1: comparePass<float>(p, k.get(), OX_32F, fill); break;
    case 2: comparePass<double>(p, k.get(), OX_64F, fill); break;
    default: filter(p, k.get(), fill); break;
    }
    return 0;
}
