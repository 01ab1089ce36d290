// Checks, over the arguments the library's transcendental calls can see,
// whether the platform's maths library could change a result byte:
//
// - float results taken from a double exp or log (the bilateral range and
//   space weights, the transfer curve): every float argument is tried. A
//   result is "fragile" when some double within 2 units in the last place
//   of the computed one rounds to another float. Any two maths libraries
//   whose exp and log err by less than 1 unit give doubles within 2 units
//   of each other, so without a fragile argument the float results are the
//   same bytes with every such library, whatever its code path. A fragile
//   argument is looked at again in long double: when the exact value lies
//   more than 1 unit of the double from the float rounding boundary, every
//   such library still rounds to the same float, and it is not counted as
//   "unsafe"; nor is an argument whose result the library fixes itself
//   (the logarithms in effects/detail/stage_transfer.hpp), counted "fixed".
// - float Gaussian kernel weights from exp of a double argument, over the
//   kernel sizes and a dense grid of sigmas: fragile ones counted the same
//   way.
// - double Lanczos weights from sin, which go on into further arithmetic,
//   so any last-bit difference shows: the arguments of every resize between
//   lengths 1 and 256 are evaluated and hashed; the hash must match across
//   platforms.
//
// Prints one line per family: the count of arguments, the count of fragile
// ones (listed), and an FNV-1a hash of all results. Run it on each platform
// and compare the lines (scripts/check-libm.sh). It is a check, not a test:
// the exhaustive sweeps take minutes.
#include <cinttypes>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "effects/detail/stage_transfer.hpp"

namespace {

struct Family {
    const char* name;
    uint64_t count = 0;
    uint64_t fragile = 0;
    uint64_t unsafe = 0;
    uint64_t fixed = 0;
    uint64_t hash = 1469598103934665603ull;

    template <class T> void add(T value) {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof value);
        for (unsigned char b : bytes) hash = (hash ^ b) * 1099511628211ull;
        ++count;
    }
    void print() const {
        std::printf("%-20s arguments %10" PRIu64 "  fragile %3" PRIu64 "  fixed %3" PRIu64 "  unsafe %3" PRIu64
                    "  hash %016" PRIx64 "\n",
                    name, count, fragile, fixed, unsafe, hash);
    }
};

// True when a double within 2 units in the last place of y rounds to
// another float than y does.
bool fragile(double y) {
    if (!std::isfinite(y)) return false;
    const double lo = std::nextafter(std::nextafter(y, -INFINITY), -INFINITY);
    const double hi = std::nextafter(std::nextafter(y, INFINITY), INFINITY);
    return static_cast<float>(lo) != static_cast<float>(hi);
}

// Distance of the exact value `exact` from the float rounding boundary
// nearest to the double y, in units in the last place of y.
long double boundaryDistance(double y, long double exact) {
    const float f = static_cast<float>(y);
    const double below = std::nextafter(f, -INFINITY), above = std::nextafter(f, INFINITY);
    const double mid = y < f ? (static_cast<double>(f) + below) / 2 : (static_cast<double>(f) + above) / 2;
    const double ulp = std::nextafter(y, INFINITY) - y;
    return std::fabs(exact - static_cast<long double>(mid)) / ulp;
}

bool fixedByTheLibrary(double arg) {
    for (const ox::detail::FixedLog& f : ox::detail::kFixedLogs)
        if (static_cast<double>(f.x) == arg) return true;
    return false;
}

void judge(Family& fam, double y, long double exact, const char* what, double arg, bool isLog = false) {
    if (!fragile(y)) return;
    ++fam.fragile;
    const long double d = boundaryDistance(y, exact);
    const bool fixed = isLog && fixedByTheLibrary(arg);
    if (d <= 1.05L) ++(fixed ? fam.fixed : fam.unsafe);
    std::printf("  %s fragile at %a: %a, exact value %.3Lf units from the float boundary%s\n", what, arg, y, d,
                fixed ? " (fixed by the library)" : "");
}

float fromBits(uint32_t bits) {
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

// Every float whose bits lie in [first, last].
template <class F, class G>
void everyFloat(Family& fam, uint32_t first, uint32_t last, F f, G exact, bool isLog = false) {
    for (uint64_t b = first; b <= last; ++b) {
        const float x = fromBits(static_cast<uint32_t>(b));
        const double y = f(static_cast<double>(x));
        fam.add(static_cast<float>(y));
        judge(fam, y, exact(static_cast<long double>(x)), fam.name, x, isLog);
    }
}

void floatExp() {
    // exp of a float below -104 is 0 and above 89 infinite as a float, far
    // from any rounding boundary; between them every float is tried.
    Family neg{"exp(float), x <= 0"}, pos{"exp(float), x > 0"};
    auto f = [](double x) { return std::exp(x); };
    auto exact = [](long double x) { return std::exp(x); };
    everyFloat(neg, 0x80000000u, 0xc2d00000u, f, exact);  // -0 .. -104
    everyFloat(pos, 0x00000001u, 0x42b20000u, f, exact);  // denormal .. 89
    neg.print();
    pos.print();
}

void floatLog() {
    Family fam{"log(float), x > 0"};
    everyFloat(
        fam, 0x00000001u, 0x7f7fffffu, [](double x) { return std::log(x); },
        [](long double x) { return std::log(x); }, true);
    fam.print();
}

// The Gaussian kernel: float(exp(c * i * i)) with c = -0.5 / (s * s), for
// the sigma every odd size up to 801 derives, and sigmas 0.001 to 100 in
// steps of 0.001, each over the radius its size takes.
void gaussian() {
    Family fam{"gaussian weights"};
    auto kernel = [&](double s, int32_t r) {
        const double c = -0.5 / (s * s);
        for (int32_t i = 0; i <= r; ++i) {
            const double arg = c * i * i;
            const double y = std::exp(arg);
            fam.add(static_cast<float>(y));
            judge(fam, y, std::exp(static_cast<long double>(arg)), "gaussian (argument)", arg);
        }
    };
    for (int32_t size = 3; size <= 801; size += 2) kernel(0.3 * static_cast<double>(size / 2 - 1) + 0.8, size / 2);
    for (int32_t k = 1; k <= 100000; ++k) {
        const double s = k * 0.001;
        kernel(s, static_cast<int32_t>(std::min(4.0 * s + 0.5, 400.0)));
    }
    fam.print();
}

// The Lanczos weights of every resize of a function of ns samples into nd,
// both 1 to 256, with the window's arithmetic as the resize does it.
void lanczos() {
    constexpr double kPi = 3.141592653589793;
    Family fam{"lanczos sin"};
    for (int32_t ns = 1; ns <= 256; ++ns)
        for (int32_t nd = 1; nd <= 256; ++nd) {
            const double scale = static_cast<double>(ns) / static_cast<double>(nd);
            for (int32_t j = 0; j < nd; ++j) {
                const double x = scale * j;
                const double offset = (1.0 - x) + std::floor(x);
                for (int32_t k = -3; k <= 3; ++k) {
                    const double t = offset + k;
                    if (t == 0.0 || !(std::fabs(t) < 3.0)) continue;
                    fam.add(std::sin(kPi * t));
                    fam.add(std::sin((t / 3.0) * kPi));
                }
            }
        }
    fam.print();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string only = argc > 1 ? argv[1] : "";
    if (only.empty() || only == "exp") floatExp();
    if (only.empty() || only == "log") floatLog();
    if (only.empty() || only == "gaussian") gaussian();
    if (only.empty() || only == "lanczos") lanczos();
    return 0;
}
