// The 2-D bilateral filter through its dispatcher and its three workers,
// with fuzzed sigmas (NaN, infinities and huge values too), radius and
// value scale, on images of every type and encoding, sizes that agree or
// not, in place or not. One parameter record serves every run, as a host
// keeps one: its tables are rebuilt whenever a sigma changes, so most runs
// keep the range sigma of the run before (a rebuild writes 64 MiB). Every
// call is made again on the plain loops from the same inputs and must give
// the same status and bytes.
#include <cmath>
#include <cstdint>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_bilateral.h"

using namespace oxfuzz;

namespace {

using Params = Owned<oxBilateralParams, oxBilateralParamsRelease>;

// Mostly the sigma the tables hold already; a new one now and then.
double rangeSigma(FuzzedDataProvider& in, double current) {
    static constexpr double kUsual[] = {1.0, 0.25, 0.05, 0.0, 3.0};
    switch (in.ConsumeIntegralInRange<int>(0, 31)) {
    case 0: return anyDouble(in);
    case 1: return in.PickValueInArray(kUsual);
    default: return std::isnan(current) ? 1.0 : current;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Params params2D(oxBilateralParamsDefault());
    static Params params3D(oxBilateralParamsDefault3D());
    OXFUZZ_CHECK(params2D && params3D);

    FuzzedDataProvider in(data, size);
    // A record of the other kind must be refused, whatever else is wrong.
    oxBilateralParams* p = in.ConsumeIntegralInRange<int>(0, 15) == 0 ? params3D.get() : params2D.get();
    p->spaceSigma = in.ConsumeBool() ? anyDouble(in) : in.ConsumeIntegralInRange<int32_t>(0, 12) * 0.5;
    p->rangeSigma = rangeSigma(in, p->rangeSigma);
    p->radius = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange<int32_t>(0, 4);
    p->valueScale = in.ConsumeBool() ? 1.0 : anyDouble(in);
    const int32_t worker = in.ConsumeIntegralInRange<int32_t>(0, 3);
    const bool inPlace = in.ConsumeBool();
    std::vector<uint8_t> choices = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider c(choices.data(), choices.size());

    static constexpr int32_t kTypes[] = {OX_8U, OX_64F};
    ImageChoice choice;
    choice.maxLarge = 400;
    choice.usualType = c.PickValueInArray(kTypes);
    OwnedImage src, other;
    if (!fuzzImage(c, src, choice, fill)) return 0;
    oxImage* dst = fuzzDestination(c, inPlace, src, other, choice);
    if (!dst) return 0;
    const std::vector<uint8_t> before = snapshot(src), dstBefore = inPlace ? before : snapshot(other);
    auto run = [&] {
        switch (worker) {
        case 0: return oxBilateralFilter(p, src.get(), dst);
        case 1: return oxBilateralFilterGold1C(p, src.get(), dst);
        case 2: return oxBilateralFilterGold3C(p, src.get(), dst);
        default: return oxBilateralFilter64(p, src.get(), dst);
        }
    };
    const int32_t status = run();
    OXFUZZ_CHECK(status == 0 || status == 1);
    if (!inPlace) OXFUZZ_CHECK(unchanged(src, before));

    sameOnReference(run, status, src, before, inPlace ? nullptr : &other, dstBefore);
    return 0;
}
