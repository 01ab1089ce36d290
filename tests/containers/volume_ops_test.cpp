#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "containers/detail/volume_layout.hpp"
#include "support/test_support.hpp"

using ox::detail::SeparateVolumePtr;
using ox::detail::VolumePtr;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity(), kMaxD = std::numeric_limits<double>::max();
constexpr int32_t kMaxI = std::numeric_limits<int32_t>::max();

// A contiguous volume holding `values` in memory order, then relabelled
// with `retype` when given.
VolumePtr volumeOf(int32_t w, int32_t h, int32_t d, int32_t type, std::initializer_list<double> values,
                   int32_t retype = -1) {
    VolumePtr v(oxVolumeCreateWithType(w, h, d, type));
    size_t i = 0;
    ox::detail::visitType(type, [&](auto tag) {
        for (double x : values) reinterpret_cast<typename decltype(tag)::type*>(v->data)[i++] = x;
    });
    if (retype >= 0) v->type = retype;
    return v;
}

VolumePtr ramp(int32_t w, int32_t h, int32_t d) {
    VolumePtr v(oxVolumeCreate(w, h, d));
    for (int32_t i = 0; i < w * h * d; ++i) v->data[i] = static_cast<uint8_t>(i);
    return v;
}

// The same elements, one buffer per plane.
SeparateVolumePtr separateCopy(const oxVolume* v) {
    SeparateVolumePtr s(oxVolumeCreateWithTypeWithSeparatePlanes(v->width, v->height, v->depth, v->type));
    for (int32_t k = 0; k < v->depth; ++k)
        std::memcpy(s->planes[k]->data, v->planes[k]->data, oxtest::byteCount(v->planes[k]));
    return s;
}

double elem(const oxVolume* v, int64_t i) { return ox::detail::readElement(v->data, v->type, i); }
std::vector<uint8_t> bytes(const oxVolume* v, size_t n) { return {v->data, v->data + n}; }

}  // namespace

TEST(VolumeRead, ExactAndTrilinearWithTheirBorders) {
    VolumePtr v = volumeOf(2, 2, 2, OX_8U, {0, 10, 40, 50, 20, 30, 60, 70});
    SeparateVolumePtr s = separateCopy(v.get());
    // Last element without reading past it; outside the volume 0.0; a small
    // negative coordinate extrapolates from element 0.
    const double cases[][4] = {{0.5, 0, 0.5, 15}, {0, 0.25, 0, 10}, {1, 0.5, 1, 50},  {1, 1, 1, 70},  {0.25, 0.75, 0, 32.5},
                               {0.5, 0.5, 0.5, 35}, {-0.5, 0, 0, -5}, {1.5, 0, 0, 0}, {0, 1.25, 0, 0}, {0, 0, 1.5, 0},
                               {0, 0, -1, 0},       {1e300, 0, 0, 0}};
    for (const auto& c : cases) {
        const oxPoint3D p{c[0], c[1], c[2]};
        EXPECT_EQ(oxVolumeGetInterpolatedVal(v.get(), &p), c[3]) << c[0] << "," << c[1] << "," << c[2];
        EXPECT_EQ(oxVolumeGetInterpolatedValPerPlane(s.get(), &p), c[3]) << c[0] << "," << c[1] << "," << c[2];
    }
    const oxPoint inside{99, 1, 0, 1}, right{0, 2, 0, 0}, below{0, 0, 2, 0}, behind{0, 0, 0, 2}, origin{};
    EXPECT_EQ(oxVolumeGetVal(s.get(), &inside), 30);  // k is not read
    for (const oxPoint& p : {right, below, behind}) EXPECT_EQ(oxVolumeGetVal(v.get(), &p), 0.0);
    EXPECT_EQ(oxVolumeGetVal(volumeOf(1, 1, 1, OX_32U, {3e9}).get(), &origin), 3e9 - 4294967296.0);  // signed
    EXPECT_EQ(oxVolumeGetVal(volumeOf(1, 1, 1, OX_8U, {9}, 7).get(), &origin), 0.0);
}

