// Golden outputs of the effects, one format for all: a table of cases (name,
// source, parameters, 64-bit hash of the whole output) in the effect's test,
// and reference data beside it in tests/data/golden/<effect>/: <case>.rows,
// one 32-bit hash per output row, and for small outputs <case>.ppm, the
// whole picture. A case whose hash changed names the first differing row,
// or with a stored picture the first differing pixel and both values.
// OX_GOLDEN_UPDATE=1 rewrites the reference data of every case whose hash
// matches its table, after an intended change of the table.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "support/photos.hpp"

namespace oxtest::golden {

// Noise of w x h, or a photograph, resized to w x h when w is not 0.
struct Source {
    const char* photo;
    int32_t w, h;
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

// Whole pictures are stored up to this size.
constexpr size_t kPictureBytes = 16 * 1024;
constexpr const char* kChannel[] = {"blue", "green", "red"};

inline Image resized(Image photo, const Source& s) {
    if (!s.w) return photo;
    Image img = make(s.w, s.h, OX_BGR);
    EXPECT_EQ(oxResize(photo.get(), img.get(), 0, nullptr), 0);
    return img;
}

inline std::vector<uint32_t> rowHashes(const uint8_t* px, int32_t w, int32_t h) {
    std::vector<uint32_t> rows;
    for (int32_t y = 0; y < h; ++y) {
        const uint64_t x = hashBytes(px + size_t(y) * w * 3, size_t(w) * 3);
        rows.push_back(uint32_t(x ^ (x >> 32)));
    }
    return rows;
}

inline std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Text of the .rows file, and the .ppm bytes (binary, RGB order) of `px`.
inline std::string rowsText(const std::vector<uint32_t>& rows) {
    std::string text;
    char line[16];
    for (uint32_t r : rows) text += (std::snprintf(line, sizeof line, "%08x\n", r), line);
    return text;
}
inline std::string ppm(const uint8_t* px, int32_t w, int32_t h) {
    std::string out = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
    for (size_t i = 0; i < size_t(w) * h * 3; i += 3) out += {char(px[i + 2]), char(px[i + 1]), char(px[i])};
    return out;
}

// Where `px` first departs from the stored reference.
inline std::string locate(const std::filesystem::path& base, const uint8_t* px, int32_t w, int32_t h) {
    const std::string picture = slurp(base.string() + ".ppm"), mine = ppm(px, w, h);
    if (picture.size() == mine.size()) {
        const size_t header = mine.size() - size_t(w) * h * 3;
        for (size_t i = header; i < mine.size(); ++i)
            if (picture[i] != mine[i]) {
                const size_t k = i - header;
                std::ostringstream os;
                os << "first differing pixel x " << k / 3 % w << ", y " << k / 3 / w << ", channel "
                   << kChannel[2 - k % 3] << ": got " << int(uint8_t(mine[i])) << ", expected "
                   << int(uint8_t(picture[i]));
                return os.str();
            }
    }
    const std::vector<uint32_t> rows = rowHashes(px, w, h);
    std::istringstream stored(slurp(base.string() + ".rows"));
    std::vector<uint32_t> want;
    for (std::string line; std::getline(stored, line);) want.push_back(uint32_t(std::stoul(line, nullptr, 16)));
    if (want.size() != rows.size()) return "no reference rows for " + std::to_string(h) + " rows in " + base.string();
    size_t first = rows.size(), count = 0;
    for (size_t y = 0; y < rows.size(); ++y)
        if (rows[y] != want[y]) first = std::min(first, y), ++count;
    if (!count) return "every row matches the stored reference: the table's hash is out of date";
    return "first differing row y " + std::to_string(first) + " of " + std::to_string(h) + " (" +
           std::to_string(count) + " rows differ)";
}

// Checks a w x h BGR output against the case's hash and its reference data.
inline void expect(const char* effect, const std::string& name, const uint8_t* px, int32_t w, int32_t h,
                   uint64_t want) {
    const std::filesystem::path base = std::filesystem::path(OX_TEST_DATA_DIR) / "golden" / effect / name;
    const uint64_t got = hashBytes(px, size_t(w) * h * 3);
    const bool small = size_t(w) * h * 3 <= kPictureBytes;
    if (got != want) {
        ADD_FAILURE() << effect << " case " << name << ": hash 0x" << std::hex << got << "ull, table 0x" << want
                      << "ull; " << locate(base, px, w, h);
        return;
    }
    const std::string rows = rowsText(rowHashes(px, w, h)), picture = small ? ppm(px, w, h) : "";
    if (const char* update = std::getenv("OX_GOLDEN_UPDATE"); update && *update && std::string(update) != "0") {
        std::filesystem::create_directories(base.parent_path());
        std::ofstream(base.string() + ".rows", std::ios::binary) << rows;
        if (small) std::ofstream(base.string() + ".ppm", std::ios::binary) << picture;
        return;
    }
    EXPECT_TRUE(slurp(base.string() + ".rows") == rows && (!small || slurp(base.string() + ".ppm") == picture))
        << effect << " case " << name << ": reference data in " << base.parent_path()
        << " missing or stale; rerun with OX_GOLDEN_UPDATE=1";
}

}  // namespace oxtest::golden

// Declares `var` holding the case's source picture (noise from `seed`), or
// ends the test as OX_LOAD_PHOTO does.
#define OX_GOLDEN_SOURCE(var, source, seed)                              \
    oxtest::Image var;                                                   \
    if ((source).photo) {                                                \
        OX_LOAD_PHOTO(photo_, (source).photo);                           \
        var = oxtest::golden::resized(std::move(photo_), (source));      \
    } else {                                                             \
        var = oxtest::noise((source).w, (source).h, OX_BGR, OX_8U, seed); \
    }
