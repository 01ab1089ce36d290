// Inputs of the comparison: a photograph centre-cropped and resized to each
// size a row needs, and seeded random pixels.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace oxcmp {

// The sample photographs of `dir` (scripts/fetch-photos.sh), in the order
// they are tried: landscape ones first, as every row is 4:3.
std::vector<std::string> photoCandidates(const std::string& dir);

// The first readable file of `candidates` as 8-bit BGR; empty when none is.
// `used` receives the path that was read.
cv::Mat loadPhoto(const std::vector<std::string>& candidates, std::string& used);

// A picture-like stand-in (ramps, hard edges, mild grain) for a machine
// without photographs, so that the program still runs.
cv::Mat syntheticPhoto(cv::Size size);

// `photo` cut to the aspect ratio of `size` about its centre and resized to
// `size`: area averaging when it shrinks, bicubic when it grows.
cv::Mat photoAt(const cv::Mat& photo, cv::Size size);

// Uniform random BGR pixels from a fixed seed.
cv::Mat randomPixels(cv::Size size, uint64_t seed);

// `size` times `scale`, at least 1 x 1 (tests run the rows scaled down).
cv::Size scaled(cv::Size size, double scale);

}  // namespace oxcmp
