// Pixel type conversion, plain and over a given range, between any two
// images: every pair of type codes (unknown ones too), encodings, sizes
// that agree or not, any range including NaN and infinities. A call answers
// 0 or 1, stays inside both buffers, and leaves the source alone.
#include <cstdint>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_convert.h"

using namespace oxfuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const bool givenRange = in.ConsumeBool();
    const double low = in.ConsumeBool() ? 0.0 : anyDouble(in);
    const double high = in.ConsumeBool() ? static_cast<double>(in.ConsumeIntegralInRange<int32_t>(1, 70000)) : anyDouble(in);
    const int32_t srcType = anyType(in), dstType = anyType(in);
    std::vector<uint8_t> params = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(params.data(), params.size());

    ImageChoice choice;
    choice.usualType = srcType;
    OwnedImage src, dst;
    if (!fuzzImage(p, src, choice, fill)) return 0;
    if (p.ConsumeBool()) {
        // The usual call: the same geometry in another type.
        if (!makeImage(dst, src->width, src->height, src->encoding, dstType, {})) return 0;
    } else {
        choice.usualType = dstType;
        if (!fuzzImage(p, dst, choice, {})) return 0;
    }
    const std::vector<uint8_t> before = snapshot(src);
    const int32_t status = givenRange ? oxImageCvtTypeGivenRange(src.get(), dst.get(), low, high)
                                      : oxImageCvtType(src.get(), dst.get());
    OXFUZZ_CHECK(status == 0 || status == 1);
    OXFUZZ_CHECK(unchanged(src, before));
    return 0;
}
