// Whole-buffer hashes of the core's hot operations over seeded noise of
// awkward widths, several encodings and ROIs, in place and not. The
// destinations start as noise too, so bytes an operation must leave alone
// are pinned as well. Each case hashes every width of its row together.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

constexpr int32_t kWidths[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 32, 33, 64, 1031};

uint64_t mixHash(uint64_t h, const oxImage* img) { return (h ^ hashImage(img)) * 1099511628211ull + 7; }

struct Case {
    const char* name;
    std::function<uint64_t(int32_t width)> run;  // hash of the outputs for one width
    uint64_t hash;
};

void expectHashes(const Case* cases, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        uint64_t h = 1469598103934665603ull;
        for (int32_t w : kWidths) h = (h ^ cases[i].run(w)) * 1099511628211ull;
        EXPECT_EQ(h, cases[i].hash) << cases[i].name;
    }
}

// A ROI of w x 2 pixels at (1, 1) inside an image two pixels larger each way.
Image framed(int32_t w, int32_t encoding, int32_t type, uint32_t seed, int32_t dx = 0) {
    Image img = noise(w + 2 + dx, 4, encoding, type, seed);
    img->roi = {1 + dx, 1, w, 2};
    return img;
}

uint64_t grey(int32_t w, int32_t enc, int32_t type, bool roi) {
    Image src = roi ? framed(w, enc, type, 1) : noise(w, 3, enc, type, 1);
    Image dst = roi ? framed(w, OX_GRAY, type, 2, 1) : noise(w, 3, OX_GRAY, type, 2);
    EXPECT_EQ(oxImageCvtColor(src.get(), dst.get()), 0);
    return mixHash(0, dst.get());
}

uint64_t copy(int32_t w, int32_t enc, bool roi) {
    Image src = roi ? framed(w, enc, OX_8U, 3) : noise(w, 3, enc, OX_8U, 3);
    Image dst = roi ? framed(w, enc, OX_8U, 4, 2) : noise(w, 3, enc, OX_8U, 4);
    EXPECT_EQ(oxCopy(src.get(), dst.get()), 0);
    return mixHash(0, dst.get());
}

// Blends with a constant weight (mask null) or a noise mask; `inPlace`
// writes into b as the effects do; `roi` gives every image its own ROI
// origin.
uint64_t blend(int32_t w, int32_t encA, int32_t encB, int32_t encD, const oxImage* maskOrNull, uint8_t weight,
               bool inPlace, bool roi) {
    Image a = roi ? framed(w, encA, OX_8U, 5) : noise(w, 3, encA, OX_8U, 5);
    Image b = roi ? framed(w, encB, OX_8U, 6, 1) : noise(w, 3, encB, OX_8U, 6);
    Image d = roi ? framed(w, encD, OX_8U, 7, 2) : noise(w, 3, encD, OX_8U, 7);
    Image mask;
    if (maskOrNull) mask = roi ? framed(w, OX_GRAY, OX_8U, 8, 3) : noise(w, 3, OX_GRAY, OX_8U, 8);
    oxImage* out = inPlace ? b.get() : d.get();
    const int32_t r = mask ? oxAddWeigthedM(a.get(), b.get(), out, mask.get()) : oxAddWeigthedS(a.get(), b.get(), out, weight);
    EXPECT_EQ(r, 0);
    return mixHash(0, out);
}

const oxImage* const kMask = reinterpret_cast<const oxImage*>(1);  // "with a noise mask"

uint64_t fill(int32_t w, int32_t enc, int32_t type, double value) {
    Image img = noise(w, 3, enc, type, 9);
    oxImageSetVal(img.get(), value);
    return mixHash(0, img.get());
}

uint64_t invert(int32_t w, int32_t enc, bool inPlace) {
    Image src = noise(w, 3, enc, OX_8U, 10), dst = noise(w, 3, enc, OX_8U, 11);
    oxImage* out = inPlace ? src.get() : dst.get();
    EXPECT_EQ(oxImageInvert(src.get(), out), 0);
    return mixHash(0, out);
}

