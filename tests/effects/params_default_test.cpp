// Every ...ParamsDefault record of the library, field by field: hosts and
// the effects read these values, so a wrong default changes their output.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/test_support.hpp"

namespace {

using Fields = std::vector<double>;  // every field value is exact in a double

template <class... T> Fields fields(T... values) { return {double(values)...}; }

}  // namespace

// Makes a record, reads the listed fields of `p` and gives it back; no fields
// when it could not be made. Owned pointers read as 1 when set.
#define OX_READ(make, release, ...)                          \
    [] {                                                     \
        auto* p = make();                                    \
        const Fields f = p ? fields(__VA_ARGS__) : Fields{}; \
        release(&p);                                         \
        return f;                                            \
    }

TEST(ParamsDefault, EveryRecordFieldByField) {
    constexpr double k03 = 0.30000001192092896;  // 0.3 as a float, widened
    const struct Case {
        const char* record;
        std::function<Fields()> read;
        Fields expected;
    } cases[] = {
        {"blur", OX_READ(oxBlurParamsDefault, oxBlurParamsRelease, p->radiusX, p->radiusY), {1, 1}},
        {"lens", OX_READ(oxLensDistortionParamsDefault, oxLensDistortionParamsRelease, p->amount, p->cx, p->cy, p->crop),
         {0.5, 0.5, 0.5, 1}},
        {"bilateral", OX_READ(oxBilateralParamsDefault, oxBilateralParamsRelease, p->spaceSigma, p->rangeSigma,
                              p->radius, p->tables2D != nullptr, p->tables3D != nullptr, p->valueScale),
         {10, 1, 1, 1, 0, 1}},
        {"bilateral 3D", OX_READ(oxBilateralParamsDefault3D, oxBilateralParamsRelease, p->spaceSigma, p->rangeSigma,
                                 p->radius, p->tables2D != nullptr, p->tables3D != nullptr, p->valueScale),
         {10, 1, 1, 0, 1, 1}},
        // Only the blur window has a default; the caller sets the rest.
        {"high boost", OX_READ(oxHighBoostParamsDefault, oxHighBoostParamsRelease, p->blur.radiusX, p->blur.radiusY),
         {1, 1}},
        {"sharpen", OX_READ(oxSharpenParamsDefault, oxSharpenParamsRelease, p->amount), {k03}},
        {"simplify", OX_READ(oxSimplifyParamsDefault, oxSimplifyParamsRelease, p->maxSize, p->iterations,
                             p->rangeFactor),
         {1024, 8, 1.25}},
        {"saturate", OX_READ(oxSaturateParamsDefault, oxSaturateParamsRelease, p->factor), {1}},
        {"focus mask", OX_READ(oxFocusMaskParamsDefault, oxFocusMaskParamsRelease, p->x0, p->y0, p->x1, p->y1),
         {0, double(0.1f), 1, double(0.9f)}},
        {"tilt-shift", OX_READ(oxTiltShiftParamsDefault, oxTiltShiftParamsRelease, p->maxSize, p->strength, p->ax,
                               p->ay, p->bx, p->by),
         {1024, double(0.2f), 0, k03, 1, k03}},
        {"contrast", OX_READ(oxContrastEnhanceParamsDefault, oxContrastEnhanceParamsRelease, p->highClip, p->lowClip,
                             p->manual, p->whiteLevel, p->blackLevel),
         {9, 4, 0, 255, 0}},
        {"transfer", OX_READ(oxTransferEnhanceParamsDefault, oxTransferEnhanceParamsRelease, p->steepness,
                             p->strength, p->radius),
         {k03, 1, 7}},
        {"fill light", OX_READ(oxFillLightParamsDefault, oxFillLightParamsRelease, p->amount), {1}},
        // The effect's transfer strength (1.4) is not the stage's own (1).
        {"enhance", OX_READ(oxEnhanceParamsDefault, oxEnhanceParamsRelease, p->colorCorrection, p->reservedFlag,
                            p->contrastWeight, p->contrastHighClip, p->contrastLowClip, p->transferSteepness,
                            p->transferStrength, p->transferRadius, p->fillLight, p->fillLightAmount, p->sharpen,
                            p->sharpenAmount),
         {0, 1, 1, 9, 4, k03, double(1.4f), 7, 0, 1, 0, k03}},
    };
    for (const Case& c : cases) EXPECT_EQ(c.read(), c.expected) << c.record;
}
