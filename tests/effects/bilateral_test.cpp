#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "effects/detail/bilateral_kernel.hpp"
#include "support/golden.hpp"

using namespace oxtest;
using ox::detail::readElement;

namespace {

struct ParamsDeleter {
    void operator()(oxBilateralParams* p) const { oxBilateralParamsRelease(&p); }
};
using Params = std::unique_ptr<oxBilateralParams, ParamsDeleter>;

struct HeaderDeleter {
    void operator()(oxImage* p) const { oxImageReleaseHeader(&p); }
};
using Header = std::unique_ptr<oxImage, HeaderDeleter>;

Params params(double space, double range, int32_t radius, bool volumes = false) {
    Params p(volumes ? oxBilateralParamsDefault3D() : oxBilateralParamsDefault());
    p->spaceSigma = space, p->rangeSigma = range, p->radius = radius;
    return p;
}

TestVolume volume(int32_t w, int32_t h, int32_t d, int32_t type) { return TestVolume(oxVolumeCreateWithType(w, h, d, type)); }

void put(uint8_t* data, int32_t type, size_t i, double value) {
    if (type == OX_64F) std::memcpy(data + 8 * i, &value, 8);
    else data[i] = static_cast<uint8_t>(value);
}

}  // namespace

TEST(BilateralTables, DefaultsAreWiredAndBuilt) {
    Params p2(oxBilateralParamsDefault()), p3(oxBilateralParamsDefault3D());
    const oxBilateralTables* t = p2->tables2D;
    const oxBilateralTables3D* t3 = p3->tables3D;
    EXPECT_TRUE(!p2->tables3D && !p3->tables2D && t->cachedSpaceSigma == 10.0f && t3->cachedRangeSigma == 1.0f);
    for (int dz = -10; dz <= 10; ++dz)
        for (int dy = -10; dy <= 10; ++dy) {
            ASSERT_EQ(&t->spaceCenter[dz][dy], &t->spaceWeights[dz + 10][dy + 10]);
            ASSERT_EQ(&t3->spaceCenter[dz][dy][-10], &t3->spaceWeights[dz + 10][dy + 10][0]);
        }
    // The defaults' literal factor gives the table of range sigma 1.
    for (int d = 0; d < 256; ++d) {
        EXPECT_EQ(t->rangeWeights[0][0][d], float(std::exp(double(-0.5f / 65025.0f * float(d * d)))));
        EXPECT_EQ(t3->rangeWeights[d], t->rangeWeights[0][0][d]);
    }
}

TEST(BilateralTables, SpatialWeightsTakeTheQuotientInFloat) {
    struct Case { float sigma; int dz, dy, dx; float weight; } cases[] = {
        {0.1f, 0, 0, 1, 0x1.d2584ap-73f},    // a double quotient gives 0x1.d25842p-73
        {-0.1f, 0, -1, 0, 0x1.d2584ap-73f},  // only the square counts
        {3.0f, 1, 1, 2, 0x1.6edd30p-1f},     // (g(dz) g(dy)) g(dx); the other grouping ends in ...2e
        {0.0f, 0, 0, 0, 1.0f},
        {0.0f, 0, 0, 1, 0.0f},
        {0.0f, 1, 1, 1, 0.0f},
    };
    oxBilateralTables3D* t = oxBilateralParams3DInnerCreate();
    t->cachedSpaceSigma = -1.0f;
    for (const Case& c : cases) {
        oxBilateralParams3DUpdateSpaceGaussian(t, c.sigma);
        EXPECT_EQ(t->spaceWeights[c.dz + 10][c.dy + 10][c.dx + 10], c.weight) << c.sigma;
    }
    std::free(t);
}

