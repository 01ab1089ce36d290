#include <gtest/gtest.h>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

int32_t run(oxLensDistortionParams p, const oxImage* src, oxImage* dst, const volatile int32_t* abort = nullptr) {
    return oxLensDistortionFilter(&p, src, dst, abort);
}

// Loading or storing item `loadFails`/`storeFails` gives 7; `loaded` counts.
struct Frames {
    int32_t loadFails, storeFails, loaded = 0;
    std::vector<Image> images = {};
    oxFrameDescriptor descriptor{OX_BGR, 0, 16, 20};
};

int32_t loadFrame(void* user, int32_t i, oxDepthBasedImage* item) {
    auto& f = *static_cast<Frames*>(user);
    if (i == f.loadFails) return 7;
    *item = {&f.descriptor, nullptr, f.images[i]->data};
    return ++f.loaded, 0;
}
int32_t releaseFrame(void* user, int32_t, oxDepthBasedImage*) { return --static_cast<Frames*>(user)->loaded, 0; }
int32_t storeFrame(void* user, int32_t i, const oxDepthBasedImage*) {
    return i == static_cast<Frames*>(user)->storeFails ? 7 : 0;
}

}  // namespace

// Hashes and rectangles from an independent single-precision model. A flat 255
// pins where the weights sum below 1; amount 0 keeps the interior, still crops.
// Off-centre crops move a bisection point onto the last column or row, so
// they pin that the corner search keeps it inside.
TEST(LensDistortion, MappingHashAndCropRectangle) {
    oxLensDistortionParams* defaults = oxLensDistortionParamsDefault();
    ASSERT_NE(defaults, nullptr);
    struct Case {
        int32_t w, h, encoding, seed, flat;  // flat: every byte that value instead of noise
        oxLensDistortionParams params;
        uint64_t hash;
        oxRect rect;
    } cases[] = {{100, 100, OX_BGR, 1, 0, *defaults, 0x0846c1ecd4d6254dull, {9, 7, 83, 85}},
                 {100, 100, OX_GRAY, 1, 255, *defaults, 0xbec778c9adf5a525ull, {9, 7, 83, 85}},
                 {17, 9, OX_RGBA, 2, 0, {-0.8f, 0.3f, 0.6f, 1}, 0x361c86ab10c6cecfull, {2, 0, 14, 8}},
                 {40, 30, OX_BGR, 3, 0, {0.0f, 0.5f, 0.5f, 1}, 0x33d41f52df80d11eull, {2, 0, 37, 29}},
                 {31, 47, OX_GRAY, 4, 0, {1.0f, 0.3f, 0.3f, 1}, 0xab8598cef769d68bull, {4, 2, 19, 33}},
                 {31, 47, OX_BGR, 5, 0, {2.0f, 0.7f, 0.7f, 1}, 0xd2471cf2d07d01faull, {10, 13, 16, 29}},
                 {31, 47, OX_RGBA, 6, 0, {-3.0f, 0.7f, 0.3f, 1}, 0x74f67b28ef922e70ull, {8, 0, 20, 36}},
                 {40, 30, OX_BGR, 7, 0, {3.0f, 0.3f, 0.7f, 1}, 0x0d5ca6b43b320b69ull, {6, 9, 20, 16}},
                 {40, 30, OX_GRAY, 8, 0, {-3.0f, 0.7f, 0.7f, 1}, 0x84abb053a9fdfba9ull, {10, 5, 28, 22}},
                 {57, 33, OX_BGR, 9, 0, {0.3f, 0.7f, 0.3f, 1}, 0x16e3d403ade55431ull, {9, 1, 46, 27}},
                 {20, 20, OX_ARGB, 10, 0, {-8.0f, 0.7f, 0.3f, 1}, 0xdc93d54a13868a69ull, {9, 2, 8, 10}},
                 {23, 17, OX_RGB, 11, 0, {-8.0f, 0.3f, 0.7f, 1}, 0xd944ae01fbce84ecull, {4, 6, 10, 8}}};
    oxLensDistortionParamsRelease(&defaults);
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.encoding, OX_8U, c.seed), distorted = make(c.w, c.h, c.encoding);
        if (c.flat) std::memset(src->data, c.flat, byteCount(src.get()));
        ASSERT_EQ(run({c.params.amount, c.params.cx, c.params.cy, 0}, src.get(), distorted.get()), 0);
        SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " amount " << c.params.amount << " centre "
                                        << c.params.cx << ", " << c.params.cy);
        EXPECT_EQ(hashImage(distorted.get()), c.hash);
        Image got = make(23, 19, c.encoding), want = make(23, 19, c.encoding);
        ASSERT_EQ(run(c.params, src.get(), got.get()), 0);
        distorted->roi = c.rect;
        ASSERT_EQ(oxResize(distorted.get(), want.get(), OX_RESIZE_BILINEAR, nullptr), 0);
        EXPECT_EQ(bytesOf(got.get()), bytesOf(want.get()));
    }
}

