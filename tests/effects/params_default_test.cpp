// Every ...ParamsDefault record of the library, field by field: hosts and
// the effects read these values, so a wrong default changes their output.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/test_support.hpp"

namespace {

using Fields = std::vector<double>;  // every field value is exact in a double

// Makes the record, reads its fields and gives it back; no fields when the
// record could not be made.
template <class R, class Read> std::function<Fields()> reader(R* (*make)(), void (*release)(R**), Read read) {
    return [=] {
        R* r = make();
        if (!r) return Fields{};
        Fields f = read(*r);
        release(&r);
        return f;
    };
}

// Owned table pointers read as 1 when set.
Fields bilateralFields(const oxBilateralParams& p) {
    return {p.spaceSigma, p.rangeSigma, double(p.radius), double(p.tables2D != nullptr),
            double(p.tables3D != nullptr), p.valueScale};
}

}  // namespace

TEST(ParamsDefault, EveryRecordFieldByField) {
    constexpr double k03 = 0.30000001192092896;  // 0.3 as a float, widened
    struct Case {
        const char* record;
        std::function<Fields()> read;
        Fields expected;
    } cases[] = {
        {"blur", reader(oxBlurParamsDefault, oxBlurParamsRelease,
                        [](const oxBlurParams& p) { return Fields{double(p.radiusX), double(p.radiusY)}; }),
         {1, 1}},
        {"lens distortion", reader(oxLensDistortionParamsDefault, oxLensDistortionParamsRelease,
                                   [](const oxLensDistortionParams& p) {
                                       return Fields{p.amount, p.cx, p.cy, double(p.crop)};
                                   }),
         {0.5, 0.5, 0.5, 1}},
        {"bilateral", reader(oxBilateralParamsDefault, oxBilateralParamsRelease, bilateralFields), {10, 1, 1, 1, 0, 1}},
        {"bilateral 3D", reader(oxBilateralParamsDefault3D, oxBilateralParamsRelease, bilateralFields),
         {10, 1, 1, 0, 1, 1}},
        // Only the blur window has a default; the caller sets the rest.
        {"high boost", reader(oxHighBoostParamsDefault, oxHighBoostParamsRelease,
                              [](const oxHighBoostParams& p) {
                                  return Fields{double(p.blur.radiusX), double(p.blur.radiusY)};
                              }),
         {1, 1}},
        {"sharpen", reader(oxSharpenParamsDefault, oxSharpenParamsRelease,
                           [](const oxSharpenParams& p) { return Fields{p.amount}; }),
         {k03}},
        {"simplify", reader(oxSimplifyParamsDefault, oxSimplifyParamsRelease,
                            [](const oxSimplifyParams& p) {
                                return Fields{double(p.maxSize), double(p.iterations), p.rangeFactor};
                            }),
         {1024, 8, 1.25}},
        {"saturate", reader(oxSaturateParamsDefault, oxSaturateParamsRelease,
                            [](const oxSaturateParams& p) { return Fields{p.factor}; }),
         {1}},
        {"focus mask", reader(oxFocusMaskParamsDefault, oxFocusMaskParamsRelease,
                              [](const oxFocusMaskParams& p) { return Fields{p.x0, p.y0, p.x1, p.y1}; }),
         {0, double(0.1f), 1, double(0.9f)}},
        {"tilt-shift", reader(oxTiltShiftParamsDefault, oxTiltShiftParamsRelease,
                              [](const oxTiltShiftParams& p) {
                                  return Fields{double(p.maxSize), p.strength, p.ax, p.ay, p.bx, p.by};
                              }),
         {1024, double(0.2f), 0, k03, 1, k03}},
        {"contrast", reader(oxContrastEnhanceParamsDefault, oxContrastEnhanceParamsRelease,
                            [](const oxContrastEnhanceParams& p) {
                                return Fields{p.highClip, p.lowClip, double(p.manual), double(p.whiteLevel),
                                              double(p.blackLevel)};
                            }),
         {9, 4, 0, 255, 0}},
        {"transfer", reader(oxTransferEnhanceParamsDefault, oxTransferEnhanceParamsRelease,
                            [](const oxTransferEnhanceParams& p) {
                                return Fields{p.steepness, p.strength, double(p.radius)};
                            }),
         {k03, 1, 7}},
        {"fill light", reader(oxFillLightParamsDefault, oxFillLightParamsRelease,
                              [](const oxFillLightParams& p) { return Fields{p.amount}; }),
         {1}},
        // The effect's transfer strength (1.4) is not the stage's own (1).
        {"enhance", reader(oxEnhanceParamsDefault, oxEnhanceParamsRelease,
                           [](const oxEnhanceParams& p) {
                               return Fields{double(p.colorCorrection), double(p.reservedFlag), p.contrastWeight,
                                             p.contrastHighClip, p.contrastLowClip, p.transferSteepness,
                                             p.transferStrength, double(p.transferRadius), double(p.fillLight),
                                             p.fillLightAmount, double(p.sharpen), p.sharpenAmount};
                           }),
         {0, 1, 1, 9, 4, k03, double(1.4f), 7, 0, 1, 0, k03}},
    };
    for (const Case& c : cases) EXPECT_EQ(c.read(), c.expected) << c.record;
}
