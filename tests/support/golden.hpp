// Golden outputs of the effects, one format for all: a table of cases (name,
// source, parameters, 64-bit hash of the whole BGR output) in the effect's
// test, and reference data in tests/data/golden/<effect>/: <case>.rows, one
// 32-bit hash per row, and for small outputs <case>.ppm, the whole picture.
// A changed case names its first differing row, or with a picture its first
// differing pixel and both values. After an intended change of a table,
// OX_GOLDEN_UPDATE=1 rewrites the data of the cases that match it.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>

#include "support/photos.hpp"

namespace oxtest::golden {

struct Source {
    const char* photo;  // null: noise of w x h
    int32_t w, h;       // a photograph is resized to w x h unless w is 0
};

template <class Params> struct Case {
    const char* name;
    Source source;
    Params params;
    uint64_t hash;
};

template <class Params> void PrintTo(const Case<Params>& c, std::ostream* os) { *os << c.name; }

struct CaseName {
    template <class Info> std::string operator()(const Info& info) const { return info.param.name; }
};

inline Image resized(Image photo, const Source& s) {
    if (!s.w) return photo;
    Image img = make(s.w, s.h, OX_BGR);
    EXPECT_EQ(oxResize(photo.get(), img.get(), 0, nullptr), 0);
    return img;
}

// The reference files' contents for a w x h output.
inline std::string rowsText(const uint8_t* px, int32_t w, int32_t h) {
    std::string text;
    char line[16];
    for (int32_t y = 0; y < h; ++y) {
        const uint64_t x = hashBytes(px + size_t(y) * w * 3, size_t(w) * 3);
        text += (std::snprintf(line, sizeof line, "%08x\n", uint32_t(x ^ (x >> 32))), line);
    }
    return text;
}
inline std::string ppm(const uint8_t* px, int32_t w, int32_t h) {
    if (size_t(w) * h * 3 > 16384) return {};  // pictures only of small outputs
    std::string out = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
    for (size_t i = 0; i < size_t(w) * h * 3; i += 3) out += {char(px[i + 2]), char(px[i + 1]), char(px[i])};
    return out;
}

// Where the output departs from the stored reference.
inline std::string locate(const std::string& base, const uint8_t* px, int32_t w, int32_t h) {
    const char* const channels[] = {"red", "green", "blue"};
    const std::string want = slurp(base + ".ppm"), got = ppm(px, w, h);
    const size_t body = got.size() - size_t(w) * h * 3;
    for (size_t i = body; !got.empty() && want.size() == got.size() && i < got.size(); ++i)
        if (want[i] != got[i])
            return "first differing pixel x " + std::to_string((i - body) / 3 % w) + ", y " +
                   std::to_string((i - body) / 3 / w) + ", channel " + channels[(i - body) % 3] + ": got " +
                   std::to_string(uint8_t(got[i])) + ", expected " + std::to_string(uint8_t(want[i]));
    const std::string rows = slurp(base + ".rows"), mine = rowsText(px, w, h);
    if (rows.size() != mine.size()) return "no reference rows in " + base + ".rows";
    int32_t first = -1, count = 0;
    for (size_t i = 0; i < mine.size(); i += 9)
        if (rows.compare(i, 9, mine, i, 9) != 0 && ++count == 1) first = int32_t(i / 9);
    if (!count) return "every row matches the reference: the table's hash is stale";
    return "first differing row y " + std::to_string(first) + " of " + std::to_string(h) + " (" +
           std::to_string(count) + " differ)";
}

// Checks a w x h BGR output against the case's hash and reference data.
inline void expect(const char* effect, const std::string& name, const uint8_t* px, int32_t w, int32_t h,
                   uint64_t hash) {
    const std::string base = std::string(OX_TEST_DATA_DIR) + "/golden/" + effect + "/" + name;
    if (const uint64_t got = hashBytes(px, size_t(w) * h * 3); got != hash) {
        ADD_FAILURE() << effect << " case " << name << ": hash 0x" << std::hex << got << "ull, table 0x" << hash
                      << "ull; " << locate(base, px, w, h);
        return;
    }
    const std::string rows = rowsText(px, w, h), picture = ppm(px, w, h);
    if (const char* update = std::getenv("OX_GOLDEN_UPDATE"); update && std::string(update) == "1") {
        std::filesystem::create_directories(std::filesystem::path(base).parent_path());
        std::ofstream(base + ".rows", std::ios::binary) << rows;
        if (!picture.empty()) std::ofstream(base + ".ppm", std::ios::binary) << picture;
    }
    EXPECT_TRUE(slurp(base + ".rows") == rows && slurp(base + ".ppm") == picture)
        << effect << " case " << name << ": reference data missing or stale in " << base
        << ".*; rerun with OX_GOLDEN_UPDATE=1";
}

}  // namespace oxtest::golden

// Declares `var` holding the case's source (noise from `seed`), or ends the
// test as OX_LOAD_PHOTO does.
#define OX_GOLDEN_SOURCE(var, source, seed)                               \
    oxtest::Image var;                                                    \
    if ((source).photo) {                                                 \
        OX_LOAD_PHOTO(photo_, (source).photo);                            \
        var = oxtest::golden::resized(std::move(photo_), (source));       \
    } else {                                                              \
        var = oxtest::noise((source).w, (source).h, OX_BGR, OX_8U, seed); \
    }
