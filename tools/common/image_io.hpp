// Reading and writing photographs for the command-line tools and the
// golden tests: PNG through libpng, JPEG through libjpeg-turbo, always as
// packed blue-green-red bytes, the layout the effect entry points take.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace oxio {

struct Picture {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> bgr;  // width * height * 3 bytes, rows packed
    bool droppedAlpha = false; // the file had an alpha channel, now gone
};

enum class Format { Unknown, Png, Jpeg };

// By extension (.png, .jpg, .jpeg, any case).
Format formatFromPath(const std::string& path);

// Reads a PNG or JPEG file (8-bit grey, RGB or RGBA), whatever its
// extension: the format is told by the file's signature. Returns false and a
// one-line message on any failure.
bool readPicture(const std::string& path, Picture& out, std::string& error);

// Writes PNG or JPEG by the extension of `path`. The file is written under a
// temporary name and renamed at the end, so a failure leaves no partial or
// empty output behind. `jpegQuality` is 1..100.
bool writePicture(const std::string& path, const Picture& picture, int jpegQuality, std::string& error);

}  // namespace oxio
