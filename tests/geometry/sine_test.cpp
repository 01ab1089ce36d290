// The library's own sine behind the Lanczos window: correctly rounded, so
// the same bits on every processor, where the platform's sin gives another
// last bit on some code paths.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "geometry/detail/sine.hpp"
#include "support/test_support.hpp"

using ox::detail::sine;

// Correctly rounded values (worked out to 200 bits). The first rows are
// arguments of real resizes on which the platform's fused and plain sin
// disagree, each wrong on one of them; then the edges of the reduction:
// multiples of pi/2, both sides of pi/4, every quadrant, the last argument
// reduced here.
TEST(Sine, CorrectlyRoundedWhereThePlatformsDisagree) {
    struct Case {
        double x, expected;
    } cases[] = {
        {-0x1.2bb8f91dbe4e2p+3, -0x1.de890e46fee2dp-5}, {-0x1.2baf1fcc6403dp+3, -0x1.e85dfa9e73b0ap-5},
        {-0x1.2a9299444330dp+3, -0x1.820478e92655fp-4}, {-0x1.2a6d335f82382p+3, -0x1.94a1113e98d37p-4},
        {-0x1.2a439919333e8p+3, -0x1.a952cc90ceb9dp-4}, {-0x1.2987f2141f56cp+3, -0x1.0342e780282efp-3},
        {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53},  {0x1.921fb54442d18p+2, -0x1.1a62633145c07p-52},
        {0x1.2d97c7f3321d2p+3, 0x1.a79394c9e8a0ap-52},  {-0x1.921fb54442d18p+0, -1.0},
        {0x1.2d97c7f3321d2p+1, 0x1.6a09e667f3bcdp-1},   {0x1.921fb54442d18p-1, 0x1.6a09e667f3bccp-1},
        {0x1.921fb54442d19p-1, 0x1.6a09e667f3bcdp-1},   {100.0, -0x1.03425b78c4db8p-1},
        {-7.5, -0x1.e041886fcae30p-1},                  {0x1.fffffffffffffp+27, -0x1.f8eef8ac0a93ep-1},
        {0x1.56e1fc2f8f359p-997, 0x1.56e1fc2f8f359p-997},
    };
    for (const Case& c : cases) EXPECT_EQ(sine(c.x), c.expected) << std::hexfloat << c.x;
    EXPECT_TRUE(std::signbit(sine(-0.0)));
    for (double bad : {NAN, INFINITY, -INFINITY}) EXPECT_TRUE(std::isnan(sine(bad)));
}

// Within one unit of the platform's sin everywhere the window reaches and
// far beyond: a wrong coefficient or quadrant shows at once.
TEST(Sine, WithinOneUnitOfThePlatformSin) {
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> wide(-4000.0, 4000.0);
    for (int i = 0; i < 200000; ++i) {
        const double x = i % 2 ? wide(rng) : std::ldexp(wide(rng), -static_cast<int>(rng() % 40));
        const double s = std::sin(x);
        EXPECT_LE(std::fabs(sine(x) - s), std::nextafter(std::fabs(s), INFINITY) - std::fabs(s)) << std::hexfloat << x;
    }
}

// The window's weights over every resize between lengths 1 and 48: the same
// bytes on every processor, whatever its maths library.
TEST(Sine, LanczosWeightsOfResizesAreTheSameEverywhere) {
    uint64_t hash = 1469598103934665603ull;
    for (int32_t ns = 1; ns <= 48; ++ns)
        for (int32_t nd = 1; nd <= 48; ++nd)
            for (int32_t j = 0; j < nd; ++j) {
                const double x = static_cast<double>(ns) / nd * j;
                for (int32_t k = -3; k <= 3; ++k) {
                    const double w = oxLanczosFunction(3, ((1.0 - x) + std::floor(x)) + k);
                    hash = (hash ^ oxtest::hashBytes(&w, sizeof w)) * 1099511628211ull;
                }
            }
    EXPECT_EQ(hash, 0x727b5f3ca5a4679ull) << std::hex << "0x" << hash << "ull";
}
