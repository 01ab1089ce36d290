#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

int32_t blur(int32_t rx, int32_t ry, const oxImage* src, oxImage* dst, const volatile int32_t* abortFlag = nullptr) {
    const oxBlurParams p{rx, ry};
    return oxBlurFilter(&p, src, dst, abortFlag);
}

}  // namespace

TEST(BoxBlur, ScratchSize) {
    EXPECT_EQ(oxBlurGetTempBufferSize(make(5, 3, OX_GRAY).get()), 0u);
    EXPECT_EQ(oxBlurGetTempBufferSize(make(5, 3, OX_RGBA).get()), 15u);
}

// The means are pinned below; here no pass to run, and lines too short.
TEST(BoxBlur, OneChannelWithoutAPassOrRoomForTheRadius) {
    struct Case {
        const char* name;
        int32_t w, h, rx, ry;
        std::vector<uint8_t> in, out;  // out empty: refused, dst untouched
    } cases[] = {
        {"no pass: nothing written", 2, 1, 0, 0, {9, 9}, {7, 7}},
        {"row not longer than radius", 2, 2, 2, 1, {1, 2, 3, 4}, {}},
        {"column not longer than radius", 3, 1, 1, 1, {1, 2, 3}, {}},
    };
    for (const Case& c : cases) {
        Image src = make(c.w, c.h, OX_GRAY), dst = make(c.w, c.h, OX_GRAY);
        std::copy(c.in.begin(), c.in.end(), src->data);
        std::fill_n(dst->data, c.in.size(), 7);
        EXPECT_EQ(blur(c.rx, c.ry, src.get(), dst.get()), c.out.empty() ? 1 : 0) << c.name;
        EXPECT_EQ(bytesOf(dst.get()), c.out.empty() ? std::vector<uint8_t>(c.in.size(), 7) : c.out) << c.name;
    }
}

TEST(BoxBlur, InPlaceMatchesSeparateAndIsPinned) {
    struct Case {
        int32_t w, h, rx, ry;
        uint64_t hash;
    } cases[] = {
        {31, 17, 3, 2, 3980179847469443135ull},
        {300, 150, 140, 130, 17021597894673110637ull},  // radii past the integer forms
        {70, 9, 0, 8, 2916653761747011462ull},        // column pass alone, reading src
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, OX_GRAY, OX_8U, 11), dst = make(c.w, c.h, OX_GRAY);
        ASSERT_EQ(blur(c.rx, c.ry, src.get(), dst.get()), 0);
        EXPECT_EQ(hashImage(dst.get()), c.hash) << c.w << "x" << c.h;
        ASSERT_EQ(blur(c.rx, c.ry, src.get(), src.get()), 0);
        EXPECT_EQ(bytesOf(src.get()), bytesOf(dst.get())) << c.w << "x" << c.h;
    }
}

// Refusals and a set abort flag leave the destination unwritten. An
// unknown type has element size 0 and so no pixels to read, whatever the
// radii; an invalid encoding describes no buffer for the one-channel form.
TEST(BoxBlur, RefusalsAndAbortLeaveDestinationUnwritten) {
    enum Form { kFilter = 1, kOpt = 2, kOneChannel = 4, kAll = 7 };
    const int32_t stop = 1;
    struct Side {
        int32_t w, h, encoding, type;
    };
    const Side grey{6, 4, OX_GRAY, OX_8U}, bgr{6, 4, OX_BGR, OX_8U}, unknown{20, 23, OX_GRAY, 1}, plane{20, 23, OX_GRAY, OX_8U};
    struct Case {
        const char* name;
        Side src, dst;
        oxBlurParams p;
        const volatile int32_t* flag;
        int forms;
        int32_t status;
    } cases[] = {
        {"abort, grey", grey, grey, {1, 1}, &stop, kFilter, 2},
        {"abort, colour", bgr, bgr, {1, 1}, &stop, kFilter, 2},
        {"grey into colour", grey, bgr, {1, 1}, nullptr, kFilter, 1},
        {"sizes differ", bgr, {5, 4, OX_BGR, OX_8U}, {1, 1}, nullptr, kFilter, 1},
        {"colour of 16 bits", {6, 4, OX_BGR, OX_16U}, {6, 4, OX_BGR, OX_16U}, {1, 1}, nullptr, kFilter, 1},
        {"unknown types", unknown, unknown, {1, 1}, nullptr, kAll, 1},
        {"unknown types, no pass", unknown, unknown, {0, 0}, nullptr, kAll, 1},
        {"unknown source", unknown, plane, {1, 1}, nullptr, kAll, 1},
        {"unknown source, no pass", unknown, plane, {0, 0}, nullptr, kAll, 1},
        {"unknown destination", plane, unknown, {1, 1}, nullptr, kAll, 1},
        {"unknown destination, no pass", plane, unknown, {0, 0}, nullptr, kAll, 1},
        {"one channel, source encoding above 4", {6, 4, 5, OX_8U}, grey, {1, 1}, nullptr, kOneChannel, 1},
        {"one channel, destination encoding negative", grey, {6, 4, -1, OX_8U}, {1, 0}, nullptr, kOneChannel, 1},
        {"one channel, no pass to run", {6, 4, 5, OX_8U}, {6, 4, 5, OX_8U}, {0, 0}, nullptr, kOneChannel, 1},
    };
    using Header = std::unique_ptr<oxImage, void (*)(oxImage*)>;
    auto header = [](const Side& s, uint8_t* pixels) {
        Header h(oxImageCreateHeaderWithType(s.w, s.h, s.encoding, s.type), [](oxImage* p) { oxImageReleaseHeader(&p); });
        h->data = pixels;
        return h;
    };
    constexpr int32_t kBytes = 20 * 23 * 4 * 8;  // room for every side's pixels
    for (const Case& c : cases)
        for (int form : {kFilter, kOpt, kOneChannel}) {
            if (!(c.forms & form)) continue;
            std::vector<uint8_t> in = bytesOf(noise(kBytes, 1, OX_GRAY, OX_8U, 3).get()), out(kBytes, 7), scratch(kBytes);
            Header src = header(c.src, in.data()), dst = header(c.dst, out.data());
            const int32_t status = form == kFilter ? oxBlurFilter(&c.p, src.get(), dst.get(), c.flag)
                                   : form == kOpt  ? oxBlurFilterOpt(&c.p, src.get(), dst.get(), c.flag, scratch.data())
                                                   : oxBlurFilter1C(&c.p, src.get(), dst.get(), c.flag);
            EXPECT_EQ(status, c.status) << c.name << ", form " << form;
            EXPECT_EQ(out, std::vector<uint8_t>(kBytes, 7)) << c.name << ", form " << form;
        }
}

