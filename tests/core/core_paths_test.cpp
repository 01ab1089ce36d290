// The core's fast paths against the plain references, byte for byte, on
// every path this processor runs: grey conversion, blends, inversion and
// the 8-bit to float conversion, over awkward widths and every encoding.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/paths.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

constexpr int32_t kColour[] = {OX_BGR, OX_RGB, OX_ARGB, OX_RGBA};
constexpr int32_t kHeight = 3;

std::string named(const char* what, int32_t w, int32_t enc) {
    return std::string(what) + " width " + std::to_string(w) + " encoding " + std::to_string(enc);
}

}  // namespace

TEST(CorePaths, GreyFromColour) {
    for (int32_t enc : kColour)
        for (int32_t w : awkwardWidths())
            expectSameOnEveryPath(named("grey", w, enc), [&] {
                Image src = noise(w, kHeight, enc, OX_8U, 1), dst = noise(w, kHeight, OX_GRAY, OX_8U, 2);
                EXPECT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
                return bytesOf(dst.get());
            });
}

// Weights where the separate float products decide the byte (see the worked
// values), in place into b as the effects call them, and with a mask whose
// ROI makes its rows drift against the others.
TEST(CorePaths, Blends) {
    struct Case {
        int32_t enc;
        uint8_t weight;  // 0: a noise mask
        bool inPlace, driftingMask;
    } cases[] = {{OX_GRAY, 65, false, false}, {OX_GRAY, 0, true, false},  {OX_GRAY, 0, false, true},
                 {OX_BGR, 128, true, false},  {OX_BGR, 0, false, false},  {OX_RGB, 0, true, true},
                 {OX_ARGB, 5, false, false},  {OX_ARGB, 0, true, false},  {OX_RGBA, 254, true, false},
                 {OX_RGBA, 0, false, true}};
    for (const Case& c : cases)
        for (int32_t w : awkwardWidths())
            expectSameOnEveryPath(named(c.weight ? "constant blend" : "masked blend", w, c.enc), [&] {
                Image a = noise(w, kHeight, c.enc, OX_8U, 3), b = noise(w, kHeight, c.enc, OX_8U, 4);
                Image d = noise(w, kHeight, c.enc, OX_8U, 5), mask = noise(w + 3, kHeight + 1, OX_GRAY, OX_8U, 6);
                mask->roi = {1, 1, c.driftingMask ? w + 2 : w, kHeight};
                oxImage* out = c.inPlace ? b.get() : d.get();
                EXPECT_EQ(c.weight ? oxAddWeigthedS(a.get(), b.get(), out, c.weight)
                                   : oxAddWeigthedM(a.get(), b.get(), out, mask.get()),
                          0);
                return bytesOf(out);
            });
}

TEST(CorePaths, InvertAndBytesToFloats) {
    for (int32_t enc : {OX_GRAY, OX_BGR, OX_RGBA})
        for (int32_t w : awkwardWidths()) {
            for (bool inPlace : {false, true})
                expectSameOnEveryPath(named(inPlace ? "invert in place" : "invert", w, enc), [&] {
                    Image src = noise(w, kHeight, enc, OX_8U, 7), dst = noise(w, kHeight, enc, OX_8U, 8);
                    oxImage* out = inPlace ? src.get() : dst.get();
                    EXPECT_EQ(oxImageInvert(src.get(), out), 0);
                    return bytesOf(out);
                });
            expectSameOnEveryPath(named("8U to 32F", w, enc), [&] {
                Image src = noise(w, kHeight, enc, OX_8U, 9), dst = make(w, kHeight, enc, OX_32F);
                EXPECT_EQ(oxImageCvtType(src.get(), dst.get()), 0);
                return bytesOf(dst.get());
            });
        }
}

