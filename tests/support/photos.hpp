// Real photographs for golden tests, read through the tools' image I/O.
// Tests that need them skip when the photographs were not fetched
// (scripts/fetch-photos.sh; the test script always fetches them).
#pragma once

#include <filesystem>
#include <string>

#include "support/test_support.hpp"

#ifdef OX_HAVE_IMAGEIO
#include "image_io.hpp"
#endif

namespace oxtest {

// The photograph as an 8-bit OX_BGR image, or null when it is not there.
inline Image loadPhoto(const std::string& name) {
#ifdef OX_HAVE_IMAGEIO
    const std::filesystem::path path = std::filesystem::path(OX_PHOTO_DIR) / name;
    oxio::Picture picture;
    std::string error;
    if (!std::filesystem::exists(path) || !oxio::readPicture(path.string(), picture, error)) return nullptr;
    Image img = make(picture.width, picture.height, OX_BGR);
    std::memcpy(img->data, picture.bgr.data(), picture.bgr.size());
    return img;
#else
    (void)name;
    return nullptr;
#endif
}

}  // namespace oxtest

// Skips the current test when a photograph is missing.
#define OX_LOAD_PHOTO_OR_SKIP(var, name)                                         \
    oxtest::Image var = oxtest::loadPhoto(name);                                 \
    if (!var) GTEST_SKIP() << "photograph " << (name) << " not fetched"
