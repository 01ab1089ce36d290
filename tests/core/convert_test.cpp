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
