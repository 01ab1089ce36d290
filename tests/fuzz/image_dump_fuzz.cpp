// Image dump files: whatever the bytes, a load either refuses or gives an
// image whose buffer holds every pixel its header promises; saving that
// image and loading it again gives the same record and the same bytes. The
// first 40 bytes also serve as the header of a record handed to the save.
#include <cstdint>
#include <cstring>

#include "fuzz_support.hpp"
#include "ox_dump.h"

using namespace oxfuzz;

namespace {

constexpr int64_t kMaxValues = INT32_MAX;

// Touches the first and the last byte the header promises, so that a
// buffer shorter than its header is reported where it is handed out.
void checkLoaded(const oxImage* img) {
    OXFUZZ_CHECK(img->width > 0 && img->height > 0);
    OXFUZZ_CHECK(channels(img->encoding) > 0 && elementBytes(img->type) > 0);
    const __int128 values = static_cast<__int128>(img->width) * img->height * channels(img->encoding);
    OXFUZZ_CHECK(values <= kMaxValues);
    const int64_t bytes = static_cast<int64_t>(values) * elementBytes(img->type);
    const volatile uint8_t* p = img->data;
    (void)p[0];
    (void)p[bytes - 1];
}

void roundTrip(const oxImage* img) {
    MemoryStream out;
    OXFUZZ_CHECK(out.file != nullptr);
    OXFUZZ_CHECK(oxImageDumpSave(img, out.file) == 0);
    Stream in = out.reader();
    oxImage* again = oxImageDumpLoad(in.get());
    OXFUZZ_CHECK(again != nullptr);
    OXFUZZ_CHECK(std::fgetc(in.get()) == EOF);  // the load took the whole dump
    OXFUZZ_CHECK(again->type == img->type && again->encoding == img->encoding);
    OXFUZZ_CHECK(again->width == img->width && again->height == img->height && again->coi == img->coi);
    OXFUZZ_CHECK(std::memcmp(&again->roi, &img->roi, sizeof img->roi) == 0);
    const int64_t bytes = imageBytes(img->width, img->height, img->encoding, img->type);
    OXFUZZ_CHECK(std::memcmp(again->data, img->data, static_cast<size_t>(bytes)) == 0);
    oxImageRelease(&again);
}

// A record with the fuzzed header over the rest of the input: the save must
// refuse a size no load could read back without reading a byte, and write
// one it can describe.
void saveRecord(const uint8_t* data, size_t size) {
    if (size < 40) return;
    int32_t h[10];
    std::memcpy(h, data, sizeof h);
    oxImage img{};
    img.type = h[0];
    img.encoding = h[1];
    img.height = h[2];
    img.width = h[3];
    img.roi = {h[5], h[6], h[7], h[8]};
    img.coi = h[9];
    std::vector<uint8_t> pixels(data + 40, data + size);
    img.data = pixels.data() == nullptr ? reinterpret_cast<uint8_t*>(&img) : pixels.data();
    const bool describable = img.width > 0 && img.height > 0 && channels(img.encoding) > 0 && elementBytes(img.type) > 0;
    const __int128 values = describable ? static_cast<__int128>(img.width) * img.height * channels(img.encoding) : 0;
    MemoryStream out;
    if (!describable || values > kMaxValues) {
        OXFUZZ_CHECK(oxImageDumpSave(&img, out.file) == -1);
        return;
    }
    if (static_cast<int64_t>(values) * elementBytes(img.type) > static_cast<int64_t>(pixels.size())) return;
    OXFUZZ_CHECK(oxImageDumpSave(&img, out.file) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Stream in = readStream(data, size);
    if (!in) return 0;
    // Several dumps may follow each other in one stream.
    for (int i = 0; i < 4; ++i) {
        oxImage* img = oxImageDumpLoad(in.get());
        if (!img) break;
        checkLoaded(img);
        roundTrip(img);
        oxImageRelease(&img);
    }
    saveRecord(data, size);
    return 0;
}
