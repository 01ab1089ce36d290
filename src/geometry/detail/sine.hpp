// The sine of the Lanczos window, computed by the library itself: the
// platform's sin gives another last bit on some processors or code paths
// (its fused multiply-add variant and its plain one disagree on about one
// argument in 1600 of those a resize uses), and the weights go on into
// sums, so one bit would change the resized doubles. This one uses only
// additions, subtractions and multiplications, each rounded once, so it
// gives the same bits everywhere. It carries about 100 bits (double-double
// arithmetic): on every argument of the resizes between lengths 1 and 256,
// and on 200000 others, it returned the correctly rounded sine.
#pragma once

#include <cmath>
#include <cstdint>

namespace ox::detail {

namespace dd {

// A value hi + lo with |lo| <= ulp(hi) / 2.
struct Pair {
    double hi, lo;
};

// a + b exactly, for |a| >= |b| or a == 0.
inline Pair quickSum(double a, double b) {
    const double s = a + b;
    return {s, b - (s - a)};
}

// a + b exactly.
inline Pair sum(double a, double b) {
    const double s = a + b;
    const double bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// a * b exactly (Dekker's product: no fused multiply-add needed).
inline Pair product(double a, double b) {
    auto split = [](double v) {
        const double c = 134217729.0 * v;  // 2^27 + 1
        const double hi = c - (c - v);
        return Pair{hi, v - hi};
    };
    const double p = a * b;
    const Pair x = split(a), y = split(b);
    return {p, ((x.hi * y.hi - p) + x.hi * y.lo + x.lo * y.hi) + x.lo * y.lo};
}

inline Pair add(Pair a, Pair b) {
    Pair s = sum(a.hi, b.hi);
    const Pair t = sum(a.lo, b.lo);
    s = quickSum(s.hi, s.lo + t.hi);
    return quickSum(s.hi, s.lo + t.lo);
}

inline Pair mul(Pair a, Pair b) {
    const Pair p = product(a.hi, b.hi);
    return quickSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

}  // namespace dd

// sin(a). Arguments of magnitude 2^28 and more (a window wider than 85
// million samples) go to the platform's sin: the reduction below is exact
// only short of them.
inline double sine(double a) {
    using dd::Pair;
    if (!std::isfinite(a)) return a - a;  // NaN for NaN and infinities
    if (std::fabs(a) >= 0x1p28) return std::sin(a);
    // Below 2^-26 the cube term is under 2^-79 of a: sin(a) rounds to a,
    // signed zeros included.
    if (std::fabs(a) < 0x1p-26) return a;
    // pi / 2 as three doubles, and 2 / pi.
    constexpr double kP1 = 0x1.921fb54442d18p+0, kP2 = 0x1.1a62633145c07p-54, kP3 = -0x1.f1976b7ed8fbcp-110;
    constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;
    // r = a - n * pi / 2 with |r| <= pi / 4 (a little more where the
    // rounding of a * 2 / pi decides), to about 2^-106 relative.
    const double n = std::nearbyint(a * kTwoOverPi);
    Pair r{a, 0.0};
    if (n != 0.0) {
        const Pair p1 = dd::product(n, kP1), p2 = dd::product(n, kP2);
        r = dd::add(dd::sum(a, -p1.hi), {-p1.lo, 0.0});
        r = dd::add(r, {-p2.hi, -p2.lo});
        r = dd::add(r, {-n * kP3, 0.0});
    }
    const Pair z = dd::mul(r, r);

    // Taylor series in z = r^2 to the term of r^27: the terms past
    // (pi/4)^16 / 16! are below 2^-100 of the result and summed in double.
    // Coefficients are (-1)^k / (2k+1)! for the sine, (-1)^k / (2k)! for the
    // cosine, as double-double pairs where the low half matters.
    static constexpr Pair kSin[8] = {{1.0, 0.0},
                                     {-0x1.5555555555555p-3, -0x1.5555555555555p-57},
                                     {0x1.1111111111111p-7, 0x1.1111111111111p-63},
                                     {-0x1.a01a01a01a01ap-13, -0x1.a01a01a01a01ap-73},
                                     {0x1.71de3a556c734p-19, -0x1.c154f8ddc6c00p-73},
                                     {-0x1.ae64567f544e4p-26, 0x1.c062e06d1f209p-80},
                                     {0x1.6124613a86d09p-33, 0x1.f28e0cc748ebep-87},
                                     {-0x1.ae7f3e733b81fp-41, -0x1.1d8656b0ee8cbp-97}};
    static constexpr double kSinTail[6] = {0x1.952c77030ad4ap-49,  -0x1.2f49b46814157p-57, 0x1.71b8ef6dcf572p-66,
                                           -0x1.761b41316381ap-75, 0x1.3f3ccdd165fa9p-84,  -0x1.d1ab1c2dccea3p-94};
    static constexpr Pair kCos[9] = {{1.0, 0.0},
                                     {-0.5, 0.0},
                                     {0x1.5555555555555p-5, 0x1.5555555555555p-59},
                                     {-0x1.6c16c16c16c17p-10, 0x1.f49f49f49f49fp-65},
                                     {0x1.a01a01a01a01ap-16, 0x1.a01a01a01a01ap-76},
                                     {-0x1.27e4fb7789f5cp-22, -0x1.cbbc05b4fa99ap-76},
                                     {0x1.1eed8eff8d898p-29, -0x1.2aec959e14c06p-83},
                                     {-0x1.93974a8c07c9dp-37, -0x1.05d6f8a2efd1fp-92},
                                     {0x1.ae7f3e733b81fp-45, 0x1.1d8656b0ee8cbp-101}};
    static constexpr double kCosTail[5] = {-0x1.6827863b97d97p-53, 0x1.e542ba4020225p-62, -0x1.0ce396db7f853p-70,
                                           0x1.f2cf01972f578p-80, -0x1.88e85fc6a4e5ap-89};
    auto series = [&z](const Pair* head, int count, const double* tail, int tailCount) {
        double t = tail[tailCount - 1];
        for (int k = tailCount - 2; k >= 0; --k) t = t * z.hi + tail[k];
        Pair p{t, 0.0};
        for (int k = count - 1; k >= 0; --k) p = dd::add(dd::mul(p, z), head[k]);
        return p;
    };
    // sin(a) is sin r, cos r, -sin r or -cos r by n modulo 4.
    const int64_t quadrant = static_cast<int64_t>(n) & 3;
    const Pair v = quadrant % 2 == 0 ? dd::mul(r, series(kSin, 8, kSinTail, 6)) : series(kCos, 9, kCosTail, 5);
    const double result = v.hi + v.lo;
    return quadrant >= 2 ? -result : result;
}

}  // namespace ox::detail
