#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

constexpr double kMax = std::numeric_limits<double>::max(), kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

// An element index outside the buffer gives 0.0; one inside it is read even
// when the position is off the row.
TEST(GetVal, ReadsTheTypeAndGivesZeroOutsideTheBuffer) {
    Image u = fromValues<double>(2, 1, OX_GRAY, OX_32U, {7, 3e9}), f = fromValues<double>(1, 1, OX_GRAY, OX_32F, {0.1});
    Image grey = fromBytes(3, 2, OX_GRAY, {1, 2, 3, 4, 5, 6}), colour = noise(3, 2, OX_BGR, OX_8U, 1);
    struct Case {
        const oxImage* img;
        int32_t x, y;
        double want;
    } cases[] = {{u.get(), 1, 0, 3e9 - 4294967296.0}, {f.get(), 0, 0, 0.1f}, {grey.get(), 2, 1, 6},
                 {grey.get(), -1, 1, 3}, {grey.get(), 3, 1, 0}, {grey.get(), 0, -1, 0},
                 {colour.get(), 2, 5, double(colour->data[17])}, {colour.get(), 0, 6, 0}};
    for (const Case& c : cases) {
        const oxPoint p{9, c.x, c.y, 9};  // k and z are not read
        EXPECT_EQ(oxImageGetVal(c.img, &p), c.want) << c.x << "," << c.y;
    }
}

TEST(GetInterpolatedVal, ReadsOnlyNeighboursWithNonZeroFractions) {
    Image img = fromBytes(2, 2, OX_GRAY, {10, 20, 30, 40});  // exact size: an over-read trips ASan
    struct Case {
        double x, y, want;
    } cases[] = {{0.5, 0.5, 25}, {1.0, 0.0, 20}, {0.0, 0.25, 15}, {1.0, 1.0, 40}, {0.5, 1.0, 35}, {1.0, 0.5, 30},
                 {1.5, 0.0, 25}, {-0.5, 0, 5},   {1.5, 1.0, 0},   {0.5, 1.5, 0},  {kNaN, 0, 0},   {1e300, 0, 0}};
    for (const Case& c : cases) {
        const oxPoint2D p{c.x, c.y};
        EXPECT_EQ(oxImageGetInterpolatedVal(img.get(), &p), c.want) << c.x << "," << c.y;
    }
}

// Infinities stand for the largest finite values, NaN is skipped, OX_32U
// reads as signed; refusals leave the starting values.
TEST(MinMax, RoiInfinitiesNanAndRefusals) {
    const std::initializer_list<double> grid{0, 0, 0, 9, 4, 6, 65535, 0, 0};  // 3x3, any other list is one row
    struct Case {
        int32_t type;
        std::initializer_list<double> values;
        oxRect roi;  // {}: the whole image
        int32_t status;
        double min, max;
        int32_t encoding = OX_GRAY;
    } cases[] = {{OX_32F, {kNaN, 2, -3}, {}, 0, -3, 2},      {OX_64F, {kInf, 1}, {}, 0, 1, kMax},
                 {OX_64F, {1, kInf}, {}, 0, 1, kInf},        {OX_64F, {-kInf, 5}, {}, 0, -kMax, 5},
                 {OX_64F, {5, -kInf}, {}, 0, -kInf, 5},      {OX_64F, {-kInf, 5, -7}, {}, 0, -kMax, 5},
                 {OX_64F, {kNaN}, {}, 0, kMax, -kMax},       {OX_32U, {3e9, 7}, {}, 0, 3e9 - 4294967296.0, 7},
                 {OX_16U, grid, {1, 1, 2, 1}, 0, 4, 6},      {OX_16U, grid, {0, 0, 1, 1}, 1, kMax, -kMax, OX_BGR},
                 {OX_16U, grid, {1, 1, 3, 1}, 1, kMax, -kMax}, {OX_16U, grid, {5, 5, 0, 1}, 0, kMax, -kMax}};
    for (const Case& c : cases) {
        const auto n = static_cast<int32_t>(c.values.size());
        Image img = fromValues<double>(n == 9 ? 3 : n, n == 9 ? 3 : 1, OX_GRAY, c.type, c.values);
        img->encoding = c.encoding;
        if (c.roi.height) img->roi = c.roi;
        double mn = 0, mx = 0;
        EXPECT_EQ(oxImageGetMinMaxValues(img.get(), &mn, &mx), c.status);
        EXPECT_EQ(std::make_pair(mn, mx), std::make_pair(c.min, c.max)) << c.type << " " << *c.values.begin();
    }
}

