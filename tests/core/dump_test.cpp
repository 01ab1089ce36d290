#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <thread>

#include "support/test_support.hpp"

using namespace oxtest;

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;
File open(const std::filesystem::path& p, const char* mode) { return File(std::fopen(p.c_str(), mode), &std::fclose); }
Image load(FILE* f) { return Image(oxImageDumpLoad(f)); }

void expectSameImage(const oxImage* a, const oxImage* b) {
    EXPECT_EQ(std::memcmp(a, b, offsetof(oxImage, data)), 0);
    EXPECT_EQ(std::memcmp(&a->roi, &b->roi, sizeof(oxRect)), 0);
    EXPECT_EQ(a->coi, b->coi);
    EXPECT_EQ(bytesOf(a), bytesOf(b));
}

}  // namespace

TEST(ImageDump, LayoutAndConsecutiveDumpsInOneStream) {
    TempDir dir;
    Image a = noise(3, 2, OX_BGR, OX_8U, 1), b = noise(5, 3, OX_RGBA, OX_64F, 2);
    a->roi = {1, 0, 2, 2};
    a->coi = 2;
    {
        File f = open(dir.path() / "two", "wb");
        ASSERT_EQ(oxImageDumpSave(a.get(), f.get()), 0);
        EXPECT_EQ(std::ftell(f.get()), 58);
        ASSERT_EQ(oxImageDumpSave(b.get(), f.get()), 0);
        b->type = 9;  // nothing to write: not even a header
        EXPECT_EQ(oxImageDumpSave(b.get(), f.get()), -1);
        b->type = OX_64F;
    }
    File f = open(dir.path() / "two", "rb");
    int32_t header[10];
    ASSERT_EQ(std::fread(header, sizeof header, 1, f.get()), 1u);
    EXPECT_EQ(std::vector<int32_t>(header, header + 10), (std::vector<int32_t>{OX_8U, OX_BGR, 2, 3, 0, 1, 0, 2, 2, 2}));
    std::rewind(f.get());
    Image first = load(f.get()), second = load(f.get());
    ASSERT_TRUE(first && second);
    expectSameImage(a.get(), first.get());
    expectSameImage(b.get(), second.get());
    EXPECT_FALSE(load(f.get()));
    EXPECT_EQ(oxImageDumpSave(a.get(), f.get()), -1);  // a read-only stream
}

TEST(ImageDump, HostileFilesLoadAsNull) {
    struct Case {
        const char* name;
        int32_t type, encoding, height, width;
        size_t fileBytes;  // the file is cut, or padded with zeros, to this length
    } cases[] = {
        {"empty", OX_8U, OX_BGR, 2, 3, 0},           {"39 bytes", OX_8U, OX_BGR, 2, 3, 39},
        {"pixels cut short", OX_8U, OX_BGR, 2, 3, 57}, {"unknown type", 7, OX_BGR, 2, 3, 1000},
        {"encoding 5", OX_8U, 5, 2, 3, 1000},        {"encoding -1", OX_8U, -1, 2, 3, 1000},
        {"no rows", OX_8U, OX_BGR, 0, 3, 1000},      {"negative sizes", OX_8U, OX_GRAY, -2, -3, 1000},
        {"count 2^32 wraps to zero", OX_8U, OX_GRAY, 65536, 65536, 1000},
        {"count wraps negative", OX_8U, OX_BGR, 50000, 50000, 1000},
        {"gigabytes announced", OX_64F, OX_GRAY, 40000, 40000, 1000},
        // width * height * channels wraps past int64 and times 2 back to 32 bytes
        {"72 bytes, byte count wraps twice", OX_16U, OX_RGBA, 1263665316, 1824726041, 72},
    };
    TempDir dir;
    for (const Case& c : cases) {
        std::vector<uint8_t> bytes(std::max<size_t>(c.fileBytes, 40));
        const int32_t header[10] = {c.type, c.encoding, c.height, c.width, 0, 0, 0, c.width, c.height, 0};
        std::memcpy(bytes.data(), header, sizeof header);
        bytes.resize(c.fileBytes);
        std::fwrite(bytes.data(), 1, bytes.size(), open(dir.path() / c.name, "wb").get());
        EXPECT_FALSE(load(open(dir.path() / c.name, "rb").get())) << c.name;
    }
}

TEST(ImageDump, SaveRefusesSizesNoBufferCanHaveAndWritesNothing) {
    const int32_t sizes[][4] = {{2147483647, 2147483647, OX_BGR, OX_8U},
                                {1824726041, 1263665316, OX_RGBA, OX_16U},
                                {2147483647, 2147483647, OX_GRAY, OX_64F}};
    uint8_t pixels[64] = {};
    TempDir dir;
    File f = open(dir.path() / "refused", "wb");
    for (const auto& s : sizes) {
        oxImage* h = oxImageCreateHeaderWithType(s[0], s[1], s[2], s[3]);
        h->data = pixels;
        EXPECT_EQ(oxImageDumpSave(h, f.get()), -1) << s[0] << "x" << s[1];
        oxImageReleaseHeader(&h);
    }
    EXPECT_EQ(std::ftell(f.get()), 0);
}

// A pipe cannot tell its length: the loader grows its buffer as bytes come
// and gives up at the end of the stream.
TEST(ImageDump, LoadsFromStreamsThatCannotSeek) {
    Image img = noise(1500, 700, OX_BGR, OX_8U, 4);  // more than the first read chunk
    for (bool complete : {true, false}) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        File in(fdopen(fds[0], "rb"), &std::fclose), out(fdopen(fds[1], "wb"), &std::fclose);
        std::thread writer([&] {
            const int32_t gigabytes[10] = {OX_64F, OX_GRAY, 40000, 40000, 0, 0, 0, 1, 1, 0};
            if (complete) oxImageDumpSave(img.get(), out.get());
            else if (std::fwrite(gigabytes, sizeof gigabytes, 1, out.get()) == 1) std::fwrite(img->data, 1, 3 << 20, out.get());
            out.reset();
        });
        Image back = load(in.get());
        char rest[4096];
        while (std::fread(rest, 1, sizeof rest, in.get()) > 0) {  // lets the writer finish whatever happened
        }
        writer.join();
        EXPECT_EQ(bool(back), complete);
        if (back) expectSameImage(img.get(), back.get());
    }
}
