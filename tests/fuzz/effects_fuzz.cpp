// The three effect entry points on packed BGR buffers of exactly width *
// height * 3 bytes: sides 0 to 64 and now and then one side up to 2000 (or
// a negative one), every float the host could pass, in place or between
// two buffers. Each call answers 0 or 1 and never touches the source of an
// out-of-place call.
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_enhance.h"
#include "ox_simplify.h"
#include "ox_tiltshift.h"

using namespace oxfuzz;

namespace {

struct Sides {
    int32_t width, height;
};

Sides sides(FuzzedDataProvider& in) {
    Sides s{in.ConsumeIntegralInRange<int32_t>(0, 64), in.ConsumeIntegralInRange<int32_t>(0, 64)};
    switch (in.ConsumeIntegralInRange<int>(0, 15)) {
    case 0: s.width = in.ConsumeIntegralInRange<int32_t>(0, 2000); break;
    case 1: s.height = in.ConsumeIntegralInRange<int32_t>(0, 2000); break;
    case 2: (in.ConsumeBool() ? s.width : s.height) = -in.ConsumeIntegralInRange<int32_t>(1, INT32_MAX); break;
    default: break;
    }
    return s;
}

int32_t run(FuzzedDataProvider& in, int32_t effect, Sides s, const uint8_t* src, uint8_t* dst) {
    switch (effect) {
    case 0: {
        // Each iteration is a full bilateral pass: a handful covers the
        // loop, thousands would only be slow.
        const int32_t iterations = in.ConsumeIntegralInRange<int32_t>(-2, 3);
        const float rangeFactor = floatIn(in, 0.0f, 3.0f);
        const float saturation = floatIn(in, -1.0f, 2.0f);
        return oxYewSimplify(s.width, s.height, src, dst, iterations, rangeFactor, saturation);
    }
    case 1: return oxYewEnhance(s.width, s.height, src, dst, floatIn(in, -1.0f, 10.0f));
    default: {
        // The blur runs on a 1024-pixel working image, and only from a
        // strength of 1/51.2 on: most runs take the lens step alone, and
        // above 0.1 the kernel grows wider than 11 taps.
        const float strength = in.ConsumeIntegralInRange<int>(0, 3) == 0 ? floatIn(in, -0.02f, 0.1f)
                                                                          : floatIn(in, -0.02f, 0.019f);
        const float lens = floatIn(in, -2.0f, 2.0f);
        const float ax = floatIn(in, -0.2f, 1.2f), ay = floatIn(in, -0.2f, 1.2f);
        const float bx = floatIn(in, -0.2f, 1.2f), by = floatIn(in, -0.2f, 1.2f);
        return oxYewTiltShift(s.width, s.height, src, dst, strength, lens, ax, ay, bx, by);
    }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    // Simplify builds a 64 MiB table per call and tilt-shift blurs a
    // 1024-pixel working image: the cheap enhance gets the most runs.
    static constexpr int32_t kEffects[] = {0, 1, 1, 1, 1, 2, 2, 2};
    const int32_t effect = in.PickValueInArray(kEffects);
    const bool inPlace = in.ConsumeBool();
    const Sides s = sides(in);
    const int64_t bytes = s.width > 0 && s.height > 0 ? int64_t{s.width} * s.height * 3 : 0;
    // The parameters come first; the pixels take what the fuzzer leaves.
    std::vector<uint8_t> paramBytes = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);

    // Buffers of exactly the size (one byte when empty, for a distinct pointer).
    std::vector<uint8_t> srcBuffer(static_cast<size_t>(bytes > 0 ? bytes : 1)), dstBuffer(srcBuffer.size());
    uint8_t* src = srcBuffer.data();
    uint8_t* dst = inPlace ? src : dstBuffer.data();
    fillRepeating(src, bytes, fill);
    std::vector<uint8_t> before(src, src + bytes);

    FuzzedDataProvider params(paramBytes.data(), paramBytes.size());
    if (verbose()) std::fprintf(stderr, "effect %d, %d x %d, in place %d\n", effect, s.width, s.height, inPlace);
    const int32_t status = run(params, effect, s, src, dst);
    OXFUZZ_CHECK(status == 0 || status == 1);
    if (!inPlace && bytes > 0) OXFUZZ_CHECK(std::memcmp(before.data(), src, static_cast<size_t>(bytes)) == 0);
    return 0;
}
