#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "support/test_support.hpp"

namespace {

struct FunctionDeleter {
    void operator()(oxFunction* f) const { oxFunctionRelease(&f); }
};
using Function = std::unique_ptr<oxFunction, FunctionDeleter>;

// Exactly as many samples as given, so a read past the end trips the
// address sanitizer.
Function fn(const std::vector<double>& values) {
    Function f(oxFunctionCreate(static_cast<int32_t>(values.size())));
    for (size_t i = 0; i < values.size(); ++i) f->values[i] = values[i];
    return f;
}

std::vector<double> valuesOf(const oxFunction* f) { return {f->values, f->values + f->count}; }

}  // namespace

TEST(Function, CreateZeroesAndReleaseNulls) {
    oxFunction* f = oxFunctionCreate(3);
    EXPECT_EQ(valuesOf(f), (std::vector<double>{0, 0, 0}));
    oxFunctionRelease(&f);
    EXPECT_TRUE(f == nullptr && oxFunctionCreate(-1) == nullptr && fn({})->count == 0);
}

TEST(Function, UnaryWorkedValues) {
    struct Case {
        const char* name;
        oxFunction* (*op)(oxFunction*, oxFunction*);
        std::vector<double> in, out;
    } cases[] = {
        {"integral", oxFunctionIntegral, {1, 2, 3}, {1, 3, 6}},
        {"normalize", oxFunctionNormalize, {1, 1, 2}, {0.25, 0.25, 0.5}},
        {"normalize divides", oxFunctionNormalize, {3, 2}, {0.6, 0.4}},  // 3 * (1 / 5) is not 0.6
        {"blur", oxFunctionBlur, {3, 6, 9, 12}, {4.5, 6, 9, 10.5}},
        {"blur of two", oxFunctionBlur, {2, 4}, {3, 3}},
        // Too short for the two-sample ends: the sample stays, nothing
        // outside the one-sample buffer is read.
        {"blur of one", oxFunctionBlur, {7}, {7}},
        {"blur of none", oxFunctionBlur, {}, {}},
    };
    for (const Case& c : cases) {
        Function src = fn(c.in), dst = fn(std::vector<double>(c.in.size(), -1.0));
        EXPECT_EQ(c.op(src.get(), dst.get()), src.get()) << c.name;
        EXPECT_EQ(valuesOf(dst.get()), c.out) << c.name;
    }
}

TEST(Function, CorrelationFusesOnlyTheTermsAfterTheLastGroupOfEight) {
    const double up = 1 + std::ldexp(1.0, -30), down = 1 - std::ldexp(1.0, -30);  // product 1 - 2^-60
    struct Case {
        std::vector<double> a, b;
        double expected;
    } cases[] = {
        {{-1, up}, {1, down}, -std::ldexp(1.0, -60)},                              // fused remainder
        {{-1, up, 0, 0, 0, 0, 0, 0}, {1, down, 0, 0, 0, 0, 0, 0}, 0.0},            // rounded product
        {{-1, 0, 0, 0, 0, 0, 0, 0, up}, {1, 0, 0, 0, 0, 0, 0, 0, down}, -std::ldexp(1.0, -60)},
        {{}, {}, 0.0},
    };
    for (const Case& c : cases) EXPECT_EQ(oxFunctionCorrelation(fn(c.a).get(), fn(c.b).get()), c.expected);
}

TEST(Function, InterpolationIsOneFusedStepAndStaysInside) {
    Function f = fn({10, 20, 40});
    struct Case {
        double x, expected;
    } cases[] = {{1.25, 25}, {2.0, 40}, {0.0, 10}, {0.5, 15}, {-3.0, 10}, {5.0, 40}, {NAN, 10}};
    for (const Case& c : cases) EXPECT_EQ(oxFunctionGetInterpolatedVal(f.get(), c.x), c.expected) << c.x;
    // Rounding the product before the add would give exactly 0.5.
    EXPECT_EQ(oxFunctionGetInterpolatedVal(fn({0.1, 0.7}).get(), 2.0 / 3.0), 0.49999999999999994);
    EXPECT_EQ(oxFunctionGetInterpolatedVal(fn({}).get(), 0.0), 0.0);
}
