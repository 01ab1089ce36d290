#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Element i of any type as double (OX_32U as unsigned); NaN equals NaN.
double valueAt(const oxImage* img, size_t i) {
    double out = 0;
    ox::detail::visitType(img->type, [&](auto tag) { out = static_cast<double>(at<typename decltype(tag)::type>(img, i)); });
    return out;
}
bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

}  // namespace

TEST(CvtType, EveryTypePairWorkedValues) {
    struct Case {
        int32_t from, to;
        double in, out;
    } cases[] = {
        {OX_8U, OX_8U, 200, 200},           {OX_8U, OX_16U, 255, 65280},          {OX_8U, OX_32S, 255, 65280},
        {OX_8U, OX_32U, 255, 16711680},     {OX_8U, OX_32F, 3, 0x1.818182p-7},    {OX_8U, OX_64F, 3, 0x1.8181818181818p-7},
        {OX_16U, OX_8U, 0x12FF, 0x12},      {OX_16U, OX_16U, 65535, 65535},       {OX_16U, OX_32S, 65535, 65535},
        {OX_16U, OX_32U, 0xFFFF, 0xFFFF00}, {OX_16U, OX_32F, 1, 0x1.0001p-16},    {OX_16U, OX_64F, 1, 0x1.000100010001p-16},
        {OX_32S, OX_8U, -5, 255},           {OX_32S, OX_8U, 0x12345, 0x23},       {OX_32S, OX_16U, 70000, 4464},
        {OX_32S, OX_32S, -7, -7},           {OX_32S, OX_32U, -5, 4294966016.0},   {OX_32S, OX_32F, -5, -0x1.40014p-14},
        {OX_32S, OX_64F, 65535, 1.0},       {OX_32U, OX_8U, 0xFFABCDEF, 0xAB},    {OX_32U, OX_16U, 0xFFABCDEF, 0xABCD},
        {OX_32U, OX_32S, 0xFFABCDEF, -21555},  // the one arithmetic shift
        {OX_32U, OX_32U, 0xFFFFFFFF, 0xFFFFFFFF}, {OX_32U, OX_32F, 16777215, 0x1.4018bep+3},
        {OX_32U, OX_32F, 0xFFFFFEDE, 0x1.4018bep+11},  // read unsigned, rounded to float, then divided
        {OX_32U, OX_64F, 100, 0x1.f426a98516a3bp-15},
        {OX_32F, OX_8U, 1.5, 126},          {OX_32F, OX_8U, -0x1.99999ap-4, 231}, {OX_32F, OX_8U, kNaN, 0},
        {OX_32F, OX_8U, 0x1.020202p+0, 1},  // the float product is 257.0; in double it would be 256.99...
        {OX_32F, OX_16U, 0x1.0001p-8, 256}, {OX_32F, OX_32S, -1, -65535},         {OX_32F, OX_32U, 0x1.0003cap-8, 6552},
        {OX_32F, OX_32U, -1, 4293290081.0}, {OX_32F, OX_32F, 0x1.99999ap-4, 0x1.99999ap-4},
        {OX_32F, OX_64F, 0x1.99999ap-4, 0x1.99999ap-4},                           {OX_64F, OX_8U, 2.0, 254},
        {OX_64F, OX_16U, 0.5, 32767},       {OX_64F, OX_32S, -0.5, -32767},       {OX_64F, OX_32U, 10.0, 16772150},
        {OX_64F, OX_32F, 0.1, 0x1.99999ap-4}, {OX_64F, OX_64F, 0.1, 0.1},
    };
    for (const Case& c : cases) {
        Image src = fromValues<double>(1, 1, OX_GRAY, c.from, {c.in}), dst = make(1, 1, OX_GRAY, c.to);
        ASSERT_EQ(oxImageCvtType(src.get(), dst.get()), 0);
        EXPECT_TRUE(same(valueAt(dst.get(), 0), c.out)) << c.from << " -> " << c.to << " of " << c.in;
    }
}