TEST(VolumeNonZeroRoi, BoxesOfTheNonZeroElements) {
    const oxBox wrapped{kMaxI, kMaxI, kMaxI, 3, 3, 3}, untouched{7, 7, 7, 7, 7, 7};
    struct Case {
        const char* name;
        VolumePtr v;
        int32_t status, empty;
        oxBox box;
    } cases[] = {{"one element", volumeOf(4, 4, 4, OX_8U, {}), 0, 0, {1, 2, 3, 1, 1, 1}},
                 {"all zero", volumeOf(4, 4, 4, OX_8U, {}), 0, 1, wrapped},
                 {"two corners", volumeOf(4, 2, 2, OX_16U, {0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 9}), 0, 0, {0, 0, 0, 4, 2, 2}},
                 {"-0 and NaN", volumeOf(3, 1, 1, OX_32F, {-0.0, NAN, 0.0}), 0, 0, {1, 0, 0, 1, 1, 1}},
                 {"no planes", volumeOf(4, 4, 0, OX_64F, {}), 0, 1, wrapped},
                 {"unknown type", volumeOf(2, 1, 1, OX_8U, {1}, 7), 1, 1, untouched},
                 {"no data", VolumePtr(oxVolumeCreateHeader(2, 2, 2)), 1, 1, untouched}};
    cases[0].v->data[1 + 4 * 2 + 16 * 3] = 5;
    for (const Case& c : cases) {
        oxBox out = untouched;
        int32_t empty = -1;
        EXPECT_EQ(oxVolumeGetNonZeroROI(c.v.get(), &out, &empty), c.status) << c.name;
        EXPECT_EQ(empty, c.empty) << c.name;
        EXPECT_EQ(std::memcmp(&out, &c.box, sizeof out), 0) << c.name << ": " << out.x << " " << out.width;
    }
}

// The update rule is the image one; this pins the walk and its refusals.
TEST(VolumeMinMax, RoiWalkAndRefusals) {
    struct Case {
        const char* name;
        VolumePtr v;
        oxBox roi;
        int32_t status;
        double min, max;
    } cases[] = {
        // Plane 1 of the walk starts one element further, on purpose: 70 and 80, not 60 and 70.
        {"shifted planes", volumeOf(3, 2, 2, OX_8U, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90}), {0, 0, 0, 2, 1, 2}, 0, 0, 80},
        {"infinity as the largest finite", volumeOf(2, 1, 1, OX_64F, {-kInf, 5}), {0, 0, 0, 2, 1, 1}, 0, -kMaxD, 5},
        {"empty roi", volumeOf(2, 1, 1, OX_8U, {1, 2}), {0, 0, 0, 2, 0, 1}, 0, kMaxD, -kMaxD},
        {"past the last plane", volumeOf(2, 1, 2, OX_8U, {1, 2, 3, 4}), {0, 0, 1, 2, 1, 2}, 1, kMaxD, -kMaxD},
        {"before the buffer", volumeOf(2, 1, 2, OX_8U, {1, 2, 3, 4}), {-1, 0, 0, 1, 1, 1}, 1, kMaxD, -kMaxD},
        {"unknown type", volumeOf(2, 1, 1, OX_8U, {1, 2}, 31), {0, 0, 0, 2, 1, 1}, 1, kMaxD, -kMaxD},
        {"no data", VolumePtr(oxVolumeCreateHeader(2, 1, 1)), {0, 0, 0, 2, 1, 1}, 1, kMaxD, -kMaxD},
        // Rows longer than the volume's, the walk still inside the buffer
        // and no longer than it: planes at elements 0..5 and 3..8.
        {"rows past the width", volumeOf(3, 2, 2, OX_8U, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110}),
         {0, 0, 0, 6, 1, 2}, 0, 0, 80},
        // The shift folds every plane onto elements 0..11: more elements
        // than the buffer holds are refused, not walked for minutes.
        {"planes folded onto the buffer", volumeOf(3, 2, 2, OX_32U, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
         {0, 0, 0, 9, 2, 436207618}, 1, kMaxD, -kMaxD},
        {"folded, whole int32 depth", volumeOf(3, 2, 2, OX_32U, {1, 2}), {0, 0, 0, 9, 2, kMaxI}, 1, kMaxD, -kMaxD},
        // Both inside the buffer (rows at 0, 3, then 3, 6): 12 elements are
        // walked, 24 are not.
        {"as many elements as the buffer", volumeOf(3, 2, 2, OX_8U, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90}),
         {0, 0, 0, 6, 2, 1}, 0, 0, 80},
        {"more elements than the buffer", volumeOf(3, 2, 2, OX_8U, {0, 10}), {0, 0, 0, 6, 2, 2}, 1, kMaxD, -kMaxD}};
    for (Case& c : cases) {
        c.v->roi = c.roi;
        double mn = 0, mx = 0;
        EXPECT_EQ(oxVolumeGetMinMaxValues(c.v.get(), &mn, &mx), c.status) << c.name;
        EXPECT_TRUE(mn == c.min && mx == c.max) << c.name << ": " << mn << " " << mx;
    }
}

