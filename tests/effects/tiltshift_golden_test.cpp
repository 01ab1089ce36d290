// Golden outputs of the tilt-shift entry point: a changed byte fails its case.
#include <gtest/gtest.h>

#include "support/photos.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Case {
    const char *name, *photo;  // no photo: a random w x h image
    int32_t w, h;
    float strength, lens, ax, ay, bx, by;
    bool inPlace;
    int32_t status;  // 1: the lens step finds no crop; dst holds the blurred image
    uint64_t hash;
};

const Case kCases[] = {
    // name                   photo            w    h    strength lens  ax    ay    bx    by  in place status hash
    {"astronaut band",        "astronaut.png", 0,   0,   0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0, 0x58dac5dc709a521e},
    {"astronaut in place",    "astronaut.png", 0,   0,   0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, true,  0, 0x58dac5dc709a521e},
    {"chelsea default points","chelsea.png",   0,   0,   0.2f,  0.0f,  0.0f, 0.3f, 1.0f, 0.3f, false, 0, 0xe9947a3091244e92},
    {"coffee tilted strong",  "coffee.png",    0,   0,   1.0f, -0.3f,  0.1f, 0.1f, 0.5f, 0.9f, false, 0, 0xca12dc13054961f0},
    {"rocket lens only",      "rocket.jpg",    0,   0,   0.0f,  0.5f,  0.3f, 0.3f, 0.6f, 0.5f, true,  0, 0x6681abc20e597b9d},
    {"random band",           nullptr,         333, 217, 0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0, 0x6a6e91b1e9b85b46},
    {"random tall radius 1",  nullptr,         5,   700, 0.02f, 0.5f, -1.0f, 5.0f, 0.5f, 0.5f, true,  1, 0x432dbc7cef6dce1f},
};

}  // namespace

TEST(YewTiltShiftGolden, Outputs) {
    int missing = 0;
    for (const Case& c : kCases) {
        Image src = c.photo ? loadPhoto(c.photo) : noise(c.w, c.h, OX_BGR, OX_8U, 1);
        if (!src && ++missing) continue;
        std::vector<uint8_t> pixels = bytesOf(src.get()), separate(pixels.size(), 0);
        uint8_t* dst = c.inPlace ? pixels.data() : separate.data();
        const int32_t status =
            oxYewTiltShift(src->width, src->height, pixels.data(), dst, c.strength, c.lens, c.ax, c.ay, c.bx, c.by);
        const uint64_t hash = hashBytes(dst, pixels.size());
        EXPECT_TRUE(status == c.status && hash == c.hash) << c.name << ": " << status << ", 0x" << std::hex << hash;
    }
    if (missing) GTEST_SKIP() << missing << " photographs not fetched";
}