TEST(BilateralTables, ColourRangeTableMatchesTheDirectFormula) {
    Params p = params(10.0, 2.8, 1);
    Image img = make(1, 1, OX_GRAY);
    ASSERT_EQ(oxBilateralFilter(p.get(), img.get(), img.get()), 0);  // rebuilds the range table
    // Every entry is float(exp(double(f * float(a^2 + b^2 + c^2)))), f = (-1 / (2 s s)) / 65025 in float.
    const oxBilateralTables* t = p->tables2D;
    EXPECT_EQ(hashBytes(t->rangeWeights, sizeof t->rangeWeights), 0xe61bc7194582d5b9ull);
    p->rangeSigma = 0.0;  // keeps difference 0 alone, without NaN
    ASSERT_EQ(oxBilateralFilter(p.get(), img.get(), img.get()), 0);
    for (int i = 0; i < 256 * 256 * 256; ++i) ASSERT_EQ((&t->rangeWeights[0][0][0])[i], i == 0 ? 1.0f : 0.0f);
}

TEST(BilateralTables, RebuiltOnlyWhenTheirSigmaChanges) {
    Params p = params(3.0, 0.5, 1);
    Image img = noise(4, 4, OX_GRAY, OX_8U, 1);
    oxBilateralTables* t = p->tables2D;
    ASSERT_EQ(oxBilateralFilter(p.get(), img.get(), img.get()), 0);
    t->spaceWeights[0][0] = t->rangeWeights[9][9][9] = -5.0f;  // marks that a rebuild would erase
    for (double range : {0.5, 0.6}) {
        p->rangeSigma = range;
        ASSERT_EQ(oxBilateralFilter(p.get(), img.get(), img.get()), 0);
        EXPECT_EQ(t->spaceWeights[0][0], -5.0f);
        EXPECT_EQ(t->rangeWeights[9][9][9] == -5.0f, range == 0.5);
    }
}

// Hand-checked outputs, on a row and a column image and on a stack of
// planes: three values weigh the same in every layout. The first three
// cases change under double sums, unfused sums or (colour) a division.
// Sigmas of 1e9 weigh every neighbour 1: truncated means of the in-image
// neighbours, in place reading the ones already rewritten.
TEST(BilateralFilter, WorkedValuesInEveryLayout) {
    struct Case { int32_t encoding, type; double space, range; bool inPlace; std::vector<double> in, out; } cases[] = {
        {OX_GRAY, OX_8U, 5.0, 0.2, false, {186, 194, 202}, {189, 193, 198}},
        {OX_BGR, OX_8U, 2.0, 0.2, false, {174, 103, 220, 200, 105, 220, 171, 49, 234}, {185, 103, 219, 185, 94, 222, 179, 64, 230}},
        {OX_GRAY, OX_64F, 2.0, 0.2, false, {0.1, 0.35, 0.3}, {0x1.620feep-3, 0x1.24a13cp-2, 0x1.4ad976p-2}},
        {OX_GRAY, OX_8U, 1e9, 1e9, false, {0, 30, 91}, {15, 40, 60}},
        {OX_GRAY, OX_8U, 1e9, 1e9, true, {0, 30, 90}, {15, 45, 67}},
        {OX_GRAY, OX_64F, 1e9, 1e9, false, {0, 0.25, 1}, {0.125, double(1.25f / 3.0f), 0.625}},
    };
    for (const Case& c : cases) {
        for (auto [w, h] : {std::pair{3, 1}, std::pair{1, 3}}) {
            Image src = make(w, h, c.encoding, c.type), dst = make(w, h, c.encoding, c.type);
            oxImage* out = c.inPlace ? src.get() : dst.get();
            for (size_t i = 0; i < c.in.size(); ++i) put(src->data, c.type, i, c.in[i]);
            ASSERT_EQ(oxBilateralFilter(params(c.space, c.range, 1).get(), src.get(), out), 0);
            for (size_t i = 0; i < c.in.size(); ++i) EXPECT_EQ(readElement(out->data, c.type, i), c.out[i]) << i;
        }
        if (c.encoding != OX_GRAY) continue;
        TestVolume src = volume(1, 1, 3, c.type), dst = volume(1, 1, 3, c.type);
        oxVolume* out = c.inPlace ? src.get() : dst.get();
        for (size_t i = 0; i < c.in.size(); ++i) put(src->data, c.type, i, c.in[i]);
        ASSERT_EQ(oxBilateralFilter3D(params(c.space, c.range, 1, true).get(), src.get(), out), 0);
        for (size_t i = 0; i < c.in.size(); ++i) EXPECT_EQ(readElement(out->data, c.type, i), c.out[i]) << i;
    }
}