TEST(VolumeSlice, AllThreeAxesInBothLayouts) {
    VolumePtr v = ramp(4, 3, 2);
    SeparateVolumePtr s = separateCopy(v.get());
    struct Case {
        int32_t axis, index, width, height;
        std::vector<uint8_t> expected;
    } cases[] = {{2, 1, 4, 3, {12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}},
                 {0, 1, 3, 2, {1, 5, 9, 13, 17, 21}},
                 {1, 2, 2, 4, {8, 20, 9, 21, 10, 22, 11, 23}}};
    for (const Case& c : cases)
        for (const oxVolume* vol : {static_cast<const oxVolume*>(v.get()), static_cast<const oxVolume*>(s.get())}) {
            oxtest::Image img = oxtest::make(c.width, c.height, OX_GRAY);
            ASSERT_EQ(oxVolumeGetSlice(vol, c.axis, c.index, img.get()), 0) << c.axis;
            EXPECT_EQ(oxtest::bytesOf(img.get()), c.expected) << c.axis;
        }
    const int32_t refusals[][6] = {{1, 0, 4, 2, OX_GRAY, OX_8U}, {2, 2, 4, 3, OX_GRAY, OX_8U}, {0, -1, 3, 2, OX_GRAY, OX_8U},
                                   {3, 0, 4, 3, OX_GRAY, OX_8U}, {2, 0, 4, 3, OX_GRAY, OX_16U}, {2, 0, 4, 3, OX_BGR, OX_8U}};
    for (const auto& r : refusals) {
        oxtest::Image img = oxtest::make(r[2], r[3], r[4], r[5]);
        EXPECT_EQ(oxVolumeGetSlice(v.get(), r[0], r[1], img.get()), 1) << r[0] << "/" << r[1];
    }
}

TEST(VolumeFill, SetValSetZeroAndInvert) {
    // Integer types narrow through int32 (3e9 saturates) and keep the low bits.
    const double cases[][3] = {{OX_8U, 300.7, 44},      {OX_8U, -1, 255},   {OX_8U, 3e9, 255}, {OX_16U, 70000.9, 4464},
                               {OX_32S, -2.9, -2},      {OX_32U, -1, -1},   {OX_64F, 0.1, 0.1},
                               {OX_32F, 0.1, static_cast<double>(0.1f)}};
    for (const auto& c : cases) {
        VolumePtr v(oxVolumeCreateWithType(3, 2, 2, static_cast<int32_t>(c[0])));
        oxVolumeSetVal(v.get(), c[1]);
        EXPECT_TRUE(elem(v.get(), 0) == c[2] && elem(v.get(), 11) == c[2]) << c[0] << " " << c[1];
    }
    // The fill has no channel factor; the zeroing covers every channel.
    VolumePtr bgr(oxVolumeCreateWithEncoding(4, 3, 2, OX_BGR));
    oxVolumeSetVal(bgr.get(), 9);
    EXPECT_TRUE(bgr->data[23] == 9 && bgr->data[24] == 0);
    std::memset(bgr->data, 1, 72);
    oxVolumeSetZero(bgr.get());
    EXPECT_EQ(bytes(bgr.get(), 72), std::vector<uint8_t>(72, 0));

    VolumePtr a = volumeOf(2, 2, 1, OX_8U, {0, 1, 254, 255}), b(oxVolumeCreate(2, 2, 1));
    ASSERT_EQ(oxVolumeInvert(a.get(), b.get()), 0);
    EXPECT_EQ(bytes(b.get(), 4), (std::vector<uint8_t>{255, 254, 1, 0}));
    VolumePtr words(oxVolumeCreateWithType(2, 2, 1, OX_16U)), deeper(oxVolumeCreate(2, 2, 2));
    VolumePtr noData(oxVolumeCreateHeader(2, 2, 1));
    EXPECT_EQ(oxVolumeInvert(words.get(), words.get()), 1);
    EXPECT_EQ(oxVolumeInvert(a.get(), deeper.get()), 1);
    EXPECT_EQ(oxVolumeInvert(noData.get(), a.get()), 1);
}

