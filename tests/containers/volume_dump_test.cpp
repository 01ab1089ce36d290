#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <limits>

#include "containers/detail/volume_layout.hpp"
#include "support/test_support.hpp"

using ox::detail::SeparateVolumePtr;
using ox::detail::VolumePtr;

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

File fileWith(const std::vector<uint8_t>& bytes = {}) {
    File f(std::tmpfile(), &std::fclose);
    if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), f.get());
    std::rewind(f.get());
    return f;
}

std::vector<uint8_t> contents(FILE* f) {
    std::rewind(f);
    std::vector<uint8_t> bytes;
    for (int c; (c = std::fgetc(f)) != EOF;) bytes.push_back(static_cast<uint8_t>(c));
    std::rewind(f);
    return bytes;
}

// A dump header followed by `body` bytes of 0x5A.
std::vector<uint8_t> dump(int32_t type, int32_t w, int32_t h, int32_t d, size_t body) {
    const oxVolume32 header{type, d, w, h, 0, 0, {0, 0, 0, w, h, d}};
    std::vector<uint8_t> bytes(sizeof header + body, 0x5A);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

// A stream that cannot seek. The bytes fit in the pipe's buffer, so they
// are written at once and the writing end closed.
File pipeWith(const std::vector<uint8_t>& bytes) {
    int fds[2];
    EXPECT_EQ(pipe(fds), 0);
    EXPECT_EQ(write(fds[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(fds[1]);
    return File(fdopen(fds[0], "rb"), &std::fclose);
}

// Every field a load restores, and the plane headers it builds.
std::vector<int32_t> headerOf(const oxVolume* v) {
    std::vector<int32_t> fields{v->type,  v->depth, v->width,     v->height,      v->roi.x,
                                v->roi.y, v->roi.z, v->roi.width, v->roi.height, v->roi.depth};
    for (int32_t k = 0; k < v->depth; ++k)
        fields.insert(fields.end(), {v->planes[k]->width, v->planes[k]->height, v->planes[k]->type,
                                     v->planes[k]->encoding});
    return fields;
}

}  // namespace

// The ROI is stored as it is, never checked: distinct values show a swapped field.
TEST(VolumeDump, BothVariantsWriteAndReadTheSameFile) {
    for (int32_t type : {OX_8U, OX_16U, OX_32S, OX_32U, OX_32F, OX_64F}) {
        const int64_t plane = 3 * 2 * ox::detail::elementSize(type);
        VolumePtr a(oxVolumeCreateWithType(3, 2, 4, type));
        oxtest::Image noise = oxtest::noise(static_cast<int32_t>(plane * 4), 1, OX_GRAY, OX_8U, type);
        std::memcpy(a->data, noise->data, plane * 4);
        a->roi = {5, 6, 7, 8, 9, 11};
        File first = fileWith(), second = fileWith();
        ASSERT_EQ(oxVolumeDumpSave(a.get(), first.get()), 0);
        const std::vector<uint8_t> file = contents(first.get());
        const oxVolume32 header{type, 4, 3, 2, 0, 0, {5, 6, 7, 8, 9, 11}};
        std::vector<int32_t> fields{type, 4, 3, 2, 5, 6, 7, 8, 9, 11};
        for (int k = 0; k < 4; ++k) fields.insert(fields.end(), {3, 2, type, OX_GRAY});
        ASSERT_EQ(file.size(), 48 + plane * 4);
        EXPECT_EQ(std::memcmp(file.data(), &header, 48), 0) << type;

        SeparateVolumePtr s(oxVolumeDumpLoadWithSeparatePlanes(first.get()));
        ASSERT_TRUE(s) << type;
        EXPECT_TRUE(s->data == nullptr && headerOf(s.get()) == fields) << type;
        for (int k = 0; k < 4; ++k) EXPECT_EQ(std::memcmp(s->planes[k]->data, a->data + k * plane, plane), 0);
        ASSERT_EQ(oxVolumeDumpSaveWithSeparatePlanes(s.get(), second.get()), 0);
        EXPECT_EQ(contents(second.get()), file) << type;
        VolumePtr c(oxVolumeDumpLoad(second.get()));
        ASSERT_TRUE(c) << type;
        EXPECT_EQ(headerOf(c.get()), fields) << type;
        EXPECT_TRUE(c->planes[3]->data == c->data + 3 * plane && std::memcmp(c->data, a->data, plane * 4) == 0);
    }
}

TEST(VolumeDump, DepthZeroSavesOnlyWithSeparatePlanes) {
    VolumePtr v(oxVolumeCreate(3, 2, 0));
    File a = fileWith(), b = fileWith(), readOnly(std::fopen("/dev/null", "rb"), &std::fclose);
    EXPECT_EQ(oxVolumeDumpSave(v.get(), a.get()), -1);
    EXPECT_EQ(contents(a.get()).size(), 48u);
    EXPECT_EQ(oxVolumeDumpSaveWithSeparatePlanes(v.get(), b.get()), 0);
    EXPECT_EQ(oxVolumeDumpLoad(b.get()), nullptr);  // an empty body does not load
    std::rewind(b.get());
    SeparateVolumePtr s(oxVolumeDumpLoadWithSeparatePlanes(b.get()));
    EXPECT_TRUE(s && s->depth == 0);
    EXPECT_EQ(oxVolumeDumpSave(v.get(), readOnly.get()), -1);
}

TEST(VolumeDump, HostileFilesLoadAsNull) {
    constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
    std::vector<uint8_t> short47 = dump(OX_8U, 1, 1, 1, 1);
    short47.resize(47);
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
    } cases[] = {{"47 bytes", short47},
                 {"no body", dump(OX_8U, 2, 2, 2, 0)},
                 {"one byte short", dump(OX_8U, 2, 2, 2, 7)},
                 {"eight gigabytes promised", dump(OX_64F, 4096, 4096, 64, 100)},
                 {"negative width", dump(OX_8U, -3, 2, 2, 12)},
                 {"sizes overflow", dump(OX_16U, kMax, kMax, kMax, 64)},
                 {"count past int32", dump(OX_8U, 65536, 65536, 1, 64)},
                 {"unknown type", dump(7, 2, 2, 2, 8)},
                 {"depth far beyond the body", dump(OX_8U, 1, 1, kMax, 5)}};
    for (const Case& c : cases) {
        File f = fileWith(c.bytes);
        EXPECT_EQ(oxVolumeDumpLoad(f.get()), nullptr) << c.name;
        std::rewind(f.get());
        EXPECT_EQ(oxVolumeDumpLoadWithSeparatePlanes(f.get()), nullptr) << c.name;
    }
}

TEST(VolumeDump, StreamsWithoutLengthAreReadInGrowingPieces) {
    std::vector<uint8_t> good = dump(OX_8U, 100, 100, 4, 40000);  // more than the first piece
    good.back() = 7;
    const std::vector<uint8_t> huge = dump(OX_64F, 4096, 4096, 64, 100);
    for (auto load : {oxVolumeDumpLoad, oxVolumeDumpLoadWithSeparatePlanes}) {
        oxVolume* v = load(pipeWith(good).get());
        ASSERT_NE(v, nullptr);
        EXPECT_TRUE(v->planes[3]->data[9999] == 7 && v->planes[0]->data[0] == 0x5A);
        v->data ? oxVolumeRelease(&v) : oxVolumeReleaseWithSeparatePlanes(&v);
        EXPECT_EQ(load(pipeWith(huge).get()), nullptr);
    }
}
