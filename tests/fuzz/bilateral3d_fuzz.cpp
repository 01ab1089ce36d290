// The 3-D bilateral filter and its double worker on volumes of both
// layouts, every type, sizes that agree or not and plane headers that may
// promise less than the volume, in place or not, with fuzzed sigmas,
// radius and value scale. One parameter record serves every run.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz_support.hpp"
#include "ox_bilateral.h"
#include "ox_volume.h"

using namespace oxfuzz;

namespace {

using Params = Owned<oxBilateralParams, oxBilateralParamsRelease>;

// A volume that owns one buffer per plane, filled from `fill`.
using Volume = Owned<oxVolume, oxVolumeReleaseWithSeparatePlanes>;

bool makeVolume(FuzzedDataProvider& in, Volume& out, int32_t w, int32_t h, int32_t d, int32_t type,
                const std::vector<uint8_t>& fill) {
    out.reset(oxVolumeCreateWithTypeWithSeparatePlanes(w, h, d, type));
    if (!out) return false;
    for (int32_t k = 0; k < d; ++k) {
        oxImage* plane = out->planes[k];
        // Now and then a plane header that promises another size, with a
        // buffer of exactly that size.
        if (in.ConsumeIntegralInRange<int>(0, 15) == 0) {
            plane->width = in.ConsumeIntegralInRange<int32_t>(0, w + 1);
            plane->height = in.ConsumeIntegralInRange<int32_t>(0, h + 1);
            plane->encoding = anyEncoding(in);
            const int64_t bytes = imageBytes(plane->width, plane->height, plane->encoding, plane->type);
            std::free(plane->data);
            plane->data = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(bytes > 0 ? bytes : 1)));
            if (!plane->data) return false;
        }
        fillRepeating(plane->data, imageBytes(plane->width, plane->height, plane->encoding, plane->type), fill);
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Params params3D(oxBilateralParamsDefault3D());
    static Params params2D(oxBilateralParamsDefault());
    OXFUZZ_CHECK(params2D && params3D);

    FuzzedDataProvider in(data, size);
    oxBilateralParams* p = in.ConsumeIntegralInRange<int>(0, 15) == 0 ? params2D.get() : params3D.get();
    p->spaceSigma = in.ConsumeBool() ? anyDouble(in) : in.ConsumeIntegralInRange<int32_t>(0, 8) * 0.5;
    p->rangeSigma = in.ConsumeBool() ? anyDouble(in) : in.ConsumeIntegralInRange<int32_t>(0, 8) * 0.25;
    p->radius = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? in.ConsumeIntegral<int32_t>() : in.ConsumeIntegralInRange<int32_t>(0, 2);
    p->valueScale = in.ConsumeBool() ? 1.0 : anyDouble(in);
    const bool wide = in.ConsumeBool(), inPlace = in.ConsumeBool();
    static constexpr int32_t kTypes[] = {OX_8U, OX_64F};
    const int32_t type = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? anyType(in) : in.PickValueInArray(kTypes);
    const int32_t w = in.ConsumeIntegralInRange<int32_t>(0, 12), h = in.ConsumeIntegralInRange<int32_t>(0, 12);
    const int32_t d = in.ConsumeIntegralInRange<int32_t>(0, 6);
    std::vector<uint8_t> choices = in.ConsumeBytes<uint8_t>(64);
    const std::vector<uint8_t> fill = pixelBytes(in);
    FuzzedDataProvider c(choices.data(), choices.size());

    Volume src, other;
    if (!makeVolume(c, src, w, h, d, type, fill)) return 0;
    oxVolume* dst = src.get();
    if (!inPlace) {
        const bool same = c.ConsumeBool();
        const int32_t dw = same ? w : c.ConsumeIntegralInRange<int32_t>(0, 12);
        const int32_t dh = same ? h : c.ConsumeIntegralInRange<int32_t>(0, 12);
        const int32_t dd = same ? d : c.ConsumeIntegralInRange<int32_t>(0, 6);
        if (!makeVolume(c, other, dw, dh, dd, same ? type : anyType(c), {})) return 0;
        dst = other.get();
    }
    const int32_t status = wide ? oxBilateralFilter3D64(p, src.get(), dst) : oxBilateralFilter3D(p, src.get(), dst);
    OXFUZZ_CHECK(status == 0 || status == 1);
    return 0;
}