// Every type pair, both conversions, through one hash per source type.
uint64_t convertFrom(int32_t w, int32_t from) {
    uint64_t h = 0;
    Image src = noise(w, 3, OX_BGR, from, 12);
    if (from == OX_32F || from == OX_64F) {
        // Values beyond the nominal range, negatives, NaN and infinities.
        const double specials[] = {-1.5, 1.5, 300.0, -0.0, std::nan(""), INFINITY, -INFINITY, 1e12, 0.999};
        for (int64_t i = 0; i < int64_t(w) * 9; i += 5) {
            const double v = specials[i % 9];
            if (from == OX_32F) reinterpret_cast<float*>(src->data)[i] = float(v);
            else reinterpret_cast<double*>(src->data)[i] = v;
        }
    }
    for (int32_t to : {OX_8U, OX_16U, OX_32S, OX_32U, OX_32F, OX_64F}) {
        Image dst = noise(w, 3, OX_BGR, to, 13);
        EXPECT_EQ(oxImageCvtType(src.get(), dst.get()), 0);
        h = mixHash(h, dst.get());
        EXPECT_EQ(oxImageCvtTypeGivenRange(src.get(), dst.get(), -0.25, 0.75), 0);
        h = mixHash(h, dst.get());
    }
    return h;
}

}  // namespace

TEST(PinnedOutputs, GreyAndCopy) {
    const Case cases[] = {
        {"grey bgr", [](int32_t w) { return grey(w, OX_BGR, OX_8U, false); }, 0x2bd77fbe3fe66fa1ull},
        {"grey rgb roi", [](int32_t w) { return grey(w, OX_RGB, OX_8U, true); }, 0x8375a4a169c3afa4ull},
        {"grey argb", [](int32_t w) { return grey(w, OX_ARGB, OX_8U, false); }, 0xb151d9f4a531c740ull},
        {"grey rgba roi", [](int32_t w) { return grey(w, OX_RGBA, OX_8U, true); }, 0x6686e4934dd1e9eeull},
        {"grey bgr 16u", [](int32_t w) { return grey(w, OX_BGR, OX_16U, true); }, 0x6e67e39a7e559eccull},
        {"grey bgr 32f", [](int32_t w) { return grey(w, OX_BGR, OX_32F, false); }, 0xd41ff3343aab6077ull},
        {"copy bgr", [](int32_t w) { return copy(w, OX_BGR, false); }, 0x5deef80e6bc1eae2ull},
        {"copy rgba roi", [](int32_t w) { return copy(w, OX_RGBA, true); }, 0xed70a80a9b2b7feeull},
        {"copy grey roi", [](int32_t w) { return copy(w, OX_GRAY, true); }, 0x0dee8adc350db9d8ull},
    };
    expectHashes(cases, std::size(cases));
}

