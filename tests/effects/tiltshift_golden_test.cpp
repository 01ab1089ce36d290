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
    uint64_t hash;
};

const Case kCases[] = {
    // name                   photo            w    h    strength lens  ax    ay    bx    by   in place hash
    {"astronaut band",        "astronaut.png", 0,   0,   0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0x0ull},
    {"astronaut in place",    "astronaut.png", 0,   0,   0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, true,  0x0ull},
    {"chelsea default points","chelsea.png",   0,   0,   0.2f,  0.0f,  0.0f, 0.3f, 1.0f, 0.3f, false, 0x0ull},
    {"coffee tilted strong",  "coffee.png",    0,   0,   1.0f, -0.3f,  0.1f, 0.1f, 0.5f, 0.9f, false, 0x0ull},
    {"rocket lens only",      "rocket.jpg",    0,   0,   0.0f,  0.5f,  0.3f, 0.3f, 0.6f, 0.5f, true,  0x0ull},
    {"random band",           nullptr,         333, 217, 0.3f,  0.2f,  0.2f, 0.4f, 0.8f, 0.6f, false, 0x0ull},
    {"random tall radius 1",  nullptr,         5,   700, 0.02f, 0.5f, -1.0f, 5.0f, 0.5f, 0.5f, true,  0x0ull},
};

}  // namespace

TEST(YewTiltShiftGolden, Outputs) {
    int missing = 0;
    for (const Case& c : kCases) {
        Image src = c.photo ? loadPhoto(c.photo) : noise(c.w, c.h, OX_BGR, OX_8U, 1);
        if (!src && ++missing) continue;
        std::vector<uint8_t> pixels = bytesOf(src.get()), separate(pixels.size(), 0);
        uint8_t* dst = c.inPlace ? pixels.data() : separate.data();
        EXPECT_EQ(oxYewTiltShift(src->width, src->height, pixels.data(), dst, c.strength, c.lens, c.ax, c.ay, c.bx, c.by), 0)
            << c.name;
        const uint64_t hash = hashBytes(dst, pixels.size());
        EXPECT_EQ(hash, c.hash) << c.name << ": got 0x" << std::hex << hash;
    }
    if (missing) GTEST_SKIP() << missing << " photographs not fetched";
}
