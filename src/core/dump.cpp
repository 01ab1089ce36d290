// Raw image dump: the record's fields as ten 32-bit words, then the pixels.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/detail/handles.hpp"
#include "core/detail/pixel_types.hpp"
#include "core/detail/size.hpp"
#include "core/detail/stream_read.hpp"
#include "ox_dump.h"

namespace {

using namespace ox::detail;

constexpr size_t kHeaderWords = 10;
constexpr size_t kHeaderBytes = kHeaderWords * sizeof(int32_t);
// Where the stream's length is unknown (a pipe), the buffer starts this
// large and doubles as data arrives, so a header that claims gigabytes
// cannot make us allocate them before they are there.
constexpr size_t kFirstChunk = size_t{1} << 20;

// Pixel bytes of a dump, or 0 when the header describes no pixels or a
// size the format cannot hold: the value count width * height * channels
// must fit in 32 bits, as every reader of these files forms it.
uint64_t pixelBytes(int32_t type, int32_t encoding, int32_t width, int32_t height) noexcept {
    if (!isKnownType(type) || width <= 0 || height <= 0) return 0;
    const Count values = checkedProduct({width, height, channelCount(encoding)});
    if (!values || *values > std::numeric_limits<int32_t>::max()) return 0;
    return sizeOrZero(checkedProduct({*values, elementSize(type)}));
}

}  // namespace

extern "C" {

OX_API int32_t oxImageDumpSave(const oxImage* image, FILE* stream) {
    if (image == nullptr || stream == nullptr || image->data == nullptr) return -1;
    const uint64_t bytes = pixelBytes(image->type, image->encoding, image->width, image->height);
    if (bytes == 0) return -1;
    // Word 4 stands where the record holds its buffer pointer and is always 0.
    const int32_t header[kHeaderWords] = {image->type,      image->encoding,  image->height,    image->width,
                                          0,                image->roi.x,     image->roi.y,     image->roi.width,
                                          image->roi.height, image->coi};
    if (std::fwrite(header, kHeaderBytes, 1, stream) != 1) return -1;
    if (std::fwrite(image->data, static_cast<size_t>(bytes), 1, stream) != 1) return -1;
    return 0;
}

OX_API oxImage* oxImageDumpLoad(FILE* stream) {
    if (stream == nullptr) return nullptr;
    int32_t h[kHeaderWords];
    if (std::fread(h, kHeaderBytes, 1, stream) != 1) return nullptr;
    const uint64_t bytes = pixelBytes(h[0], h[1], h[3], h[2]);
    if (bytes == 0) return nullptr;
    Buffer pixels = readExactly(stream, static_cast<size_t>(bytes), kFirstChunk);
    if (!pixels) return nullptr;
    ImagePtr image(allocateRecord<oxImage>());
    if (!image) return nullptr;
    image->type = h[0];
    image->encoding = h[1];
    image->height = h[2];
    image->width = h[3];
    image->roi = oxRect{h[5], h[6], h[7], h[8]};
    image->coi = h[9];
    image->data = pixels.release();
    return image.release();
}

}  // extern "C"
