#include <gtest/gtest.h>

#include <cmath>

#include "support/test_support.hpp"

using namespace oxtest;

// Lens 0 is no lens: an exact copy unless trunc(strength * 51.2) >= 1 and
// the kernel fits (3 x 1000 works at 3 x 1024). A failed lens step is the
// result; the destination then holds the blurred image when the blur ran,
// otherwise a copy of the source (in place too).
TEST(YewTiltShift, SkippedBlurOrFailedLensKeepsTheCurrentImage) {
    struct Case { int32_t w, h; float strength, lens; bool inPlace; int32_t status; bool copy; } cases[] = {
        {40, 30, 0.0f, 0, false, 0, true},          {40, 30, 0.0195f, 0, false, 0, true}, {40, 30, 0.01953125f, 0, false, 0, false},
        {3, 1000, 0.3f, 0, false, 0, true},         {3, 1000, 0.02f, 0, false, 0, false}, {40, 30, NAN, 0, false, 0, true},
        {64, 48, 0.0f, 1e9f, false, 1, true},       {64, 48, 0.0f, 1e9f, true, 1, true},  {64, 48, 0.3f, 1e9f, false, 1, false},
        {64, 48, 0.0f, -1e9f, false, 1, true}};
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, OX_BGR, OX_8U, 4), dst = noise(c.w, c.h, OX_BGR, OX_8U, 5);
        const std::vector<uint8_t> original = bytesOf(src.get());
        uint8_t* out = c.inPlace ? src->data : dst->data;
        EXPECT_EQ(oxYewTiltShift(c.w, c.h, src->data, out, c.strength, c.lens, 0.2f, 0.4f, 0.8f, 0.6f), c.status);
        EXPECT_EQ(std::vector<uint8_t>(out, out + original.size()) == original, c.copy)
            << c.w << "x" << c.h << " " << c.strength << " " << c.lens;
    }
    uint8_t px[3] = {1, 2, 3};
    for (auto [w, h, in, out] : {std::tuple{-1, 1, px, px}, {1, -1, px, px}, {1, 1, nullptr, px}, {1, 1, px, nullptr}})
        EXPECT_EQ(oxYewTiltShift(w, h, in, out, 0, 0, 0, 0, 1, 1), 1);
}

// A status, no stray access (sanitizer build), a destination independent of its old bytes. Blurs run
// at 1024 pixels (tiny images at 1024 x 1024), so only a few are tried.
TEST(YewTiltShift, SizeAndParameterSweep) {
    const std::pair<int32_t, int32_t> sizes[] = {{0, 0}, {1, 1}, {2, 2}, {3, 1000}, {1000, 3}, {5000, 2}, {0, 7}};
    const float strengths[] = {NAN, -INFINITY, -1.0f, 0.0f, 0.0195f, 1e30f, INFINITY, 0.02f, 0.3f};
    const float lenses[] = {0.2f, 0.0f, -3.0f, NAN, INFINITY, 1e9f};
    const float points[][4] = {{0.2f, 0.4f, 0.8f, 0.6f}, {NAN, INFINITY, -INFINITY, 5.0f}, {0.5f, 0.5f, 0.5f, 0.5f}};
    for (auto [w, h] : sizes) {
        const std::vector<uint8_t> src = bytesOf(noise(w, h, OX_BGR, OX_8U, 11).get());
        for (size_t i = 0; i < std::size(strengths) * std::size(lenses); ++i) {
            const float s = strengths[i % 9], lens = lenses[i / 9], *pt = points[(i + i / 9) % 3];
            if ((s == 0.02f || s == 0.3f) && (lens != 0.2f || (s == 0.3f && w * h < 16))) continue;
            std::vector<uint8_t> zeros(src.size(), 0), ones(src.size(), 0xFF);
            const int32_t first = oxYewTiltShift(w, h, src.data(), zeros.data(), s, lens, pt[0], pt[1], pt[2], pt[3]);
            const int32_t second = oxYewTiltShift(w, h, src.data(), ones.data(), s, lens, pt[0], pt[1], pt[2], pt[3]);
            ASSERT_TRUE((first == 0 || first == 1) && first == second && zeros == ones)
                << w << "x" << h << " s=" << s << " lens=" << lens;
        }
    }
}
