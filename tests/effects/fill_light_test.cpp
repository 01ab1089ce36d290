#include <gtest/gtest.h>

#include <cmath>

#include "support/test_support.hpp"

using namespace oxtest;

TEST(FillLight, LightenBlendWithOnlyTheUpperClamp) {
    struct Case {
        uint8_t base, light;
        double amount;
        uint8_t expected;
    } cases[] = {
        {100, 180, 1.0, 180},  {100, 180, 0.5, 140},  {100, 180, 0.3, 124}, {200, 50, 1.0, 200},  // darker ignored
        {200, 50, -3.0, 200},  {250, 255, 2.0, 255},  {100, 101, 0.999, 100},                    // clamp; truncation
        {100, 180, -1.0, 20},  {10, 200, -1.0, 76},                                             // below 0: modulo 256
        {100, 180, NAN, 100}, {100, 180, INFINITY, 255}, {90, 90, INFINITY, 90}};
    for (const Case& c : cases) {
        const oxFillLightParams params{c.amount};
        Image base = fromBytes(1, 1, OX_BGR, {c.base, c.base, 0});
        Image light = fromBytes(1, 1, OX_BGR, {c.light, 0, c.light});
        Image dst = make(1, 1, OX_BGR);
        ASSERT_EQ(oxFillLight(&params, base.get(), light.get(), dst.get(), nullptr), 0);
        EXPECT_EQ(dst->data[0], c.expected) << int(c.base) << "/" << int(c.light) << " x" << c.amount;
        EXPECT_EQ(dst->data[1], c.base);  // light 0 below base
    }
}

TEST(FillLight, EachImageKeepsItsOwnEncodingAndAlpha) {
    oxFillLightParams* params = oxFillLightParamsDefault();
    Image base = fromBytes(2, 1, OX_BGR, {10, 20, 30, 200, 200, 200});
    Image light = fromBytes(2, 1, OX_RGB, {5, 25, 15, 255, 0, 201});
    Image dst = fromBytes(2, 1, OX_ARGB, {7, 0, 0, 0, 8, 0, 0, 0});
    ASSERT_EQ(oxFillLight(params, base.get(), light.get(), dst.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(dst.get()), (std::vector<uint8_t>{7, 30, 25, 15, 8, 255, 200, 201}));
    // The destination may be the light image itself.
    ASSERT_EQ(oxFillLight(params, base.get(), light.get(), light.get(), nullptr), 0);
    EXPECT_EQ(bytesOf(light.get()), (std::vector<uint8_t>{30, 25, 15, 255, 200, 201}));
    oxFillLightParamsRelease(&params);
}

TEST(FillLight, RefusalsAndAbort) {
    const oxFillLightParams params{1.0};
    Image colour = noise(4, 3, OX_BGR, OX_8U, 1), grey = make(4, 3, OX_GRAY), narrow = make(3, 3, OX_BGR), dst = make(4, 3, OX_BGR);
    std::memset(dst->data, 5, byteCount(dst.get()));
    oxImage* bare = oxImageCreateHeader(4, 3, OX_BGR);
    struct Case {
        const oxImage *base, *light;
        oxImage* dst;
    } cases[] = {{grey.get(), colour.get(), dst.get()},   {colour.get(), grey.get(), dst.get()},
                 {colour.get(), colour.get(), grey.get()}, {narrow.get(), colour.get(), dst.get()},
                 {colour.get(), colour.get(), narrow.get()}, {bare, colour.get(), dst.get()},
                 {colour.get(), bare, dst.get()}};
    for (const Case& c : cases) EXPECT_EQ(oxFillLight(&params, c.base, c.light, c.dst, nullptr), 1);
    const int32_t stop = 1;
    EXPECT_EQ(oxFillLight(&params, colour.get(), colour.get(), dst.get(), &stop), 2);
    EXPECT_EQ(bytesOf(dst.get()), std::vector<uint8_t>(36, 5));
    Image empty = make(0, 0, OX_BGR);
    EXPECT_EQ(oxFillLight(&params, colour.get(), empty.get(), dst.get(), &stop), 0);  // no rows: no poll
    oxImageReleaseHeader(&bare);
}
