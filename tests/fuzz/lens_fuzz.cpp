// Lens distortion with fuzzed strength, centre and crop, on 8-bit images of
// every encoding (and some it must refuse), in place or not, with and
// without an abort flag: 0, 1 or 2, no read or write outside the buffers,
// an out-of-place source left as it was, and the status and bytes of the
// plain reference path.
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/detail/isa.hpp"
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
    const int32_t abortValue = in.ConsumeIntegralInRange<int32_t>(-1, 1);
    std::vector<uint8_t> params = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(params.data(), params.size());

    OwnedImage src, other;
    if (!fuzzImage(p, src, {}, fill)) return 0;
    oxImage* dst = src.get();
    if (!inPlace) {
        // Without crop the destination must match the source; mostly it does.
        if (p.ConsumeBool()) {
            if (!makeImage(other, src->width, src->height, src->encoding, src->type, {})) return 0;
            other->roi = anyRoi(p, src->width, src->height);
        } else if (!fuzzImage(p, other, {}, {})) {
            return 0;
        }
        dst = other.get();
    }
    const std::vector<uint8_t> before = snapshot(src);
    const std::vector<uint8_t> dstBefore = inPlace ? before : snapshot(other);
    const int32_t flag = abortValue;
    const int32_t status = oxLensDistortionFilter(&lens, src.get(), dst, abortValue < 0 ? nullptr : &flag);
    OXFUZZ_CHECK(status == 0 || status == 1 || status == 2);
    if (!inPlace) OXFUZZ_CHECK(unchanged(src, before));

    // Again from the same bytes on the reference path.
    const std::vector<uint8_t> fast = inPlace ? snapshot(src) : snapshot(other);
    if (!before.empty()) std::memcpy(src->data, before.data(), before.size());
    if (!inPlace && !dstBefore.empty()) std::memcpy(other->data, dstBefore.data(), dstBefore.size());
    ox::detail::limitIsa(ox::detail::Isa::Reference);
    const int32_t reference = oxLensDistortionFilter(&lens, src.get(), dst, abortValue < 0 ? nullptr : &flag);
    ox::detail::limitIsa(ox::detail::Isa::Avx2);
    OXFUZZ_CHECK(reference == status);
    OXFUZZ_CHECK(unchanged(inPlace ? src : other, fast));
    return 0;
}