TEST(BilateralFilter, RadiusIsClampedAndCornersAverageTheInImagePart) {
    Image row = make(12, 1, OX_GRAY), out = make(12, 1, OX_GRAY);
    for (int i = 0; i < 12; ++i) row->data[i] = uint8_t(10 * i);
    for (auto [radius, first] : {std::pair{9, 45}, {20, 45}, {8, 40}, {0, 0}, {-3, 0}}) {
        ASSERT_EQ(oxBilateralFilter(params(1e9, 1e9, radius).get(), row.get(), out.get()), 0);
        EXPECT_EQ(out->data[0], first) << radius;
    }
    Image corner = fromBytes(2, 2, OX_GRAY, {0, 1, 2, 4});
    ASSERT_EQ(oxBilateralFilter(params(1e9, 1e9, 4).get(), corner.get(), corner.get()), 0);
    EXPECT_EQ(bytesOf(corner.get()), (std::vector<uint8_t>{1, 2, 2, 2}));  // in place: 7/4, 8/4, 9/4, 9/4
}

// A zero spatial sigma or radius keeps the centre alone; doubles come back
// through the single-precision sums.
TEST(BilateralFilter, ZeroSpatialSigmaOrRadiusLeavesEveryKindUnchanged) {
    for (auto [space, range, radius] : {std::tuple{0.0, 1.0, 3}, {-0.0, 0.0, 9}, {1e9, 1e9, 0}, {4.0, 1.0, -2}}) {
        for (auto [encoding, type] : {std::pair{OX_GRAY, OX_8U}, {OX_BGR, OX_8U}, {OX_GRAY, OX_64F}}) {
            Image src = noise(9, 7, encoding, type, 3), dst = make(9, 7, encoding, type);
            ASSERT_EQ(oxBilateralFilter(params(space, range, radius).get(), src.get(), dst.get()), 0);
            for (size_t i = 0; i < byteCount(src.get()) / ox::detail::elementSize(type); ++i) {
                const double v = readElement(src->data, type, i);
                ASSERT_EQ(readElement(dst->data, type, i), type == OX_64F ? double(float(v)) : v) << space << radius;
            }
        }
    }
}

// Every path at awkward widths against golden hashes, and the library's
// (possibly fused-instruction) build against the plain loops compiled here.
// Values stay in a narrow band so that the range weights matter.
TEST(BilateralFilter, GoldenHashesAndPlainLoops) {
    namespace b = ox::detail::bilateral;
    struct Case { int32_t encoding, type; b::Kind kind; uint64_t hash; } cases[] = {
        {OX_GRAY, OX_8U, b::Kind::Gray8, 0xf99936aef157ef27ull},
        {OX_BGR, OX_8U, b::Kind::Colour8, 0x5111b92455e819b6ull},
        {OX_GRAY, OX_64F, b::Kind::Gray64, 0x94e3ef476e13068dull}};
    for (const Case& c : cases) {
        uint64_t hash = 0;
        for (int32_t w : {1, 3, 7, 17, 33}) {
            Params p = params(3.0, 0.3, 2);
            Image src = make(w, 13, c.encoding, c.type), dst = make(w, 13, c.encoding, c.type);
            Image plain = make(w, 13, c.encoding, c.type);
            std::mt19937 rng(w);
            for (size_t i = 0; i < byteCount(src.get()) / ox::detail::elementSize(c.type); ++i)
                put(src->data, c.type, i, c.type == OX_64F ? 0.4 + (rng() % 1000) / 8000.0 : 100 + rng() % 40);
            ASSERT_EQ(oxBilateralFilter(p.get(), src.get(), dst.get()), 0);
            const oxBilateralTables* t = p->tables2D;
            b::runJob({c.kind, w, 13, 1, 0, 2, {src->data, nullptr}, {plain->data, nullptr}, &t->spaceWeights[10][10], 0,
                       t->rangeWeights[0][0], t, 1.0});
            EXPECT_EQ(bytesOf(plain.get()), bytesOf(dst.get())) << w;
            hash = hash * 31 + hashImage(dst.get());
        }
        EXPECT_EQ(hash, c.hash) << c.encoding << " " << c.type;
    }
}

