#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/test_support.hpp"

TEST(DepthBasedImage, GettersReadTheDescriptorAtCallTimeAndWrapKeepsTypeAndCoi) {
    oxFrameDescriptor d{OX_GRAY, 8, 5, 3};
    oxDepthBasedImage* h = oxDepthBasedImageCreateHeader(&d);
    ASSERT_NE(h, nullptr);
    d = {OX_RGB, 7, 480, 640};  // the handle keeps the descriptor's address, not a copy
    EXPECT_EQ(std::vector<int32_t>({oxDepthBasedImageGetEncoding(h), oxDepthBasedImageGetSequenceId(h),
                                    oxDepthBasedImageGetWidth(h), oxDepthBasedImageGetHeight(h)}),
              (std::vector<int32_t>{OX_RGB, 7, 640, 480}));
    h->data = static_cast<uint8_t*>(std::malloc(16));  // the handle owns it from here on
    oxImage* img = oxImageCreateHeaderWithType(2, 3, OX_GRAY, OX_32F);
    img->roi = {1, 1, 1, 1};
    img->coi = 3;
    oxDepthBasedImageSetImageWrap(h, img);
    EXPECT_EQ(std::vector<int32_t>({img->width, img->height, img->roi.x, img->roi.y, img->roi.width,
                                    img->roi.height, img->encoding, img->type, img->coi}),
              std::vector<int32_t>({640, 480, 0, 0, 640, 480, OX_RGB, OX_32F, 3}));
    EXPECT_EQ(img->data, h->data);
    oxImageReleaseHeader(&img);
    oxDepthBasedImageRelease(&h);  // frees data, or the sanitizer build reports a leak
    EXPECT_EQ(h, nullptr);
}

namespace {

// A host sequence of in-memory frames that logs every callback.
struct Host {
    std::vector<oxFrameDescriptor> frames{{OX_GRAY, 0, 1, 2}, {OX_BGR, 1, 2, 1}, {OX_GRAY, 2, 1, 1}};
    std::vector<std::vector<uint8_t>> pixels{{10, 11}, {20, 21, 22, 23, 24, 25}, {30}};
    std::string log;
};

int32_t load(void* user, int32_t i, oxDepthBasedImage* item) {
    auto* host = static_cast<Host*>(user);
    host->log += "L" + std::to_string(i);
    if (i == 2) return 7;
    *item = {&host->frames[i], nullptr, host->pixels[i].data()};
    return 0;
}
int32_t release(void* user, int32_t i, oxDepthBasedImage*) {
    static_cast<Host*>(user)->log += "R" + std::to_string(i);
    return 0;
}
int32_t store(void* user, int32_t i, const oxDepthBasedImage* item) {
    static_cast<Host*>(user)->log += "S" + std::to_string(i) + ":" + std::to_string(item->data[0]);
    return 0;
}

}  // namespace

TEST(DepthBasedImageSequence, LoadsOneItemAtATimeAndPassesFailuresUp) {
    Host host;
    oxDepthBasedImageSequence seq;
    EXPECT_EQ(oxDepthBasedImageSequenceInit(&seq, 3, nullptr, release, store, &host), 1);
    ASSERT_EQ(oxDepthBasedImageSequenceInit(&seq, 3, load, release, store, &host), 0);
    oxImage* img = oxImageCreateHeader(0, 0, OX_GRAY);
    EXPECT_EQ(oxDepthBasedImageSequenceWrapItem(&seq, img), 1);  // nothing loaded yet
    EXPECT_EQ(oxDepthBasedImageSequenceStoreItem(&seq), 1);
    struct Case {
        int32_t index, status;
        const char* log;
    } cases[] = {{0, 0, "L0"}, {1, 0, "L0R0L1"}, {-1, 1, "L0R0L1"}, {3, 1, "L0R0L1"}};
    for (const Case& c : cases) {
        EXPECT_EQ(oxDepthBasedImageSequenceLoadItem(&seq, c.index), c.status) << c.index;
        EXPECT_EQ(host.log, c.log) << c.index;
    }
    ASSERT_EQ(oxDepthBasedImageSequenceWrapItem(&seq, img), 0);
    EXPECT_EQ(std::vector<int32_t>({img->width, img->height, img->encoding}), std::vector<int32_t>({1, 2, OX_BGR}));
    img->data[0] = 99;
    EXPECT_EQ(oxDepthBasedImageSequenceStoreItem(&seq), 0);
    EXPECT_EQ(oxDepthBasedImageSequenceLoadItem(&seq, 2), 7);
    EXPECT_EQ(seq.current, -1);  // a failed load leaves nothing to release
    EXPECT_EQ(oxDepthBasedImageSequenceReleaseItem(&seq), 0);
    EXPECT_EQ(host.log, "L0R0L1S1:99R1L2");
    oxImageReleaseHeader(&img);
}