TEST(NonZeroRoi, BoxOfCountedPixelsOverTheWholeImage) {
    constexpr int32_t kNone = 2147483647;
    struct Case {
        int32_t type;
        std::vector<std::pair<int, int>> at;  // (column, row)
        double value;
        std::vector<int32_t> want;            // x, y, width, height, empty
    } cases[] = {{OX_8U, {}, 1, {kNone, kNone, 3, 3, 1}},   {OX_8U, {{5, 7}}, 1, {5, 7, 1, 1, 0}},
                 {OX_16U, {{3, 0}, {1, 3}, {5, 3}, {2, 8}}, 9, {1, 0, 5, 9, 0}}, {OX_32F, {{2, 1}}, kNaN, {2, 1, 1, 1, 0}},
                 {OX_64F, {{2, 1}}, -0.0, {kNone, kNone, 3, 3, 1}}};
    for (const Case& c : cases) {
        Image img = make(6, 9, OX_GRAY, c.type), one = fromValues<double>(1, 1, OX_GRAY, c.type, {c.value});
        oxImageSetZero(img.get());
        for (auto [x, y] : c.at) std::memcpy(img->data + (y * 6 + x) * byteCount(one.get()), one->data, byteCount(one.get()));
        img->roi = {0, 0, 1, 1};  // ignored
        oxRect out{};
        int32_t empty = -1;
        ASSERT_EQ(oxImageGetNonZeroROI(img.get(), &out, &empty), 0);
        EXPECT_EQ(std::vector<int32_t>({out.x, out.y, out.width, out.height, empty}), c.want) << c.type;
    }
}

TEST(Fill, LowBitWrapPerType) {
    struct Case {
        int32_t type;
        double value, read;  // read back as the accessors read
    } cases[] = {{OX_8U, 300.7, 44}, {OX_8U, -1, 255},      {OX_8U, 256, 0},     {OX_8U, kNaN, 0},
                 {OX_16U, 70000, 4464}, {OX_16U, -1, 65535}, {OX_32S, 4294967297.0, 1},
                 {OX_32U, 2147483648.0, -2147483648.0}, {OX_32F, 0.1, 0.1f}, {OX_64F, 0.1, 0.1}, {7, 1, 0}};
    for (const Case& c : cases) {
        const int32_t storage = c.type == 7 ? OX_8U : c.type;  // an unknown type writes nothing
        Image img = make(17, 3, OX_BGR, storage);              // 153 values: wide blocks and a tail
        oxImageSetZero(img.get());
        img->type = c.type;
        oxImageSetVal(img.get(), c.value);
        for (int64_t i = 0; i < 153; ++i)
            ASSERT_EQ(ox::detail::readElement(img->data, storage, i), c.read) << c.type << " " << c.value;
    }
}

// The flat complement of width * height bytes (a colour image's rest kept,
// on purpose) is pinned with the other hot operations; here the refusals.
TEST(Invert, RefusesWhatItCannotWalk) {
    Image colour = make(4, 4, OX_BGR);
    Image wide = make(4, 4, OX_GRAY, OX_16U), narrow = make(3, 4, OX_GRAY), bad = make(4, 4, OX_GRAY);
    bad->encoding = 9;  // buffer size unknown
    EXPECT_EQ(oxImageInvert(wide.get(), wide.get()), 1);
    EXPECT_EQ(oxImageInvert(colour.get(), narrow.get()), 1);
    EXPECT_EQ(oxImageInvert(bad.get(), bad.get()), 1);
}