TEST(LensDistortion, RefusalsAndAbortLeaveTheDestinationUntouched) {
    Image src = noise(40, 30, OX_BGR, OX_8U, 1), dst = noise(40, 30, OX_BGR, OX_8U, 2);
    Image narrow = noise(1, 30, OX_BGR, OX_8U, 3), wide = make(40, 30, OX_BGR, OX_16U);
    // The crop is resized into the destination's ROI: one far outside the
    // image is refused without a scratch of its size.
    Image farRoi = noise(40, 30, OX_BGR, OX_8U, 4);
    farRoi->roi = {0, 0, 100000000, 100000000};
    const int32_t set = 1;
    struct Case {
        oxLensDistortionParams p;
        const oxImage* src;
        oxImage* dst;
        const int32_t* abort;
        int32_t code;
    } cases[] = {{{0.5f, 0.5f, 0.5f, 1}, src.get(), dst.get(), &set, 2},
                 {{1e6f, 0.5f, 0.5f, 1}, src.get(), dst.get(), nullptr, 1},  // empty rectangle
                 {{0.5f, 5.0f, 0.5f, 1}, src.get(), dst.get(), nullptr, 1},  // rectangle off the image
                 {{0.5f, 0.5f, 0.5f, 0}, src.get(), narrow.get(), nullptr, 1},
                 {{0.5f, 0.5f, 0.5f, 1}, narrow.get(), dst.get(), nullptr, 1},
                 {{0.5f, 0.5f, 0.5f, 1}, wide.get(), dst.get(), nullptr, 1},
                 {{0.5f, 0.5f, 0.5f, 1}, src.get(), farRoi.get(), nullptr, 1}};
    for (const Case& c : cases) {
        const uint64_t before = hashImage(c.dst);
        EXPECT_EQ(run(c.p, c.src, c.dst, c.abort), c.code) << c.p.amount << " " << c.p.cx;
        EXPECT_EQ(hashImage(c.dst), before) << c.p.amount << " " << c.p.cx;
    }
}

TEST(LensDistortionSequence, FiltersEachItemAndReleasesEverythingOnFailure) {
    struct Case {
        int32_t srcLoadFails, dstLoadFails, storeFails, code;
        uint32_t written;  // frames filtered before the failure
    } cases[] = {{-1, -1, -1, 0, 3}, {1, -1, -1, 7, 1}, {-1, 1, -1, 7, 1}, {-1, -1, 1, 7, 2}};
    const oxLensDistortionParams params{0.5f, 0.5f, 0.5f, 1};
    for (const Case& c : cases) {
        Frames src{c.srcLoadFails, -1}, dst{c.dstLoadFails, c.storeFails};
        for (uint32_t i = 0; i < 3; ++i) src.images.push_back(noise(20, 16, OX_BGR, OX_8U, i));
        for (uint32_t i = 0; i < 3; ++i) dst.images.push_back(noise(20, 16, OX_BGR, OX_8U, 9 + i));
        oxDepthBasedImageSequence s, d;
        oxDepthBasedImageSequenceInit(&s, 3, loadFrame, releaseFrame, nullptr, &src);
        oxDepthBasedImageSequenceInit(&d, 3, loadFrame, releaseFrame, storeFrame, &dst);
        EXPECT_EQ(oxLensDistortionFilterSeq(&params, &s, &d, nullptr), c.code);
        EXPECT_EQ(src.loaded + dst.loaded + s.current + d.current, -2);  // all given back, none loaded
        for (uint32_t i = 0; i < 3; ++i) {
            Image want = noise(20, 16, OX_BGR, OX_8U, 9 + i);
            if (i < c.written) run(params, src.images[i].get(), want.get());
            EXPECT_EQ(bytesOf(dst.images[i].get()), bytesOf(want.get())) << "frame " << i;
        }
    }
}
