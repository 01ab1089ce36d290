#include <gtest/gtest.h>

#include "support/photos.hpp"
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

// Whole destinations pinned by hash: every channel count, up- and
// downscales of the crop (a 5x downscale reads only some of its rows, a
// 1-pixel-wide one only the left column), a ROI inside a noisy destination,
// channel orders that differ between the sides (a 4th destination channel
// keeps its bytes), in place, and the uncropped form.
TEST(LensDistortion, DestinationsPinned) {
    struct Case {
        int32_t w, h, srcEncoding;
        oxLensDistortionParams p;
        int32_t dw, dh, dstEncoding;
        oxRect roi;  // width 0: the whole destination
        bool inPlace;
        uint64_t hash;
    } cases[] = {
        {61, 47, OX_BGR, {0.2f, 0.5f, 0.5f, 1}, 97, 71, OX_BGR, {}, false, 0xd05d47288cc5ba4eull},
        {61, 47, OX_GRAY, {0.2f, 0.5f, 0.5f, 1}, 61, 47, OX_GRAY, {}, false, 0x1ce558d1123bfb68ull},
        {61, 47, OX_RGBA, {-0.6f, 0.3f, 0.6f, 1}, 30, 23, OX_RGBA, {}, false, 0x2a40edba26e455ddull},
        {203, 151, OX_BGR, {0.4f, 0.45f, 0.55f, 1}, 37, 29, OX_BGR, {}, false, 0xe487930fb5b5f800ull},
        {203, 151, OX_GRAY, {0.4f, 0.45f, 0.55f, 1}, 1, 40, OX_GRAY, {}, false, 0xb6d24efd2ca4f638ull},
        {203, 151, OX_BGR, {0.4f, 0.45f, 0.55f, 1}, 40, 1, OX_BGR, {}, false, 0x65eebaf31f892845ull},
        {64, 48, OX_BGR, {0.3f, 0.5f, 0.5f, 1}, 50, 40, OX_BGR, {7, 5, 33, 21}, false, 0x3d34fb9ec217fd7dull},
        {64, 48, OX_BGR, {0.3f, 0.5f, 0.5f, 1}, 50, 40, OX_RGB, {}, false, 0xc63fc12fcbb10aacull},
        {64, 48, OX_BGR, {0.3f, 0.5f, 0.5f, 1}, 50, 40, OX_ARGB, {3, 2, 40, 30}, false, 0x519ca4562c82f132ull},
        {64, 48, OX_RGBA, {0.3f, 0.5f, 0.5f, 1}, 50, 40, OX_ARGB, {}, false, 0x1ae6db6a148f8a00ull},
        {64, 48, OX_BGR, {0.25f, 0.4f, 0.6f, 1}, 64, 48, OX_BGR, {}, true, 0x1bb75a12c3f3ee57ull},
        {64, 48, OX_RGBA, {0.25f, 0.4f, 0.6f, 0}, 64, 48, OX_RGBA, {}, true, 0xa45c3da9b0361743ull},
        {1031, 5, OX_BGR, {-0.1f, 0.5f, 0.5f, 1}, 700, 9, OX_BGR, {}, false, 0x3fc02e507f6c3bedull},
        {2, 2, OX_GRAY, {0.0f, 0.5f, 0.5f, 0}, 2, 2, OX_GRAY, {}, false, 0xeedf927843671c09ull},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEncoding, OX_8U, uint32_t(c.w + c.dw));
        Image dst = c.inPlace ? Image() : noise(c.dw, c.dh, c.dstEncoding, OX_8U, 5);
        oxImage* out = c.inPlace ? src.get() : dst.get();
        if (c.roi.width) out->roi = c.roi;
        ASSERT_EQ(run(c.p, src.get(), out), 0) << c.w << "x" << c.h << " to " << c.dw << "x" << c.dh;
        EXPECT_EQ(hashImage(out), c.hash) << c.w << "x" << c.h << " to " << c.dw << "x" << c.dh << " encodings "
                                          << c.srcEncoding << "/" << c.dstEncoding << std::hex << " got 0x" << hashImage(out);
    }
}