TEST(BilateralFilter, RefusalsWriteNothing) {
    Params p2 = params(2.0, 0.5, 1), p3 = params(2.0, 0.5, 1, true), nan = params(NAN, 0.5, 1);
    Image gray = noise(4, 3, OX_GRAY, OX_8U, 1), bgr = noise(4, 3, OX_BGR, OX_8U, 2), rgb = make(4, 3, OX_RGB);
    Image gray64 = noise(4, 3, OX_GRAY, OX_64F, 3), empty = make(0, 3, OX_BGR), out = make(4, 3, OX_BGR);
    TestVolume vol = volume(4, 3, 2, OX_8U), deeper = volume(4, 3, 3, OX_8U);
    std::memset(out->data, 0xAB, byteCount(out.get()));
    const auto before = bytesOf(out.get());
    EXPECT_EQ(oxBilateralFilter(p2.get(), gray.get(), out.get()), 1);
    EXPECT_EQ(oxBilateralFilter(p2.get(), bgr.get(), rgb.get()), 1);
    EXPECT_EQ(oxBilateralFilter(p2.get(), empty.get(), out.get()), 0);
    EXPECT_EQ(oxBilateralFilter(p3.get(), bgr.get(), out.get()), 1);
    EXPECT_EQ(oxBilateralFilter(nan.get(), bgr.get(), out.get()), 1);
    EXPECT_EQ(oxBilateralFilterGold3C(p2.get(), gray.get(), out.get()), 1);
    EXPECT_EQ(bytesOf(out.get()), before);
    EXPECT_EQ(oxBilateralFilter64(p2.get(), gray.get(), gray.get()), 1);
    EXPECT_EQ(oxBilateralFilter(p2.get(), gray64.get(), gray.get()), 1);
    EXPECT_EQ(oxBilateralFilter3D(p2.get(), vol.get(), vol.get()), 1);
    EXPECT_EQ(oxBilateralFilter3D(p3.get(), vol.get(), deeper.get()), 1);
    EXPECT_EQ(oxBilateralFilter3D64(p3.get(), vol.get(), vol.get()), 1);
    uint8_t* plane1 = vol->planes[1]->data;
    vol->planes[1]->data = nullptr;
    EXPECT_EQ(oxBilateralFilter3D(p3.get(), vol.get(), vol.get()), 1);
    vol->planes[1]->data = plane1;
}

// Other single-channel types are filtered as bytes over the first width x
// height bytes, four channels as 3-byte pixels; the rest stays untouched.
TEST(BilateralFilter, OtherTypesAndChannelCountsAreFilteredAsBytes) {
    Params p = params(2.0, 0.5, 1);
    for (auto [encoding, type, asBytes, used] : {std::tuple{OX_GRAY, OX_32F, OX_GRAY, 30}, {OX_RGBA, OX_8U, OX_BGR, 90}}) {
        Image src = noise(6, 5, encoding, type, 4), dst = make(6, 5, encoding, type);
        Image bytes = make(6, 5, asBytes), bytesOut = make(6, 5, asBytes);
        std::memcpy(bytes->data, src->data, used);
        std::memset(dst->data, 0xAB, 120);
        ASSERT_EQ(oxBilateralFilter(p.get(), src.get(), dst.get()), 0);
        ASSERT_EQ(oxBilateralFilter(p.get(), bytes.get(), bytesOut.get()), 0);
        EXPECT_EQ(std::vector<uint8_t>(dst->data, dst->data + used), bytesOf(bytesOut.get()));
        EXPECT_EQ(std::vector<uint8_t>(dst->data + used, dst->data + 120), std::vector<uint8_t>(120 - used, 0xAB));
    }
}

