#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(Threshold, ClipsAndRescalesBetweenTypes) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    struct Case {
        int32_t from, to;
        double low, high, x, want;
    } cases[] = {
        {OX_8U, OX_8U, 50, 200, 30, 0},     {OX_8U, OX_8U, 50, 200, 50, 50},     {OX_8U, OX_8U, 50, 200, 200, 200},
        {OX_8U, OX_8U, 50, 200, 201, 255},  {OX_8U, OX_16U, 0, 100, 100, 25700}, {OX_8U, OX_16U, 0, 100, 101, 65535},
        {OX_16U, OX_8U, 0, 65535, 1000, 3}, {OX_8U, OX_64F, 0, 255, 51, 0.2},    {OX_32S, OX_16U, -9, 9, -5, 0},
        {OX_32F, OX_8U, 0.25, 0.75, 0.5, 127}, {OX_32F, OX_8U, 0.25, 0.75, 0.8, 255}, {OX_32F, OX_8U, 0.25, 0.75, 0.1, 0},
        // the factor is a double: in single precision these come out one higher
        {OX_8U, OX_32U, 0, 255, 86, 565648},   {OX_16U, OX_32U, 0, 65535, 545, 13947},
        {OX_32U, OX_16U, 0, 1e7, 56483, 2206}, {OX_32U, OX_32F, 0, 1e7, 1677215, 1},
        // low above high: the upper test comes first
        {OX_8U, OX_8U, 200, 100, 150, 255},    {OX_8U, OX_8U, 200, 100, 50, 0},
        // out-of-range results saturate, NaN gives 0; OX_32U reads as signed, so 3e9 is below 0
        {OX_64F, OX_8U, 0, 10, 2.0, 255},      {OX_64F, OX_8U, -1, 10, -0.5, 0},   {OX_64F, OX_16U, 0, 1, nan, 0},
        {OX_64F, OX_32F, 0, inf, 1e10, 1e10f}, {OX_32U, OX_8U, 0, 5e9, 3e9, 0},
    };
    for (const Case& c : cases) {
        Image src = fromValues<double>(1, 1, OX_GRAY, c.from, {c.x});
        Image dst = make(1, 1, OX_GRAY, c.to);
        ASSERT_EQ(oxImageThreshold(src.get(), dst.get(), c.low, c.high), 0);
        EXPECT_EQ(ox::detail::readElement(dst->data, c.to, 0), c.want)
            << c.from << "->" << c.to << " (" << c.low << ", " << c.high << ") " << c.x;
    }
}

TEST(Threshold, ProcessesWidthTimesHeightValuesOnly) {
    Image src = fromBytes(2, 2, OX_BGR, {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120});
    Image dst = fromBytes(2, 2, OX_BGR, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    ASSERT_EQ(oxImageThreshold(src.get(), dst.get(), 25, 35), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{0, 0, 30, 255, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Threshold, RefusalsWriteNothing) {
    Image src = make(3, 2, OX_GRAY);
    struct Case {
        int32_t width, height, type, encoding;
    } cases[] = {{3, 3, OX_8U, OX_GRAY}, {2, 2, OX_8U, OX_GRAY}, {3, 2, 7, OX_GRAY}, {3, 2, OX_8U, -1}};
    for (const Case& c : cases) {
        uint8_t pixels[9] = {0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A, 0x5A};
        oxImage dst{c.type, c.encoding, c.height, c.width, pixels, {0, 0, c.width, c.height}, 0};
        EXPECT_EQ(oxImageThreshold(src.get(), &dst, 0, 255), 1) << c.width << "x" << c.height;
        EXPECT_EQ(pixels[0], 0x5A);
    }
}
