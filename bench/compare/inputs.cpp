#include "inputs.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace oxcmp {

std::vector<std::string> photoCandidates(const std::string& dir) {
    std::vector<std::string> paths;
    for (const char* name : {"coffee.png", "astronaut.png", "rocket.jpg", "chelsea.png"}) paths.push_back(dir + "/" + name);
    return paths;
}

cv::Mat loadPhoto(const std::vector<std::string>& candidates, std::string& used) {
    for (const std::string& path : candidates) {
        cv::Mat img = cv::imread(path, cv::IMREAD_COLOR);
        if (!img.empty()) {
            used = path;
            return img;
        }
    }
    used.clear();
    return {};
}

cv::Mat syntheticPhoto(cv::Size size) {
    cv::Mat img(size, CV_8UC3);
    for (int y = 0; y < size.height; ++y) {
        auto* row = img.ptr<uint8_t>(y);
        for (int x = 0; x < size.width; ++x)
            for (int c = 0; c < 3; ++c)
                row[3 * x + c] = static_cast<uint8_t>(
                    (x / 8 + y / 6 + 60 * c + ((x / 256 + y / 192) % 2) * 70 + (x * 7 + y * 13) % 9) % 256);
    }
    return img;
}

cv::Mat photoAt(const cv::Mat& photo, cv::Size size) {
    // The largest rectangle of the target's aspect ratio inside the photo.
    const double aspect = static_cast<double>(size.width) / size.height;
    int cropW = photo.cols, cropH = static_cast<int>(std::lround(photo.cols / aspect));
    if (cropH > photo.rows) {
        cropH = photo.rows;
        cropW = std::min(photo.cols, static_cast<int>(std::lround(photo.rows * aspect)));
    }
    const cv::Rect crop((photo.cols - cropW) / 2, (photo.rows - cropH) / 2, cropW, cropH);
    const bool shrinks = size.width < cropW;
    cv::Mat out;
    cv::resize(photo(crop), out, size, 0, 0, shrinks ? cv::INTER_AREA : cv::INTER_CUBIC);
    return out;
}

cv::Mat randomPixels(cv::Size size, uint64_t seed) {
    cv::Mat img(size, CV_8UC3);
    cv::RNG rng(seed);
    rng.fill(img, cv::RNG::UNIFORM, 0, 256);
    return img;
}

cv::Size scaled(cv::Size size, double scale) {
    return {std::max(1, static_cast<int>(std::lround(size.width * scale))),
            std::max(1, static_cast<int>(std::lround(size.height * scale)))};
}

}  // namespace oxcmp
