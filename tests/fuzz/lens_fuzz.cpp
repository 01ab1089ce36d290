// Lens distortion with fuzzed strength, centre and crop, on 8-bit images of
// every encoding (and some it must refuse), in place or not, with and
// without an abort flag: 0, 1 or 2, no read or write outside the buffers,
// an out-of-place source left as it was, and the status and bytes of the
// plain reference path.
#include <cstdint>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_lens.h"

using namespace oxfuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    oxLensDistortionParams lens{};
    lens.amount = floatIn(in, -3.0f, 3.0f);
    lens.cx = floatIn(in, -0.5f, 1.5f);
    lens.cy = floatIn(in, -0.5f, 1.5f);
    lens.crop = in.ConsumeIntegralInRange<int32_t>(-1, 2);
    const bool inPlace = in.ConsumeBool();
    const AbortFlag abort{in.ConsumeIntegralInRange<int32_t>(-1, 1)};
    std::vector<uint8_t> params = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(params.data(), params.size());

    OwnedImage src, other;
    if (!fuzzImage(p, src, {}, fill)) return 0;
    // Without crop the destination must match the source; mostly it does.
    oxImage* dst = fuzzDestination(p, inPlace, src, other, {}, true);
    if (!dst) return 0;
    const std::vector<uint8_t> before = snapshot(src), dstBefore = inPlace ? before : snapshot(other);
    auto run = [&] { return oxLensDistortionFilter(&lens, src.get(), dst, abort.get()); };
    const int32_t status = run();
    OXFUZZ_CHECK(status == 0 || status == 1 || status == 2);
    if (!inPlace) OXFUZZ_CHECK(unchanged(src, before));
    sameOnReference(run, status, src, before, inPlace ? nullptr : &other, dstBefore);
    return 0;
}