// Whole outputs of every form the filter takes (grey and colour, mixed
// encodings, in place, a caller's scratch, ROIs smaller than the image), so
// that faster kernels cannot change a byte unnoticed. The destination starts
// as noise: bytes the filter must leave alone are part of the hash.
TEST(BoxBlur, PinnedOutputsOfEveryForm) {
    enum Form { kSeparate, kInPlace, kOptScratch, kSourceRoi, kDestRoi };
    struct Case {
        int32_t srcEnc, dstEnc, w, h, rx, ry;
        Form form;
        uint64_t hash;
    } cases[] = {
        {OX_GRAY, OX_GRAY, 1031, 5, 3, 3, kSeparate, 0x7151a2d40df2ef9full},
        {OX_GRAY, OX_GRAY, 33, 40, 7, 7, kInPlace, 0x999dd1d9a9694358ull},
        {OX_GRAY, OX_GRAY, 17, 9, 1, 4, kSeparate, 0x92af84d323c40e79ull},
        {OX_GRAY, OX_GRAY, 29, 12, 5, 0, kInPlace, 0xa152daa9a7430d95ull},
        {OX_BGR, OX_BGR, 1031, 4, 3, 3, kSeparate, 0x84064ee8fb5f9929ull},
        {OX_BGR, OX_BGR, 23, 19, 7, 2, kInPlace, 0x11a96dd32bc484deull},
        {OX_RGB, OX_RGB, 5, 7, 2, 3, kSeparate, 0xfb37cea0fe45c974ull},
        {OX_RGBA, OX_RGBA, 37, 11, 3, 1, kSeparate, 0xb6da35611bc082afull},
        {OX_ARGB, OX_ARGB, 21, 14, 1, 6, kInPlace, 0x33da3a0936ae4518ull},
        {OX_ARGB, OX_ARGB, 19, 8, 0, 3, kSeparate, 0x7fc10cd667a34dccull},
        {OX_BGR, OX_RGBA, 26, 9, 2, 2, kSeparate, 0x35b6754336e701aaull},
        {OX_RGBA, OX_BGR, 26, 9, 4, 1, kSeparate, 0x1833097339095531ull},
        {OX_BGR, OX_BGR, 31, 10, 3, 3, kOptScratch, 0xe4dd8ad714de5485ull},
        {OX_BGR, OX_BGR, 31, 10, 2, 2, kSourceRoi, 0x1175920615f4bcf4ull},
        {OX_RGBA, OX_RGBA, 31, 10, 2, 2, kDestRoi, 0x7f6be0da8ddda533ull},
        {OX_GRAY, OX_GRAY, 300, 7, 140, 3, kSeparate, 0x46e5fcda10c0495cull},  // radius past the integer forms
        {OX_RGBA, OX_BGR, 13, 6, 0, 0, kSeparate, 0xb96b99e2cfa23189ull},  // colour without a pass still copies channels 1-3
        {OX_BGR, OX_ARGB, 13, 6, 0, 0, kSeparate, 0xfcb3fcbbffb7fae3ull},
    };
    for (const Case& c : cases) {
        Image src = noise(c.w, c.h, c.srcEnc, OX_8U, static_cast<uint32_t>(c.w * 7 + c.h));
        Image dst = noise(c.w, c.h, c.dstEnc, OX_8U, 99);
        const oxBlurParams p{c.rx, c.ry};
        oxImage* out = c.form == kInPlace ? src.get() : dst.get();
        int32_t status = 0;
        if (c.form == kOptScratch) {
            std::vector<uint8_t> scratch(oxBlurGetTempBufferSize(src.get()), 0x5A);
            status = oxBlurFilterOpt(&p, src.get(), out, nullptr, scratch.data());
        } else {
            if (c.form == kSourceRoi) src->roi = {3, 2, c.w - 5, c.h - 4};
            if (c.form == kDestRoi) dst->roi = {0, 1, c.w, c.h - 1};
            status = oxBlurFilter(&p, src.get(), out, nullptr);
        }
        EXPECT_EQ(status, 0) << &c - cases;
        EXPECT_EQ(hashImage(out), c.hash) << &c - cases;
    }
}
