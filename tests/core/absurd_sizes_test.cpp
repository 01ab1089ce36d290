// Header-only records whose sizes no buffer can have, over a small real
// buffer: every walker refuses them before it reads or writes a byte. The
// same calls on sane sizes over the same buffer succeed, so a refusal for
// another reason cannot pass for this one. The sanitizer build turns any
// read past the buffer into a failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

#include "containers/detail/volume_layout.hpp"
#include "support/test_support.hpp"

using namespace oxtest;

namespace {

struct Kind {
    const char* name;
    int32_t encoding, type;
};

constexpr Kind kBgr8{"BGR 8-bit", OX_BGR, OX_8U}, kRgba16{"RGBA 16-bit", OX_RGBA, OX_16U},
    kGray64{"grey double", OX_GRAY, OX_64F}, kGray8{"grey 8-bit", OX_GRAY, OX_8U};

// Byte counts that wrap past int64 for the wider kinds and, at one byte a
// pixel, still exceed anything a processor addresses.
constexpr std::array<std::array<int32_t, 2>, 2> kAbsurd = {{{2147483647, 2147483647}, {1824726041, 1263665316}}};

// The 4 x 4 image every kind fits in the buffer with; the absurd ones keep
// a 4 x 2 ROI, so a walk that trusted them would reach its second row.
constexpr int32_t kSane = 4;
constexpr size_t kBufferBytes = 256;

struct Walker {
    const char* name;
    std::vector<Kind> kinds;  // those on which the call succeeds for sane sizes
    std::function<int32_t(oxImage*)> call;
};

using BilateralPtr = std::unique_ptr<oxBilateralParams, void (*)(oxBilateralParams*)>;
using LensPtr = std::unique_ptr<oxLensDistortionParams, void (*)(oxLensDistortionParams*)>;

// A sane image of the kind, the other side of calls that take two.
Image partner(oxImage* img) { return noise(kSane, kSane, img->encoding, img->type, 9); }

}  // namespace

TEST(AbsurdSizes, WalkersRefuseHeadersNoBufferCanBack) {
    Kernel kernel(oxSepKernelGaussian(1));
    BilateralPtr bilateral(oxBilateralParamsDefault(), [](oxBilateralParams* p) { oxBilateralParamsRelease(&p); });
    LensPtr lens(oxLensDistortionParamsDefault(), [](oxLensDistortionParams* p) { oxLensDistortionParamsRelease(&p); });
    const oxBlurParams blur{1, 1};
    const oxSharpenParams sharpen{0.3};
    ASSERT_TRUE(kernel && bilateral && lens);
    const std::vector<Walker> walkers = {
        {"nearest resize", {kBgr8, kRgba16, kGray64, kGray8},
         [](oxImage* img) { return oxResize(img, partner(img).get(), -1, nullptr); }},
        {"bilinear resize", {kBgr8, kGray8}, [](oxImage* img) { return oxResize(img, partner(img).get(), 0, nullptr); }},
        {"separable convolution", {kBgr8, kGray64, kGray8},
         [&](oxImage* img) { return oxSeparableConvolutionFilter(img, img, kernel.get()); }},
        {"box blur", {kBgr8, kGray64, kGray8}, [&](oxImage* img) { return oxBlurFilter(&blur, img, img, nullptr); }},
        {"bilateral", {kBgr8, kGray64, kGray8}, [&](oxImage* img) { return oxBilateralFilter(bilateral.get(), img, img); }},
        {"lens", {kBgr8, kGray8}, [&](oxImage* img) { return oxLensDistortionFilter(lens.get(), img, img, nullptr); }},
        {"sharpen", {kBgr8}, [&](oxImage* img) { return oxSharpenFilter(&sharpen, img, nullptr, img, nullptr); }},
        {"colour conversion", {kBgr8, kRgba16, kGray64, kGray8},
         [](oxImage* img) { return oxImageCvtColor(img, partner(img).get()); }},
        {"type conversion", {kBgr8, kRgba16, kGray64, kGray8}, [](oxImage* img) { return oxImageCvtType(img, img); }},
        {"threshold", {kBgr8, kRgba16, kGray64, kGray8}, [](oxImage* img) { return oxImageThreshold(img, img, 0.2, 0.8); }},
        {"min and max", {kGray64, kGray8},
         [](oxImage* img) {
             double mn, mx;
             return oxImageGetMinMaxValues(img, &mn, &mx);
         }},
        {"non-zero box", {kGray64, kGray8},
         [](oxImage* img) {
             oxRect box;
             int32_t empty;
             return oxImageGetNonZeroROI(img, &box, &empty);
         }},
        {"contrast statistics", {kBgr8, kRgba16, kGray64, kGray8},
         [](oxImage* img) {
             oxContrastEnhanceStats stats;
             return oxContrastEnhanceStatsRetrieve(&stats, img, nullptr);
         }},
    };
    alignas(8) std::array<uint8_t, kBufferBytes> buffer;
    for (const Walker& w : walkers)
        for (const Kind& k : w.kinds) {
            buffer.fill(0x5A);
            oxImage* h = oxImageCreateHeaderWithType(kSane, kSane, k.encoding, k.type);
            h->data = buffer.data();
            EXPECT_EQ(w.call(h), 0) << w.name << ", " << k.name << ", sane sizes";
            for (auto [width, height] : kAbsurd) {
                buffer.fill(0x5A);
                h->width = width;
                h->height = height;
                h->roi = {0, 0, kSane, 2};
                EXPECT_EQ(w.call(h), 1) << w.name << ", " << k.name << ", " << width << "x" << height;
                EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](uint8_t b) { return b == 0x5A; }))
                    << w.name << ", " << k.name << ", " << width << "x" << height;
            }
            oxImageReleaseHeader(&h);
        }
}

// The volume walkers likewise: a header whose elements no buffer can hold,
// over a small buffer, is refused, read as 0.0, or left alone, and a dump
// of it writes nothing.
TEST(AbsurdSizes, VolumeWalkersRefuseHeadersNoBufferCanBack) {
    std::array<uint8_t, kBufferBytes> buffer;
    buffer.fill(0x5A);
    ox::detail::VolumeHeaderPtr v(oxVolumeCreateHeaderWithType(2147483647, 2147483647, 1, OX_64F));
    ASSERT_TRUE(v);
    oxVolumeAssignData(v.get(), buffer.data());
    double mn, mx;
    EXPECT_EQ(oxVolumeGetMinMaxValues(v.get(), &mn, &mx), 1);
    oxBox box;
    int32_t empty;
    EXPECT_EQ(oxVolumeGetNonZeroROI(v.get(), &box, &empty), 1);
    const oxPoint far{0, 5, 1, 0};
    EXPECT_EQ(oxVolumeGetVal(v.get(), &far), 0.0);
    oxVolumeSetVal(v.get(), 1.0);
    oxVolumeSetZero(v.get());
    EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](uint8_t b) { return b == 0x5A; }));
    TempDir dir;
    FILE* f = std::fopen((dir.path() / "volume").c_str(), "wb");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(oxVolumeDumpSave(v.get(), f), -1);
    EXPECT_EQ(oxVolumeDumpSaveWithSeparatePlanes(v.get(), f), -1);
    EXPECT_EQ(std::ftell(f), 0);
    std::fclose(f);
}
