// The colour bilateral pass on every instruction-set path against the plain
// loop, byte for byte: separate buffers, in place (the wavefront), buffers
// that overlap by one pixel, padded rows; through the internal operation
// and through the exported filter with its record.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "effects/detail/bilateral_ops.hpp"
#include "support/paths.hpp"
#include "support/test_support.hpp"

using namespace oxtest;
namespace d = ox::detail;

namespace {

using Bytes = std::vector<uint8_t>;

enum class Layout { Separate, InPlace, Shifted, Padded };
const char* const kLayoutNames[] = {"separate", "in place", "shifted", "padded"};

// Noise, or values in a narrow band where the range weights matter most.
Bytes pixels(int32_t count, uint32_t seed, bool band) {
    std::mt19937 rng(seed);
    Bytes out(static_cast<size_t>(count));
    for (uint8_t& v : out) v = static_cast<uint8_t>(band ? 100 + rng() % 48 : rng());
    return out;
}

struct Tables {
    d::BilateralSpace space;
    d::ColourRange range;
    Tables(float spaceSigma, float rangeSigma) {
        d::buildBilateralSpace(spaceSigma, space);
        EXPECT_EQ(d::buildColourRange(d::bilateralRangeFactor(rangeSigma), range), d::Status::Ok);
    }
};

// `passes` passes over a w x h picture laid out as `layout`; the whole
// buffer comes back, padding and spare bytes included.
Bytes run(const Tables& t, int32_t w, int32_t h, int32_t r, int32_t passes, Layout layout, bool band) {
    const int64_t stride = 3 * int64_t(w) + (layout == Layout::Padded ? 5 : 0);
    const size_t bytes = size_t(stride * h);
    Bytes buffer = pixels(int32_t(2 * bytes + 3), uint32_t(w * 131 + h), band);
    uint8_t* in = buffer.data();
    uint8_t* out = layout == Layout::InPlace ? in : layout == Layout::Shifted ? in + 3 : in + bytes + 3;
    for (int32_t i = 0; i < passes; ++i) {
        const d::ConstView<uint8_t> src{i == 0 ? in : out, w, h, 3, stride};
        const d::View<uint8_t> dst{out, w, h, 3, stride};
        EXPECT_EQ(d::bilateralColourPass(src, dst, r, t.space.centre(), t.range.byNorm()), d::Status::Ok);
    }
    return buffer;
}

// "Lopsided" spatial weights differ between opposite offsets, as a host may
// write them into a record: no weight may be shared between the two ends
// of a pair.
TEST(BilateralColourPaths, EveryPathGivesThePlainBytes) {
    Tables sharp(7.0f, 0.28f), flat(2.0f, 3.0f);
    struct Case { const Tables* tables; int32_t r, passes; bool band; };
    std::vector<Case> cases = {
        {&sharp, 1, 2, false}, {&sharp, 1, 1, true}, {&flat, 1, 2, true}, {&sharp, 2, 1, true}, {&sharp, 0, 1, false},
    };
    std::vector<std::unique_ptr<Tables>> lopsided;
    for (auto [dy, dx] : {std::pair{1, 1}, {1, 0}, {1, -1}, {0, 1}}) {  // one offset halved
        lopsided.push_back(std::make_unique<Tables>(3.0f, 0.28f));
        lopsided.back()->space.weights[10 + dy][10 + dx] *= 0.5f;
        cases.push_back({lopsided.back().get(), 1, 1, true});
    }
    for (const Case& c : cases)
        for (Layout layout : {Layout::Separate, Layout::InPlace, Layout::Shifted, Layout::Padded})
            for (int32_t w : awkwardWidths())
                for (int32_t h : {1, 2, 3, 4, 16, 19}) {
                    const std::string what = std::string(kLayoutNames[int(layout)]) + " " + std::to_string(w) + "x" +
                                             std::to_string(h) + " r " + std::to_string(c.r) +
                                             (c.band ? " band" : " noise");
                    expectSameOnEveryPath(what, [&] { return run(*c.tables, w, h, c.r, c.passes, layout, c.band); });
                }
}

struct ParamsDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};
using Params = std::unique_ptr<oxBilateralParams, ParamsDeleter>;

// The exported filter reads the compact table of its record's sigma; a
// record whose table was assembled by hand (zeroed, never rebuilt) keeps
// being read itself. Two records of different sigmas used in turn on one
// thread each get their own weights.
TEST(BilateralColourPaths, ExportedFilterMatchesItsRecord) {
    Params sharp(oxBilateralParamsDefault()), flat(oxBilateralParamsDefault()), handMade(oxBilateralParamsDefault());
    sharp->spaceSigma = flat->spaceSigma = handMade->spaceSigma = 7.0;
    sharp->rangeSigma = 0.28, flat->rangeSigma = 3.0, handMade->rangeSigma = 0.0;
    std::free(handMade->tables2D);  // cached sigmas 0 as made: the zero table is kept
    handMade->tables2D = oxBilateralParamsInnerCreate();
    struct Case { const char* name; oxBilateralParams* p; } cases[] = {
        {"sharp", sharp.get()}, {"flat", flat.get()}, {"sharp again", sharp.get()}, {"hand-made", handMade.get()}};
    for (const Case& c : cases)
        for (int32_t w : {1, 9, 33, 1031}) {
            expectSameOnEveryPath(std::string(c.name) + " " + std::to_string(w), [&] {
                Image src = noise(w, 5, OX_BGR, OX_8U, uint32_t(w)), dst = make(w, 5, OX_BGR);
                EXPECT_EQ(oxBilateralFilter(c.p, src.get(), dst.get()), 0);
                EXPECT_EQ(oxBilateralFilter(c.p, dst.get(), dst.get()), 0);
                return bytesOf(dst.get());
            });
        }
}

}  // namespace
