// The tools' PNG and JPEG reader on any file: it refuses with a message or
// gives a picture whose pixel vector matches its size; a small picture
// written back as PNG reads back to the same pixels.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_support.hpp"
#include "image_io.hpp"

namespace {

// One in-memory file for every run, reached through its /proc path.
struct MemoryFile {
    int fd = memfd_create("picture", 0);
    std::string path = "/proc/self/fd/" + std::to_string(fd);
};

// A private folder for the written copies, removed when the run ends.
struct ScratchDir {
    std::string path;
    ScratchDir() {
        char pattern[] = "/tmp/oxfuzz-picture-XXXXXX";
        if (const char* dir = mkdtemp(pattern)) path = dir;
    }
    ~ScratchDir() {
        if (path.empty()) return;
        std::remove((path + "/again.png").c_str());
        rmdir(path.c_str());
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static MemoryFile file;
    static const ScratchDir scratch;
    const std::string& dir = scratch.path;
    OXFUZZ_CHECK(file.fd >= 0);
    OXFUZZ_CHECK(ftruncate(file.fd, 0) == 0 && pwrite(file.fd, data, size, 0) == static_cast<ssize_t>(size));

    oxio::Picture picture;
    std::string error;
    if (!oxio::readPicture(file.path, picture, error)) {
        OXFUZZ_CHECK(!error.empty());
        return 0;
    }
    OXFUZZ_CHECK(picture.width > 0 && picture.height > 0);
    OXFUZZ_CHECK(picture.bgr.size() == static_cast<size_t>(picture.width) * picture.height * 3);
    if (dir.empty() || picture.bgr.size() > 3 * 4096) return 0;

    const std::string png = dir + "/again.png";
    OXFUZZ_CHECK(oxio::writePicture(png, picture, 90, error));
    oxio::Picture again;
    OXFUZZ_CHECK(oxio::readPicture(png, again, error));
    OXFUZZ_CHECK(again.width == picture.width && again.height == picture.height && again.bgr == picture.bgr);
    return 0;
}