// Values that wrap (1.5 gives 126), negatives, NaN, infinities and products
// beyond the int32 range scattered among ordinary ones, so that some groups
// of the vector loop fall back to the 64-bit rule and some do not.
TEST(CorePaths, FloatsToBytes) {
    const float specials[] = {1.5f, -0.7f, NAN, INFINITY, -INFINITY, 3e7f, -9e6f, 1e20f, 0.999f, -0.0f};
    for (int32_t enc : {OX_GRAY, OX_BGR})
        for (int32_t w : awkwardWidths())
            expectSameOnEveryPath(named("32F to 8U", w, enc), [&] {
                Image src = noise(w, kHeight, enc, OX_32F, 17), dst = noise(w, kHeight, enc, OX_8U, 18);
                auto* v = reinterpret_cast<float*>(src->data);
                for (size_t i = 0; i < byteCount(src.get()) / 4; i += 37) v[i] = specials[i % 10];
                EXPECT_EQ(oxImageCvtType(src.get(), dst.get()), 0);
                return bytesOf(dst.get());
            });
}

// Long runs (the destination fetched ahead, then the loop's last kilobyte
// without; above 8 MiB, stores around the caches), from an offset that is
// not a multiple of 32 bytes.
TEST(CorePaths, LargeInvertCopyAndBytesToFloats) {
    for (bool inPlace : {false, true})
        expectSameOnEveryPath(inPlace ? "large invert in place" : "large invert", [&] {
            Image src = noise(3001, 3000, OX_GRAY, OX_8U, 19), room = make(3002, 3000, OX_GRAY);
            Image dst(oxImageCreateHeaderWithType(3001, 3000, OX_GRAY, OX_8U));
            dst->data = inPlace ? src->data : room->data + 3;
            EXPECT_EQ(oxImageInvert(src.get(), dst.get()), 0);
            std::vector<uint8_t> out(dst->data, dst->data + size_t(3001) * 3000);
            dst->data = nullptr;  // the header does not own the pixels
            return out;
        });
    expectSameOnEveryPath("large copy", [&] {
        Image src = noise(1731, 1700, OX_BGR, OX_8U, 20), room = make(1732, 1700, OX_BGR);
        Image dst(oxImageCreateHeaderWithType(1731, 1700, OX_BGR, OX_8U));
        dst->data = room->data + 5;
        EXPECT_EQ(oxCopy(src.get(), dst.get()), 0);
        std::vector<uint8_t> out(dst->data, dst->data + size_t(1731) * 1700 * 3);
        dst->data = nullptr;
        return out;
    });
    constexpr int32_t w = 2053, h = 2048;
    expectSameOnEveryPath("8U to 32F large", [&] {
        Image src = noise(w, h, OX_GRAY, OX_8U, 10), room = make(w + 1, h, OX_GRAY, OX_32F);
        Image dst(oxImageCreateHeaderWithType(w, h, OX_GRAY, OX_32F));
        dst->data = room->data + sizeof(float);
        EXPECT_EQ(oxImageCvtType(src.get(), dst.get()), 0);
        std::vector<uint8_t> out(dst->data, dst->data + size_t(w) * h * sizeof(float));
        dst->data = nullptr;  // the header does not own the pixels
        return out;
    });
}

// A destination header over the same pixels as a source, shifted by one
// pixel either way: the result depends on the visiting order, which every
// path keeps.
TEST(CorePaths, BlendsIntoShiftedOverlap) {
    for (int32_t enc : {OX_GRAY, OX_BGR, OX_RGBA})
        for (int32_t shift : {-1, 1})
            for (bool masked : {false, true})
                for (int32_t w : {17, 33, 1031})
                    expectSameOnEveryPath(named(masked ? "masked overlap" : "constant overlap", w, enc), [&] {
                        Image a = noise(w, kHeight, enc, OX_8U, 14), b = noise(w + 2, kHeight, enc, OX_8U, 15);
                        Image mask = noise(w, kHeight, OX_GRAY, OX_8U, 16);
                        b->roi = {1, 0, w, kHeight};
                        Image d(oxImageCreateHeaderWithType(w + 2, kHeight, enc, OX_8U));
                        d->data = b->data;
                        d->roi = {1 + shift, 0, w, kHeight};
                        EXPECT_EQ(masked ? oxAddWeigthedM(a.get(), b.get(), d.get(), mask.get())
                                         : oxAddWeigthedS(a.get(), b.get(), d.get(), 100),
                                  0);
                        d->data = nullptr;  // b owns the pixels
                        return bytesOf(b.get());
                    });
}
