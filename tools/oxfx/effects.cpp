#include "effects.hpp"

#include "ox_enhance.h"
#include "ox_simplify.h"
#include "ox_tiltshift.h"

namespace oxfx {
namespace {

// Values were range-checked when parsed, so the narrowing casts are exact.
float real(const Values& values, const char* name) { return static_cast<float>(values.find(name)->second); }
int32_t whole(const Values& values, const char* name) { return static_cast<int32_t>(values.find(name)->second); }

int32_t runSimplify(const oxio::Picture& in, uint8_t* out, const Values& v) {
    return oxYewSimplify(in.width, in.height, in.bgr.data(), out, whole(v, "iterations"), real(v, "range-factor"),
                         real(v, "saturation"));
}

int32_t runTiltShift(const oxio::Picture& in, uint8_t* out, const Values& v) {
    return oxYewTiltShift(in.width, in.height, in.bgr.data(), out, real(v, "strength"), real(v, "lens"),
                          real(v, "ax"), real(v, "ay"), real(v, "bx"), real(v, "by"));
}

int32_t runEnhance(const oxio::Picture& in, uint8_t* out, const Values& v) {
    return oxYewEnhance(in.width, in.height, in.bgr.data(), out, real(v, "steepness"));
}

// The range sigma of the smoothing grows with the picture (about 26 times
// the range factor, in units of the full 8-bit range, on a 1024-pixel
// working size), so only small factors keep edges: at 0.1 the passes are a
// plain blur, at 0.01 flat areas merge while contours stay.
// The default band runs across the middle third; the effect's own default
// points lie on one line, which leaves no sharp region at all.
const std::vector<Effect> kEffects = {
    {"simplify", "painterly, simplified look with stronger colours",
     {{"iterations", "N", "smoothing passes; 0 keeps the picture", Kind::Whole, 8, 0, 1000},
      {"range-factor", "X", "how much colour difference is smoothed over; small keeps edges", Kind::Real, 0.01,
       0.001, 10},
      {"saturation", "X", "saturation boost, factor 2X+1; 0 turns it off", Kind::Real, 0.3, 0, 10}},
     runSimplify},
    {"tiltshift", "miniature look: a sharp band between two points, blur and lens distortion around it",
     {{"strength", "X", "blur strength; below 0.02 no blur", Kind::Real, 0.3, 0, 2},
      {"lens", "X", "lens distortion amount; 0 turns it off", Kind::Real, 0.2, -1, 1},
      {"ax", "X", "first point, fraction of the width", Kind::Real, 0.2, 0, 1},
      {"ay", "Y", "first point, fraction of the height", Kind::Real, 0.4, 0, 1},
      {"bx", "X", "second point, fraction of the width", Kind::Real, 0.8, 0, 1},
      {"by", "Y", "second point, fraction of the height", Kind::Real, 0.6, 0, 1}},
     runTiltShift},
    {"enhance", "automatic contrast and local tone",
     {{"steepness", "X", "steepness of the tone curve; 0 leaves contrast only", Kind::Real, 0.3, 0, 10}},
     runEnhance},
};

}  // namespace

const std::vector<Effect>& effects() { return kEffects; }

const Effect* findEffect(std::string_view name) {
    for (const Effect& effect : kEffects)
        if (name == effect.name) return &effect;
    return nullptr;
}

Values defaultValues(const Effect& effect) {
    Values values;
    for (const Option& opt : effect.options) values[opt.name] = opt.defaultValue;
    return values;
}

int32_t applyEffect(const Effect& effect, const Values& values, const oxio::Picture& in, oxio::Picture& out) {
    out.width = in.width;
    out.height = in.height;
    out.droppedAlpha = false;
    out.bgr.assign(in.bgr.size(), 0);
    return effect.run(in, out.bgr.data(), values);
}

}  // namespace oxfx
