// Writes the committed seed corpus of every fuzz target into
// <dir>/<target>/: valid files for the loaders and readers (made with the
// library's own savers and the tools' writer), deterministic noise for the
// targets that read parameters out of their bytes.
#include <png.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "image_io.hpp"
#include "ox_dump.h"
#include "ox_volume.h"

namespace fs = std::filesystem;

namespace {

uint32_t state = 12345;
uint8_t nextByte() {
    state = state * 1664525u + 1013904223u;
    return static_cast<uint8_t>(state >> 24);
}

void writeFile(const fs::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::vector<uint8_t> readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void noiseSeeds(const fs::path& dir) {
    fs::create_directories(dir);
    const size_t lengths[] = {16, 48, 120, 300, 700};
    for (size_t i = 0; i < std::size(lengths); ++i) {
        std::vector<uint8_t> bytes(lengths[i]);
        for (uint8_t& b : bytes) b = nextByte();
        writeFile(dir / ("noise-" + std::to_string(i)), bytes);
    }
}

void imageDumpSeeds(const fs::path& dir) {
    fs::create_directories(dir);
    struct Shape {
        int32_t w, h, encoding, type;
        oxRect roi;
        int32_t coi;
    };
    const Shape shapes[] = {{3, 2, OX_BGR, OX_8U, {0, 0, 3, 2}, 0},
                            {2, 2, OX_RGBA, OX_16U, {1, 0, 1, 2}, 4},
                            {1, 3, OX_GRAY, OX_64F, {0, 1, 1, 1}, 0},
                            {1, 1, OX_ARGB, OX_32F, {0, 0, 1, 1}, 2},
                            {4, 1, OX_RGB, OX_32U, {0, 0, 4, 1}, 1}};
    std::vector<uint8_t> all;
    for (size_t i = 0; i < std::size(shapes); ++i) {
        const Shape& s = shapes[i];
        oxImage* img = oxImageCreateWithType(s.w, s.h, s.encoding, s.type);
        if (!img) continue;
        int32_t step[3];
        oxImageExtractDerivedMembers(img, step);
        for (int32_t b = 0; b < step[1] * s.h; ++b) img->data[b] = nextByte();
        oxImageSetROI(img, &s.roi);
        oxImageSetCOI(img, s.coi);
        const fs::path path = dir / ("image-" + std::to_string(i) + ".dump");
        if (FILE* f = std::fopen(path.c_str(), "wb")) {
            oxImageDumpSave(img, f);
            std::fclose(f);
        }
        oxImageRelease(&img);
        const std::vector<uint8_t> bytes = readFile(path);
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    writeFile(dir / "several.dump", all);
    writeFile(dir / "truncated.dump", std::vector<uint8_t>(all.begin(), all.begin() + 50));
}

void volumeDumpSeeds(const fs::path& dir) {
    fs::create_directories(dir);
    struct Shape {
        int32_t w, h, d, type;
        oxBox roi;
    };
    const Shape shapes[] = {{2, 2, 2, OX_8U, {0, 0, 0, 2, 2, 2}},
                            {3, 1, 2, OX_64F, {1, 0, 1, 2, 1, 1}},
                            {2, 3, 1, OX_16U, {0, 1, 0, 2, 2, 1}},
                            {1, 2, 3, OX_32U, {0, 0, 0, 1, 2, 3}},
                            {2, 2, 0, OX_32F, {0, 0, 0, 2, 2, 0}}};
    for (size_t i = 0; i < std::size(shapes); ++i) {
        const Shape& s = shapes[i];
        oxVolume* v = oxVolumeCreateWithType(s.w, s.h, s.d, s.type);
        if (!v) continue;
        oxVolumeSetVal(v, 0.0);
        const size_t bytes = static_cast<size_t>(s.w) * s.h * s.d * (s.type == OX_8U ? 1 : s.type == OX_16U ? 2 : s.type == OX_64F ? 8 : 4);
        if (v->data)
            for (size_t b = 0; b < bytes; ++b) v->data[b] = nextByte();
        oxVolumeSetROI(v, &s.roi);
        const fs::path path = dir / ("volume-" + std::to_string(i) + ".dump");
        if (FILE* f = std::fopen(path.c_str(), "wb")) {
            if (s.d > 0)
                oxVolumeDumpSave(v, f);
            else
                oxVolumeDumpSaveWithSeparatePlanes(v, f);
            std::fclose(f);
        }
        oxVolumeRelease(&v);
    }
}

void pngSeed(const fs::path& path, int32_t w, int32_t h, png_uint_32 format, int channels) {
    std::vector<uint8_t> pixels(static_cast<size_t>(w) * h * channels);
    for (uint8_t& b : pixels) b = nextByte();
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(w);
    image.height = static_cast<png_uint_32>(h);
    image.format = format;
    png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr);
}

void pictureSeeds(const fs::path& dir) {
    fs::create_directories(dir);
    pngSeed(dir / "grey.png", 5, 3, PNG_FORMAT_GRAY, 1);
    pngSeed(dir / "rgba.png", 3, 4, PNG_FORMAT_RGBA, 4);
    pngSeed(dir / "rgb.png", 4, 2, PNG_FORMAT_RGB, 3);
    const int32_t sizes[][2] = {{8, 8}, {17, 5}};
    for (const auto& s : sizes) {
        oxio::Picture p;
        p.width = s[0];
        p.height = s[1];
        p.bgr.resize(static_cast<size_t>(s[0]) * s[1] * 3);
        for (uint8_t& b : p.bgr) b = nextByte();
        std::string error;
        oxio::writePicture((dir / ("noise-" + std::to_string(s[0]) + "x" + std::to_string(s[1]) + ".jpg")).string(), p,
                           75, error);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_DIR\n", argv[0]);
        return 2;
    }
    const fs::path root = argv[1];
    imageDumpSeeds(root / "image_dump");
    volumeDumpSeeds(root / "volume_dump");
    pictureSeeds(root / "picture_reader");
    for (const char* name : {"effects", "resize", "lens", "convert", "blur", "convolution", "bilateral", "bilateral3d"})
        noiseSeeds(root / name);
    return 0;
}
