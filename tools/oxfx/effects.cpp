#include "effects.hpp"

#include <algorithm>
#include <cstring>
#include <memory>

#include "ox_enhance.h"
#include "ox_simplify.h"
#include "ox_tiltshift.h"

namespace oxfx {
namespace {

// Values were range-checked when parsed, so the narrowing casts are exact.
float real(const Values& values, const char* name) { return static_cast<float>(values.find(name)->second); }
int32_t whole(const Values& values, const char* name) { return static_cast<int32_t>(values.find(name)->second); }

std::string sizeText(int32_t width, int32_t height) {
    return "the picture is " + std::to_string(width) + "x" + std::to_string(height);
}

// Both effects bring the picture to this many pixels on its longer side.
constexpr int32_t kWorkingSize = 1024;

// The working size of a picture, with the effects' own float arithmetic.
void workingSize(int32_t width, int32_t height, int32_t& w, int32_t& h) {
    const float s = static_cast<float>(kWorkingSize) / static_cast<float>(std::max(width, height));
    w = static_cast<int32_t>(s * static_cast<float>(width));
    h = static_cast<int32_t>(s * static_cast<float>(height));
}

std::string simplifyRefusal(int32_t width, int32_t height, const Values& v) {
    if (whole(v, "iterations") < 1) return {};
    // The final sharpening box-blurs the full-size picture with radius 3.
    if (width < 4 || height < 4)
        return "simplify needs at least 4 pixels on each side (" + sizeText(width, height) + ")";
    // Large pictures are filtered at the working size, where the shorter side
    // must keep a pixel.
    if (std::max(width, height) >= kWorkingSize) {
        int32_t w = 0, h = 0;
        workingSize(width, height, w, h);
        if (w < 1 || h < 1)
            return "simplify needs the shorter side to be at least 1/1024 of the longer one (" +
                   sizeText(width, height) + ")";
    }
    return {};
}

int32_t runSimplify(const oxio::Picture& in, uint8_t* out, const Values& v, std::string&) {
    return oxYewSimplify(in.width, in.height, in.bgr.data(), out, whole(v, "iterations"), real(v, "range-factor"),
                         real(v, "saturation"));
}

std::string tiltShiftRefusal(int32_t width, int32_t height, const Values& v) {
    // The lens step crops two columns and a row off the distorted picture.
    if (real(v, "lens") != 0.0f && (width < 4 || height < 2))
        return "tiltshift needs at least 4x2 pixels unless --lens is 0 (" + sizeText(width, height) + ")";
    return {};
}

// The entry point skips the blur without a word when the working image is
// narrower than the blur kernel; the user hears of it here.
std::string tiltShiftNote(int32_t width, int32_t height, float strength) {
    const int32_t radius = static_cast<int32_t>(strength * (static_cast<float>(kWorkingSize) / 20.0f));
    if (radius < 1) return {};
    int32_t w = 0, h = 0;
    workingSize(width, height, w, h);
    const int32_t needed = 2 * radius + 1;
    if (std::min(w, h) >= needed) return {};
    return "no blur: the shorter side is " + std::to_string(std::min(w, h)) +
           " pixels at the 1024-pixel working size and the blur at this --strength needs " + std::to_string(needed);
}

int32_t runTiltShift(const oxio::Picture& in, uint8_t* out, const Values& v, std::string& note) {
    const int32_t status = oxYewTiltShift(in.width, in.height, in.bgr.data(), out, real(v, "strength"),
                                          real(v, "lens"), real(v, "ax"), real(v, "ay"), real(v, "bx"), real(v, "by"));
    if (status == 0) note = tiltShiftNote(in.width, in.height, real(v, "strength"));
    return status;
}

std::string enhanceRefusal(int32_t width, int32_t height, const Values& v) {
    // The tone transfer blurs the brightness with radius 7.
    if (real(v, "steepness") > 0.0f && (width < 8 || height < 8))
        return "enhance needs at least 8x8 pixels unless --steepness is 0 (" + sizeText(width, height) + ")";
    return {};
}

struct HeaderRelease {
    void operator()(oxImage* p) const { oxImageReleaseHeader(&p); }
};
struct StatsRelease {
    void operator()(oxContrastEnhanceStats* p) const { oxContrastEnhanceStatsRelease(&p); }
};
struct ParamsRelease {
    void operator()(oxEnhanceParams* p) const { oxEnhanceParamsRelease(&p); }
};
using Header = std::unique_ptr<oxImage, HeaderRelease>;

Header wrap(int32_t width, int32_t height, const uint8_t* pixels) {
    Header header(oxImageCreateHeader(width, height, OX_BGR));
    // The library only reads through a source header.
    if (header) header->data = const_cast<uint8_t*>(pixels);
    return header;
}

// The black and white points the contrast stage would stretch between:
// the first brightness from below, and from above, at which the running
// count of pixels exceeds its clip share, in the stage's float arithmetic.
// False when the statistics cannot be had.
bool stretchPoints(const oxio::Picture& in, const oxEnhanceParams& params, int& black, int& white) {
    Header header = wrap(in.width, in.height, in.bgr.data());
    std::unique_ptr<oxContrastEnhanceStats, StatsRelease> stats(oxContrastEnhanceStatsCreate());
    if (!header || !stats || oxContrastEnhanceStatsRetrieve(stats.get(), header.get(), nullptr) != OX_OK) return false;
    const float highCount = (params.contrastHighClip * stats->pixelCount) / 1000.0f;
    const float lowCount = (stats->pixelCount * params.contrastLowClip) / 1000.0f;
    black = 255;
    float sum = 0.0f;
    for (int i = 0; i < 255; ++i) {
        sum += stats->histogram[i];
        if (sum > lowCount) {
            black = i;
            break;
        }
    }
    white = 0;
    sum = 0.0f;
    for (int i = 255; i > 0; --i) {
        sum += stats->histogram[i];
        if (sum > highCount) {
            white = i;
            break;
        }
    }
    return true;
}

// On a flat or nearly one-coloured picture (a scanned page, a dark frame)
// the contrast stage's black and white points meet and its stretch, which
// the library keeps as it is, turns the picture black. The effect then runs
// without that stage, with everything else as the entry point sets it.
int32_t runEnhance(const oxio::Picture& in, uint8_t* out, const Values& v, std::string& note) {
    const float steepness = real(v, "steepness");
    std::unique_ptr<oxEnhanceParams, ParamsRelease> params(oxEnhanceParamsDefault());
    int black = 0, white = 255;
    if (!params || !stretchPoints(in, *params, black, white) || white > black)
        return oxYewEnhance(in.width, in.height, in.bgr.data(), out, steepness);
    note = white == black ? "contrast stage skipped: the black and white points coincide at brightness " +
                                std::to_string(black) + ", where the stretch would turn the picture black"
                          : "contrast stage skipped: the black point " + std::to_string(black) +
                                " lies above the white point " + std::to_string(white);
    std::memcpy(out, in.bgr.data(), in.bgr.size());
    Header header = wrap(in.width, in.height, out);
    if (!header) return OX_REFUSED;
    params->contrastWeight = 0.0f;
    params->transferSteepness = steepness;
    return oxEnhanceFilter(params.get(), header.get(), nullptr, header.get(), nullptr);
}

// The range sigma of the smoothing grows with the picture (about 26 times
// the range factor, in units of the full 8-bit range, on a 1024-pixel
// working size), so only small factors keep edges: at 0.1 the passes are a
// plain blur, at 0.01 flat areas merge while contours stay.
// The default band runs across the middle third; the effect's own default
// points lie on one line, which leaves no sharp region at all.
const std::vector<Effect> kEffects = {
    {"simplify", "painterly, simplified look with stronger colours",
     "at least 4x4 pixels, the shorter side at least 1/1024 of the\n"
     "longer (any size with --iterations 0). Works at 1024 pixels on\n"
     "the longer side and scales back: a large photograph comes out\n"
     "soft by design.",
     {{"iterations", "N", "smoothing passes; 0 keeps the picture", Kind::Whole, 8, 0, 1000},
      {"range-factor", "X", "how much colour difference is smoothed over; small keeps edges", Kind::Real, 0.01,
       0.001, 10},
      {"saturation", "X", "saturation boost, factor 2X+1; 0 turns it off", Kind::Real, 0.3, 0, 10}},
     simplifyRefusal, runSimplify},
    {"tiltshift", "miniature look: a sharp band between two points, blur and lens distortion around it",
     "at least 4x2 pixels (any size with --lens 0). Blurs at 1024\n"
     "pixels on the longer side and scales back: the blur is soft by\n"
     "design on a large photograph. A picture too narrow for the blur\n"
     "gets none, with a note.",
     {{"strength", "X", "blur strength; below 0.02 no blur", Kind::Real, 0.3, 0, 2},
      {"lens", "X", "lens distortion amount; 0 turns it off", Kind::Real, 0.2, -1, 1},
      {"ax", "X", "first point, fraction of the width", Kind::Real, 0.2, 0, 1},
      {"ay", "Y", "first point, fraction of the height", Kind::Real, 0.4, 0, 1},
      {"bx", "X", "second point, fraction of the width", Kind::Real, 0.8, 0, 1},
      {"by", "Y", "second point, fraction of the height", Kind::Real, 0.6, 0, 1}},
     tiltShiftRefusal, runTiltShift},
    {"enhance", "automatic contrast and local tone",
     "at least 8x8 pixels (any size with --steepness 0). Works at\n"
     "full size. On a flat or nearly one-coloured picture, where the\n"
     "contrast stretch would turn it black, that stage is skipped,\n"
     "with a note.",
     {{"steepness", "X", "steepness of the tone curve; 0 leaves contrast only", Kind::Real, 0.3, 0, 10}},
     enhanceRefusal, runEnhance},
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

bool applyEffect(const Effect& effect, const Values& values, const oxio::Picture& in, oxio::Picture& out,
                 std::string& error, std::string& note) {
    note.clear();
    error = effect.refusal(in.width, in.height, values);
    if (!error.empty()) return false;
    out.width = in.width;
    out.height = in.height;
    out.droppedAlpha = false;
    out.bgr.assign(in.bgr.size(), 0);
    const int32_t status = effect.run(in, out.bgr.data(), values, note);
    if (status == OX_OK) return true;
    error = std::string(effect.name) + " failed with status " + std::to_string(status);
    // What is left: the lens step's crop, which depends on the amount.
    if (std::string_view(effect.name) == "tiltshift")
        error += " (on a small picture the lens distortion can leave nothing to crop; try a smaller --lens, or 0)";
    return false;
}

}  // namespace oxfx
