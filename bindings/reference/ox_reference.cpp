// The effects called straight through the C interface, for the binding
// tests to compare against byte for byte:
//   ox_reference decode PHOTO OUT            raw B, G, R bytes; prints "width height"
//   ox_reference simplify IN OUT W H iterations rangeFactor saturation
//   ox_reference tiltshift IN OUT W H strength lens ax ay bx by
//   ox_reference enhance IN OUT W H steepness
// Floats are read with strtof (decimal or hexadecimal), so a binding that
// passes its float's shortest round-trip text hands over the same value.
// Prints the entry point's status; exits non-zero only on a usage or file
// error.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "YewWpfWrap.h"
#include "image_io.hpp"

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "ox_reference: %s\n", message.c_str());
    return 2;
}

bool readAll(const char* path, std::vector<uint8_t>& out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

bool writeAll(const char* path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "decode") == 0) {
        oxio::Picture picture;
        std::string error;
        if (!oxio::readPicture(argv[2], picture, error)) return fail(error);
        if (!writeAll(argv[3], picture.bgr)) return fail(std::string("cannot write ") + argv[3]);
        std::printf("%d %d\n", picture.width, picture.height);
        return 0;
    }
    struct Effect {
        const char* name;
        int floats;  // parameters after W H (simplify: one int, then two floats)
    };
    static const Effect effects[] = {{"simplify", 3}, {"tiltshift", 6}, {"enhance", 1}};
    for (const Effect& e : effects) {
        if (argc < 2 || std::strcmp(argv[1], e.name) != 0) continue;
        if (argc != 6 + e.floats) return fail(std::string("wrong argument count for ") + e.name);
        const int32_t width = std::atoi(argv[4]);
        const int32_t height = std::atoi(argv[5]);
        std::vector<uint8_t> src;
        if (!readAll(argv[2], src)) return fail(std::string("cannot read ") + argv[2]);
        if (width < 1 || height < 1 || src.size() != static_cast<size_t>(width) * height * 3)
            return fail("size does not match the input");
        std::vector<float> f;
        for (int i = 0; i < e.floats; ++i) f.push_back(std::strtof(argv[6 + i], nullptr));
        std::vector<uint8_t> dst(src.size());
        int32_t status = 0;
        if (e.floats == 3)
            status = oxYewSimplify(width, height, src.data(), dst.data(), std::atoi(argv[6]), f[1], f[2]);
        else if (e.floats == 6)
            status = oxYewTiltShift(width, height, src.data(), dst.data(), f[0], f[1], f[2], f[3], f[4], f[5]);
        else
            status = oxYewEnhance(width, height, src.data(), dst.data(), f[0]);
        if (!writeAll(argv[3], dst)) return fail(std::string("cannot write ") + argv[3]);
        std::printf("%d\n", status);
        return 0;
    }
    return fail("usage: decode PHOTO OUT | simplify|tiltshift|enhance IN OUT W H PARAMS...");
}