TEST(LensDistortion, PhotographPinned) {
    OX_LOAD_PHOTO(photo, "coffee.png");
    struct Case {
        oxLensDistortionParams p;
        int32_t dw, dh;
        uint64_t hash;
    } cases[] = {{{0.2f, 0.5f, 0.5f, 1}, 600, 400, 0xb800ddc37e5341ecull},
                 {{-0.5f, 0.3f, 0.6f, 1}, 1000, 700, 0xa9230137a9d76eceull},
                 {{0.7f, 0.6f, 0.4f, 1}, 151, 97, 0xaf6e69c653e55623ull},
                 {{0.2f, 0.5f, 0.5f, 0}, 600, 400, 0xc527e24037e5bc20ull}};
    for (const Case& c : cases) {
        Image dst = make(c.dw, c.dh, OX_BGR);
        ASSERT_EQ(run(c.p, photo.get(), dst.get()), 0);
        EXPECT_EQ(hashImage(dst.get()), c.hash) << c.p.amount << std::hex << " got 0x" << hashImage(dst.get());
    }
}

// Refusals and an abort leave dst as it was. The rows are polled before the
// crop and the destination are looked at: a set flag wins over every later
// refusal, but not over a source or destination of the wrong size or type.
TEST(LensDistortion, RefusalsAndAbortLeaveTheDestinationUntouched) {
    Image src = noise(40, 30, OX_BGR, OX_8U, 1), grey = noise(40, 30, OX_GRAY, OX_8U, 2);
    Image argb = noise(40, 30, OX_ARGB, OX_8U, 3), shifted = noise(40, 30, OX_BGR, OX_8U, 4);
    Image bgr = noise(40, 30, OX_BGR, OX_8U, 5), huge = noise(40, 30, OX_BGR, OX_8U, 6);
    Image narrow = noise(1, 30, OX_BGR, OX_8U, 7), wide = make(40, 30, OX_BGR, OX_16U);
    shifted->roi = {1, 0, 39, 30};  // the uncropped copy needs the ROI at the origin
    // The crop is resized into the destination's ROI: one far outside the
    // image is refused without a scratch of its size.
    huge->roi = {0, 0, 100000000, 100000000};
    const int32_t set = 1, clear = 0;
    struct Case {
        oxLensDistortionParams p;
        const oxImage* src;
        oxImage* dst;
        int32_t aborted, refused;  // codes with the flag set, and clear or absent
    } cases[] = {{{1e6f, 0.5f, 0.5f, 1}, src.get(), bgr.get(), 2, 1},  // empty rectangle
                 {{0.5f, 5.0f, 0.5f, 1}, src.get(), bgr.get(), 2, 1},  // rectangle off the image
                 {{0.5f, 0.5f, 0.5f, 1}, src.get(), grey.get(), 2, 1},   {{0.5f, 0.5f, 0.5f, 1}, argb.get(), bgr.get(), 2, 1},
                 {{0.5f, 0.5f, 0.5f, 1}, src.get(), huge.get(), 2, 1},   {{0.5f, 0.5f, 0.5f, 0}, src.get(), shifted.get(), 2, 1},
                 {{0.5f, 0.5f, 0.5f, 0}, src.get(), narrow.get(), 1, 1}, {{0.5f, 0.5f, 0.5f, 1}, narrow.get(), bgr.get(), 1, 1},
                 {{0.5f, 0.5f, 0.5f, 1}, wide.get(), bgr.get(), 1, 1},   {{0.5f, 0.5f, 0.5f, 1}, src.get(), bgr.get(), 2, 0},
                 {{0.5f, 0.5f, 0.5f, 0}, src.get(), bgr.get(), 2, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.p.amount << " " << c.p.cx << " crop " << c.p.crop);
        const uint64_t before = hashImage(c.dst);
        EXPECT_EQ(run(c.p, c.src, c.dst, &set), c.aborted);
        EXPECT_EQ(hashImage(c.dst), before);
        for (const int32_t* flag : {&clear, static_cast<const int32_t*>(nullptr)})
            if (c.refused) {
                EXPECT_EQ(run(c.p, c.src, c.dst, flag), c.refused);
                EXPECT_EQ(hashImage(c.dst), before);
            }
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