// Colour passes chained as the simplify effect chains them (the first out of
// place, the rest in place, reading the neighbours already rewritten),
// pinned by hash on noise of awkward sizes and on photographs. Width 0
// sweeps the widths 1 to 33. "Shifted" writes one pixel after the source in
// the same buffer, so its first pass reads some of its own output.
TEST(BilateralFilter, ColourPassesPinned) {
    enum Layout { Separate, Chained, Shifted, FourChannels };
    struct Case {
        const char* name; const char* photo; int32_t w, h, radius, passes; double space, range; Layout layout; uint64_t hash;
    } cases[] = {
        {"noise 1031x5", nullptr, 1031, 5, 1, 1, 7.0, 0.28, Separate, 0x4905f6577659fdf1ull},
        {"noise 1031x6, passes", nullptr, 1031, 6, 1, 3, 7.0, 0.28, Chained, 0x69ed2202a5afb4adull},
        {"noise widths 1-33", nullptr, 0, 9, 1, 2, 2.0, 0.28, Chained, 0x102221c476ad01bfull},
        {"noise widths 1-33 out of place", nullptr, 0, 3, 1, 1, 2.0, 0.05, Separate, 0x528abc1a5028659ull},
        {"noise radius 2", nullptr, 0, 7, 2, 2, 3.0, 0.5, Chained, 0xb4554f3d84048009ull},
        {"noise shifted", nullptr, 40, 9, 1, 2, 2.0, 0.28, Shifted, 0x88b16a7ae6a749c4ull},
        {"noise four channels", nullptr, 37, 11, 1, 3, 2.0, 0.28, FourChannels, 0xf2fe837fbd174c7bull},
        {"coffee", "coffee.png", 0, 0, 1, 4, 3.0, 0.28, Chained, 0xbd455ea53fd980c5ull},
        {"astronaut 333x217", "astronaut.png", 333, 217, 1, 3, 1.0, 0.08, Chained, 0xb3a8698e3c5418a8ull},
        {"chelsea 97x61 radius 3", "chelsea.png", 97, 61, 3, 2, 1.5, 0.1, Chained, 0xb187eee780d56c75ull},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Params p = params(c.space, c.range, c.radius);
        uint64_t hash = 0;
        const bool sweep = !c.photo && c.w == 0;
        for (int32_t w = sweep ? 1 : c.w; w <= (sweep ? 33 : c.w); ++w) {
            Image src;
            if (c.photo) {
                OX_LOAD_PHOTO(photo, c.photo);
                src = golden::resized(std::move(photo), {c.photo, c.w, c.h});
            } else {
                src = noise(w, c.h, c.layout == FourChannels ? OX_RGBA : OX_BGR, OX_8U, uint32_t(w));
            }
            Image dst = make(src->width, src->height, src->encoding), room;
            std::memset(dst->data, 0xAB, byteCount(dst.get()));  // a fourth channel keeps it
            Header inHeader(oxImageCreateHeader(src->width, src->height, src->encoding));
            Header outHeader(oxImageCreateHeader(src->width, src->height, src->encoding));
            oxImage* in = src.get();
            oxImage* out = dst.get();
            if (c.layout == Shifted) {  // a row to spare after the source
                room = make(src->width, src->height + 1, OX_BGR);
                std::memset(room->data, 0xAB, byteCount(room.get()));
                std::memcpy(room->data, src->data, byteCount(src.get()));
                inHeader->data = room->data;
                outHeader->data = room->data + 3;
                in = inHeader.get(), out = outHeader.get();
            }
            for (int32_t i = 0; i < c.passes; ++i) ASSERT_EQ(oxBilateralFilter(p.get(), i == 0 ? in : out, out), 0);
            hash = hash * 31 + hashBytes(out->data, byteCount(out));
        }
        EXPECT_EQ(hash, c.hash);
    }
}
