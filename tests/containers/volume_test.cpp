#include <gtest/gtest.h>

#include <algorithm>

#include "containers/detail/volume_layout.hpp"
#include "support/test_support.hpp"

using ox::detail::SeparateVolumePtr;
using ox::detail::VolumeHeaderPtr;
using ox::detail::VolumePtr;

static bool allZero(const uint8_t* p, int64_t n) { return std::all_of(p, p + n, [](uint8_t b) { return b == 0; }); }

// Under the sanitizer the zero check of two planes also pins the buffer size.
TEST(VolumeCreate, ContiguousBuffersStridesAndRoi) {
    VolumePtr bgr(oxVolumeCreateWithEncoding(4, 3, 2, OX_BGR));
    const oxBox full{0, 0, 0, 4, 3, 2};
    struct Case {
        oxVolume* v;
        int32_t type, encoding;
        int64_t stride;
    } cases[] = {{oxVolumeCreate(4, 3, 2), OX_8U, OX_GRAY, 12},
                 {oxVolumeCreateWithType(4, 3, 2, OX_64F), OX_64F, OX_GRAY, 96},
                 {oxVolumeCreateWithEncoding(4, 3, 2, OX_BGR), OX_8U, OX_BGR, 36},
                 {oxVolumeCreateAs(bgr.get()), OX_8U, OX_GRAY, 12}};  // no channel factor
    for (const Case& c : cases) {
        VolumePtr v(c.v);
        ASSERT_TRUE(v) << c.stride;
        EXPECT_TRUE(v->type == c.type && v->planes[1]->encoding == c.encoding) << c.stride;
        EXPECT_TRUE(v->planes[0]->data == v->data && v->planes[1]->data == v->data + c.stride) << c.stride;
        EXPECT_TRUE(allZero(v->data, 2 * c.stride) && std::memcmp(&v->roi, &full, sizeof full) == 0) << c.stride;
    }
    VolumeHeaderPtr h(oxVolumeCreateHeaderWithTypeAndEncoding(2, 2, 3, OX_32F, OX_RGBA));
    EXPECT_TRUE(h->data == nullptr && h->planes[2]->data == nullptr && h->planes[2]->encoding == OX_RGBA);
    SeparateVolumePtr s(oxVolumeCreateWithTypeWithSeparatePlanes(3, 2, 2, OX_16U));
    EXPECT_TRUE(s->data == nullptr && allZero(s->planes[0]->data, 12) && allZero(s->planes[1]->data, 12));
}

// The sanitizer build's leak check fails this if an error path forgets the
// headers or plane buffers made before the failure.
TEST(VolumeCreate, ImpossibleSizesGiveNullAndLeaveNothingAllocated) {
    EXPECT_EQ(oxVolumeCreateWithSeparatePlanes(-1, 3, 2), nullptr);
    EXPECT_EQ(oxVolumeCreateWithTypeWithSeparatePlanes(3, -2, 4, OX_64F), nullptr);
    EXPECT_EQ(oxVolumeCreate(-4, 3, 2), nullptr);
    EXPECT_EQ(oxVolumeCreateWithEncoding(4, 3, 2, 9), nullptr);
    EXPECT_EQ(oxVolumeCreateWithType(1 << 30, 1 << 30, 1 << 10, OX_64F), nullptr);  // overflows int64
    EXPECT_EQ(oxVolumeCreateWithEncoding(1 << 30, 1 << 30, 1 << 10, OX_RGBA), nullptr);
    EXPECT_EQ(oxVolumeCreateWithTypeWithSeparatePlanes(1 << 20, 1 << 20, 1 << 20, OX_64F), nullptr);
    EXPECT_EQ(oxVolumeCreateHeader(4, 3, -1), nullptr);
}

TEST(VolumeRecord, AssignDataReleaseAndThe32BitForm) {
    VolumeHeaderPtr h(oxVolumeCreateHeaderWithEncoding(2, 2, 3, OX_ARGB)), none(oxVolumeCreateHeader(2, 2, 0));
    uint8_t buffer[48];
    EXPECT_EQ(oxVolumeAssignData(h.get(), buffer), 4);
    EXPECT_EQ(h->planes[2]->data, buffer + 32);
    EXPECT_EQ(oxVolumeAssignData(none.get(), buffer), 1);
    oxVolume* v = oxVolumeCreate(2, 2, 2);
    v->roi = {1, 2, 3, 4, 5, 6};
    oxVolume32 h32;
    oxVolume back;
    std::memset(&h32, 0xAB, sizeof h32);
    std::memset(&back, 0xAB, sizeof back);
    EXPECT_EQ(oxVolumeCvtTo32(v, &h32), v);
    EXPECT_TRUE(h32.data == 0 && h32.planes == 0 && h32.roi.z == 3 && h32.roi.depth == 6 && h32.height == 2);
    EXPECT_EQ(oxVolumeCvtFrom32(&h32, &back), &h32);
    EXPECT_TRUE(back.data == nullptr && back.planes == nullptr && back.roi.y == 2 && back.depth == 2);
    oxVolumeRelease(&v);
    EXPECT_EQ(v, nullptr);
    oxVolumeReleaseWithSeparatePlanes(&v);  // null is ignored
}