TEST(VolumeResize, TrilinearIntoBytes) {
    struct Case {
        const char* name;
        VolumePtr src;
        int32_t w, h, d;
        std::vector<uint8_t> expected;
    } cases[] = {{"x doubled", volumeOf(2, 1, 1, OX_8U, {0, 100}), 4, 1, 1, {0, 50, 100, 100}},
                 {"ratio 1.5 in double", volumeOf(2, 1, 1, OX_8U, {0, 100}), 3, 1, 1, {0, 66, 100}},
                 {"y and z", volumeOf(1, 2, 2, OX_8U, {0, 40, 80, 120}), 1, 3, 2, {0, 26, 40, 80, 106, 120}},
                 {"low bits, no clamp", volumeOf(2, 1, 1, OX_64F, {300.9, -1.5}), 2, 1, 1, {44, 255}},
                 {"shrink", volumeOf(4, 1, 1, OX_16U, {10, 20, 30, 40}), 2, 1, 1, {10, 30}}};
    for (const Case& c : cases) {
        VolumePtr dst(oxVolumeCreate(c.w, c.h, c.d));
        ASSERT_EQ(oxResize3D(c.src.get(), dst.get(), OX_RESIZE3D_TRILINEAR), 0) << c.name;
        EXPECT_EQ(bytes(dst.get(), c.expected.size()), c.expected) << c.name;
    }
    VolumePtr src = ramp(2, 2, 2), dst(oxVolumeCreate(2, 2, 2)), none(oxVolumeCreate(2, 2, 0));
    VolumePtr noData(oxVolumeCreateHeader(2, 2, 2));
    EXPECT_EQ(oxResize3D(src.get(), dst.get(), 1), 1);
    EXPECT_EQ(dst->data[7], 0);
    EXPECT_EQ(oxResize3D(src.get(), none.get(), OX_RESIZE3D_TRILINEAR), 0);
    EXPECT_EQ(oxResize3D(src.get(), noData.get(), OX_RESIZE3D_TRILINEAR), 1);  // the bytes go into `data`
}

TEST(VolumeCopy, RoiPlanesThroughColourConversion) {
    VolumePtr src(oxVolumeCreateWithEncoding(3, 2, 2, OX_BGR)), dst(oxVolumeCreate(4, 3, 3));
    for (int i = 0; i < 18; i += 3) std::memcpy(src->planes[1]->data + i, "\x0a\x14\x1e", 3);  // grey 22
    const oxBox sr{1, 0, 1, 2, 2, 1}, dr{2, 1, 2, 2, 2, 1};
    src->roi = sr;
    dst->roi = dr;
    dst->planes[2]->roi = {0, 0, 1, 1};
    ASSERT_EQ(oxCopy3D(src.get(), dst.get()), 0);
    std::vector<uint8_t> expected(36, 0);
    for (int i : {30, 31, 34, 35}) expected[i] = 22;  // plane 2, rows 1-2, columns 2-3
    EXPECT_EQ(bytes(dst.get(), 36), expected);
    EXPECT_EQ(dst->planes[2]->roi.width, 1);  // plane roi put back
    dst->roi = {0, 0, 0, 2, 2, 2};
    EXPECT_EQ(oxCopy3D(src.get(), dst.get()), 1);  // deeper than the source roi
    src->roi = {0, 0, 2, 2, 2, 1};
    dst->roi = dr;
    EXPECT_EQ(oxCopy3D(src.get(), dst.get()), 1);  // plane 2 of two
    EXPECT_EQ(bytes(dst.get(), 36), expected);
    // A failing plane copy leaves both planes with the volume roi, on purpose.
    VolumePtr words(oxVolumeCreateWithType(4, 3, 3, OX_16U));
    words->roi = dr;
    src->roi = sr;
    EXPECT_EQ(oxCopy3D(src.get(), words.get()), 1);
    EXPECT_TRUE(src->planes[1]->roi.x == 1 && words->planes[2]->roi.x == 2 && words->planes[2]->roi.y == 1);
}

TEST(VolumeCvtType, PlaneByPlaneInBothLayouts) {
    VolumePtr src = volumeOf(2, 1, 2, OX_8U, {255, 0, 1, 128}), words(oxVolumeCreateWithType(2, 1, 2, OX_16U));
    SeparateVolumePtr floats(oxVolumeCreateWithTypeWithSeparatePlanes(2, 1, 2, OX_32F));
    ASSERT_EQ(oxVolumeCvtType(src.get(), words.get()), 0);
    EXPECT_TRUE(elem(words.get(), 0) == 65280 && elem(words.get(), 3) == 32768);
    ASSERT_EQ(oxVolumeCvtTypeGivenRange(src.get(), floats.get(), 0, 255), 0);
    EXPECT_EQ(ox::detail::readElement(floats->planes[1]->data, OX_32F, 1), static_cast<float>(128.0 / 255.0));
    VolumePtr shallow(oxVolumeCreateWithType(2, 1, 1, OX_16U));
    EXPECT_EQ(oxVolumeCvtType(src.get(), shallow.get()), 1);  // it would need a second plane
    EXPECT_EQ(oxVolumeCvtTypeGivenRange(src.get(), shallow.get(), 0, 255), 1);
    EXPECT_EQ(elem(shallow.get(), 0), 0);
}
