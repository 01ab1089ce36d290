// Image resize in every mode and through every form (allocating, caller
// scratch, one channel) with fuzzed sizes, types, encodings and ROIs, the
// ROIs inside or outside their images: a call answers 0 or 1, reads and
// writes only inside the buffers, leaves the source alone and gives the
// plain loops' bytes on every instruction-set path.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "core/detail/isa.hpp"
#include "fuzz_support.hpp"
#include "ox_resize.h"

using namespace oxfuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    static constexpr int32_t kModes[] = {-1, 0, 1, 2, -5};
    const int32_t mode = in.PickValueInArray(kModes);
    const int32_t form = in.ConsumeIntegralInRange<int32_t>(0, 2);
    const int32_t usual = mode == 1 ? OX_64F : mode == -1 ? anyType(in) : OX_8U;
    std::vector<uint8_t> params = in.ConsumeBytes<uint8_t>(96);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider p(params.data(), params.size());

    ImageChoice choice;
    choice.usualType = usual;
    OwnedImage src, dst;
    if (!fuzzImage(p, src, choice, fill) || !fuzzImage(p, dst, choice, fill)) return 0;
    // Now and then the destination takes the source's codes, so the mode's
    // full path runs more often than a refusal.
    if (p.ConsumeBool()) {
        const oxRect roi = dst->roi;
        if (!makeImage(dst, dst->width, dst->height, src->encoding, src->type, fill)) return 0;
        dst->roi = roi;
    }
    const std::vector<uint8_t> before = snapshot(src), target = snapshot(dst);

    auto call = [&]() -> int32_t {
        switch (form) {
        case 0: return oxResize(src.get(), dst.get(), mode, nullptr);
        case 1: {
            Scratch scratch(oxResizeGetTempBufferSize(src.get(), dst.get(), mode));
            if (!scratch.p) return -1;
            return oxResizeOpt(src.get(), dst.get(), mode, nullptr, scratch.p);
        }
        default: {
            const int64_t dw = dst->roi.width > 0 ? dst->roi.width : 0, dh = dst->roi.height > 0 ? dst->roi.height : 0;
            Scratch work(mode == 1 ? 0 : static_cast<uint64_t>(16 * dw + 8 * dh));
            if (!work.p) return -1;
            return oxResize1C(src.get(), dst.get(), mode, work.p);
        }
        }
    };
    const int32_t status = call();
    if (status == -1) return 0;
    OXFUZZ_CHECK(status == 0 || status == 1);
    OXFUZZ_CHECK(unchanged(src, before));

    // Every narrower path gives the widest path's bytes (Lanczos has one).
    using ox::detail::Isa;
    const Isa widest = ox::detail::activeIsa();
    if (mode != 1) {
        const std::vector<uint8_t> fast = snapshot(dst);
        for (Isa isa : {Isa::Reference, Isa::Baseline}) {
            if (isa >= widest) continue;
            std::copy(target.begin(), target.end(), dst->data);
            ox::detail::limitIsa(isa);
            const int32_t again = call();
            ox::detail::limitIsa(widest);
            OXFUZZ_CHECK(again == status);
            OXFUZZ_CHECK(unchanged(dst, fast));
        }
    }
    return 0;
}