TEST(PinnedOutputs, Blends) {
    const Case cases[] = {
        {"grey 77", [](int32_t w) { return blend(w, OX_GRAY, OX_GRAY, OX_GRAY, nullptr, 77, false, false); }, 0xc5c767c54bd2f6f4ull},
        {"grey 1 in place roi", [](int32_t w) { return blend(w, OX_GRAY, OX_GRAY, OX_GRAY, nullptr, 1, true, true); }, 0xf7a65b32c10f232bull},
        {"bgr 128", [](int32_t w) { return blend(w, OX_BGR, OX_BGR, OX_BGR, nullptr, 128, false, false); }, 0xce7842affc740d6dull},
        {"bgr 254 in place", [](int32_t w) { return blend(w, OX_BGR, OX_BGR, OX_BGR, nullptr, 254, true, false); }, 0x7c7dc9f657219d5cull},
        {"rgba 200 roi", [](int32_t w) { return blend(w, OX_RGBA, OX_RGBA, OX_RGBA, nullptr, 200, false, true); }, 0x21de65f638e5706eull},
        {"argb 3", [](int32_t w) { return blend(w, OX_ARGB, OX_ARGB, OX_ARGB, nullptr, 3, false, false); }, 0x132e3cbe4151ac2bull},
        {"mixed 90", [](int32_t w) { return blend(w, OX_BGR, OX_RGB, OX_RGBA, nullptr, 90, false, false); }, 0x975c6d2275731d82ull},
        {"mask grey", [](int32_t w) { return blend(w, OX_GRAY, OX_GRAY, OX_GRAY, kMask, 0, false, false); }, 0x7485526611847760ull},
        {"mask grey in place roi", [](int32_t w) { return blend(w, OX_GRAY, OX_GRAY, OX_GRAY, kMask, 0, true, true); }, 0x54e32a061fdf7467ull},
        {"mask bgr in place", [](int32_t w) { return blend(w, OX_BGR, OX_BGR, OX_BGR, kMask, 0, true, false); }, 0x72b81aa3ae70edc8ull},
        {"mask bgr roi", [](int32_t w) { return blend(w, OX_BGR, OX_BGR, OX_BGR, kMask, 0, false, true); }, 0xac8a505c2da79ab8ull},
        {"mask rgba in place", [](int32_t w) { return blend(w, OX_RGBA, OX_RGBA, OX_RGBA, kMask, 0, true, false); }, 0xc0ebd26ce0666446ull},
        {"mask argb roi", [](int32_t w) { return blend(w, OX_ARGB, OX_ARGB, OX_ARGB, kMask, 0, false, true); }, 0x9337b0d7e02f47d2ull},
        {"mask mixed", [](int32_t w) { return blend(w, OX_RGB, OX_GRAY, OX_ARGB, kMask, 0, false, false); }, 0xca4c773861ff0c8bull},
    };
    expectHashes(cases, std::size(cases));
}

TEST(PinnedOutputs, FillInvertConvert) {
    const Case cases[] = {
        {"fill grey 77", [](int32_t w) { return fill(w, OX_GRAY, OX_8U, 77.0); }, 0xef3389ff9727837bull},
        {"fill bgr 300", [](int32_t w) { return fill(w, OX_BGR, OX_8U, 300.0); }, 0x836a796b517c99c9ull},
        {"fill rgba -1.5", [](int32_t w) { return fill(w, OX_RGBA, OX_8U, -1.5); }, 0xb97f8d9f3ac93791ull},
        {"fill 16u 70000", [](int32_t w) { return fill(w, OX_BGR, OX_16U, 70000.0); }, 0x5a6a7c2a54b25357ull},
        {"fill 32f 0.1", [](int32_t w) { return fill(w, OX_GRAY, OX_32F, 0.1); }, 0x59349544b6bd1969ull},
        {"fill 64f nan", [](int32_t w) { return fill(w, OX_ARGB, OX_64F, std::nan("")); }, 0x0dad82a5d1f32f69ull},
        {"invert grey", [](int32_t w) { return invert(w, OX_GRAY, false); }, 0xe496c8cdcd208f54ull},
        {"invert bgr in place", [](int32_t w) { return invert(w, OX_BGR, true); }, 0xaf53a40992eaf02dull},
        {"convert from 8u", [](int32_t w) { return convertFrom(w, OX_8U); }, 0xf1ac888236caecd4ull},
        {"convert from 16u", [](int32_t w) { return convertFrom(w, OX_16U); }, 0xc285a5497dc4e6b9ull},
        {"convert from 32s", [](int32_t w) { return convertFrom(w, OX_32S); }, 0xc4abb628a66014d6ull},
        {"convert from 32u", [](int32_t w) { return convertFrom(w, OX_32U); }, 0x387dd732afb3e779ull},
        {"convert from 32f", [](int32_t w) { return convertFrom(w, OX_32F); }, 0x197c6eef91344ce0ull},
        {"convert from 64f", [](int32_t w) { return convertFrom(w, OX_64F); }, 0x557edd0ef9053567ull},
    };
    expectHashes(cases, std::size(cases));
}
