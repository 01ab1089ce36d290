// The three entry points end to end on every instruction-set path: each
// stage's fast loops are held to their references one by one elsewhere;
// this catches a stage that hands the next one something the reference
// would not (a stride, a channel order, a buffer reused in place).
#include <gtest/gtest.h>

#include <string>

#include "support/paths.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Size {
    int32_t w, h;
};

// Odd sizes on the direct paths, and a few that take the scaled path of
// Simplify and Tilt-shift's enlargement of small pictures.
const Size kSizes[] = {{9, 8}, {33, 17}, {61, 40}, {17, 64}, {1031, 9}, {1100, 31}};

}  // namespace

TEST(EffectPaths, EveryEntryPointMatchesTheReference) {
    using Entry = int32_t (*)(int32_t, int32_t, const uint8_t*, uint8_t*);
    const std::pair<const char*, Entry> effects[] = {
        {"simplify", [](int32_t w, int32_t h, const uint8_t* s, uint8_t* d) { return oxYewSimplify(w, h, s, d, 3, 0.05f, 0.3f); }},
        {"tiltshift", [](int32_t w, int32_t h, const uint8_t* s, uint8_t* d) {
             return oxYewTiltShift(w, h, s, d, 0.3f, 0.2f, 0.2f, 0.4f, 0.8f, 0.6f);
         }},
        {"enhance", [](int32_t w, int32_t h, const uint8_t* s, uint8_t* d) { return oxYewEnhance(w, h, s, d, 0.3f); }},
    };
    for (const auto& [effect, call] : effects)
        for (const Size s : kSizes)
            for (bool inPlace : {false, true})
                expectSameOnEveryPath(std::string(effect) + " " + std::to_string(s.w) + "x" + std::to_string(s.h) +
                                          (inPlace ? " in place" : ""),
                                      [&] {
                                          Image src = noise(s.w, s.h, OX_BGR, OX_8U, 5), dst = make(s.w, s.h, OX_BGR);
                                          uint8_t* out = inPlace ? src->data : dst->data;
                                          EXPECT_EQ(call(s.w, s.h, src->data, out), 0) << effect;
                                          return bytesOf(inPlace ? src.get() : dst.get());
                                      });
}
