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

// A header may declare any size over a few bytes of data: pictures larger
// than this are refused before their pixels are allocated.
constexpr uint64_t kDefaultMaxPixels = 100'000'000;

struct ReadLimits {
    uint64_t maxPixels = kDefaultMaxPixels;
    const char* raiseHint = nullptr;  // appended to the refusal, e.g. how to raise the limit
};

// Reads a PNG or JPEG file (8-bit or 16-bit grey, RGB, palette, with or
// without alpha): the format is told by the file's signature, whatever the
// extension. Samples are taken as stored (no gamma conversion); 16-bit
// samples are scaled to 8 bits. Returns false and a one-line message on
// any failure, including a declared size above the limit.
bool readPicture(const std::string& path, Picture& out, std::string& error, const ReadLimits& limits = {});

// Writes PNG or JPEG by the extension of `path`. The file is written under a
// temporary name (`path` + ".part") and renamed at the end, so a failure
// leaves no partial or empty output behind. `jpegQuality` is 1..100.
bool writePicture(const std::string& path, const Picture& picture, int jpegQuality, std::string& error);

// For a process that is being stopped by a signal: removes every temporary
// file that writePicture has open, in any thread, and keeps any further one
// from being created. Returns how many were removed. Never returns the lock
// it takes: the caller is expected to end the process right after.
size_t removePartialOutputsForExit();

}  // namespace oxio