TEST(CvtTypeGivenRange, WorkedValues) {
    struct Case {
        int32_t from, to;
        double low, high, in, out;
    } cases[] = {
        {OX_16U, OX_8U, 0, 4095, 4095, 255}, {OX_16U, OX_8U, 0, 4095, 2048, 127}, {OX_16U, OX_8U, 0, 4095, 5000, 255},
        {OX_8U, OX_8U, 50, 100, 75, 127},     {OX_8U, OX_8U, 50, 100, 30, 0},      {OX_64F, OX_32U, 0, 1, 1.0, 1677215},
        {OX_32U, OX_8U, -10, 10, 0xFFFFFFFF, 114},  // 32U reads as signed -1
        {OX_16U, OX_32U, 0, 65535, 2153, 55100},    // 55100.998 in double, 55101 in single precision
        {OX_32S, OX_32F, 0, 65535, 70000, 1}, {OX_32F, OX_8U, 0, 1, kNaN, 0},      {OX_32F, OX_32F, 0, 1, kNaN, kNaN},
    };
    for (const Case& c : cases) {
        Image src = fromValues<double>(1, 1, OX_GRAY, c.from, {c.in}), dst = make(1, 1, OX_GRAY, c.to);
        ASSERT_EQ(oxImageCvtTypeGivenRange(src.get(), dst.get(), c.low, c.high), 0);
        EXPECT_TRUE(same(valueAt(dst.get(), 0), c.out)) << c.from << " -> " << c.to << " of " << c.in;
    }
}

// The blocked loops, over a length ending in a partial block and with
// blocks holding out-of-range floats, give what one-value conversions give.
TEST(CvtType, WholeBufferMatchesSingleValues) {
    const int32_t types[] = {OX_8U, OX_16U, OX_32S, OX_32U, OX_32F, OX_64F};
    for (bool stretch : {false, true})
        for (int32_t from : types)
            for (int32_t to : types) {
                const double s = ox::detail::fullScale(from);
                auto run = [&](const oxImage* a, oxImage* b) {
                    return stretch ? oxImageCvtTypeGivenRange(a, b, -0.3 * s, 0.9 * s) : oxImageCvtType(a, b);
                };
                Image src = noise(1031, 1, OX_RGB, from, 11), dst = make(1031, 1, OX_RGB, to);
                const double outliers[] = {kNaN, -3e9, 3e9, 1e20, -2.5, 2000.0};
                for (size_t k = 0; k < std::size(outliers); ++k)
                    ox::detail::visitType(from, [&](auto t) {
                        using T = typename decltype(t)::type;
                        if constexpr (std::is_floating_point_v<T>) reinterpret_cast<T*>(src->data)[17 + 301 * k] = T(outliers[k]);
                    });
                ASSERT_EQ(run(src.get(), dst.get()), 0);
                const size_t e = ox::detail::elementSize(from);
                for (size_t i = 0; i < 3093; i += 1 + i % 7) {
                    Image one = make(1, 1, OX_GRAY, from), out = make(1, 1, OX_GRAY, to);
                    std::memcpy(one->data, src->data + i * e, e);
                    ASSERT_EQ(run(one.get(), out.get()), 0);
                    ASSERT_TRUE(same(valueAt(dst.get(), i), valueAt(out.get(), 0))) << from << " -> " << to << " at " << i;
                }
            }
}

TEST(CvtType, RefusalsAndUnknownCodesWriteNothing) {
    struct Case {
        bool stretch;
        int32_t srcType, dstW, dstH, dstEnc, dstType;
        double low, high;
        int32_t status;
    } cases[] = {
        {false, OX_8U, 4, 2, OX_RGB, OX_16U, 0, 1, 1},   {false, OX_8U, 3, 2, OX_BGR, OX_16U, 0, 1, 1},  // too small
        {false, OX_8U, 3, 2, OX_BGR, OX_8U, 0, 1, 1},    {false, 7, 4, 2, OX_BGR, OX_16U, 0, 1, 0},
        {false, OX_8U, 4, 2, OX_BGR, 99, 0, 1, 0},       {true, OX_8U, 4, 2, OX_BGR, OX_16U, 5, 5, 1},
        {true, OX_8U, 3, 2, OX_BGR, OX_16U, 0, 1, 1},    {true, OX_8U, 4, 3, OX_BGR, OX_16U, 0, 1, 1},
        {true, 7, 4, 2, OX_BGR, OX_16U, 0, 1, 1},        {true, OX_8U, 4, 2, OX_GRAY, OX_16U, 0, 1, 1},  // fewer channels
    };
    for (const Case& c : cases) {
        Image src = noise(4, 2, OX_BGR, OX_8U, 3), dst = make(c.dstW, c.dstH, c.dstEnc, OX_16U);
        std::memset(dst->data, 0xA5, byteCount(dst.get()));
        const std::vector<uint8_t> before = bytesOf(dst.get());
        src->type = c.srcType;
        dst->type = c.dstType;
        EXPECT_EQ(c.stretch ? oxImageCvtTypeGivenRange(src.get(), dst.get(), c.low, c.high) : oxImageCvtType(src.get(), dst.get()),
                  c.status);
        dst->type = OX_16U;
        EXPECT_EQ(bytesOf(dst.get()), before) << c.stretch << " " << c.srcType << " -> " << c.dstType;
    }
}
