// Real photographs for golden tests, read through the tools' image I/O
// (scripts/fetch-photos.sh puts them in build/photos). A test that needs a
// missing photograph skips and says why; with OX_REQUIRE_PHOTOS=1, which
// scripts/test.sh sets, it fails instead.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/test_support.hpp"

#ifdef OX_HAVE_IMAGEIO
#include "image_io.hpp"
#endif

namespace oxtest {

inline bool photosRequired() {
    const char* v = std::getenv("OX_REQUIRE_PHOTOS");
    return v && *v && std::string(v) != "0";
}

// Reads the photograph into `img` as an 8-bit OX_BGR image; on failure
// returns why it cannot be had.
inline std::string loadPhoto(const std::string& name, Image& img) {
#ifdef OX_HAVE_IMAGEIO
    const std::filesystem::path path = std::filesystem::path(OX_PHOTO_DIR) / name;
    if (!std::filesystem::exists(path))
        return "photograph " + path.string() + " is missing: run scripts/fetch-photos.sh";
    oxio::Picture picture;
    std::string error;
    if (!oxio::readPicture(path.string(), picture, error)) return "photograph " + name + " unreadable: " + error;
    img = make(picture.width, picture.height, OX_BGR);
    std::memcpy(img->data, picture.bgr.data(), picture.bgr.size());
    return {};
#else
    (void)name, (void)img;
    return "built without the tools' image I/O (libpng, libjpeg): no photograph can be read";
#endif
}

}  // namespace oxtest

// Declares `var` holding the photograph, or ends the test: a failure under
// OX_REQUIRE_PHOTOS, otherwise a skip with the reason.
#define OX_LOAD_PHOTO(var, name)                                                      \
    oxtest::Image var;                                                                \
    if (const std::string why_ = oxtest::loadPhoto(name, var); !why_.empty()) {       \
        if (oxtest::photosRequired()) FAIL() << why_ << " (OX_REQUIRE_PHOTOS is set)"; \
        GTEST_SKIP() << why_;                                                         \
    }
