// The three effects rebuilt from OpenCV's nearest operations, step for step
// as the library runs them, with the same parameters. They are what a user
// would otherwise write; they are not meant to reproduce the library's
// bytes (OpenCV rounds where the library truncates, its bilateral window is
// round, its colour distance is a sum of absolute differences).
#pragma once

#include <opencv2/core.hpp>

namespace oxcmp {

struct SimplifySettings {
    int iterations = 8;
    float rangeFactor = 0.01f;
    float saturation = 0.3f;
};

struct TiltShiftSettings {
    float strength = 0.3f;
    float lensAmount = 0.2f;
    float ax = 0.2f, ay = 0.4f, bx = 0.8f, by = 0.6f;
};

struct EnhanceSettings {
    float steepness = 0.3f;
};

// Working image of at most 1024 pixels on its longer side (equality resizes
// too), as both sides of the Simplify and Tilt-shift rows derive it.
struct WorkingSize {
    cv::Size size;
    bool resized;
};
WorkingSize workingSize(cv::Size image);

// The bilateral sigmas the library derives from a working image, with
// n = width + height: spatial n / 256 and range rangeFactor * (n / 64), both
// divisions on integers; `levels` is the range as OpenCV takes it, in
// intensity levels (the library's 1.0 is 255 levels).
struct BilateralSigmas {
    double space, range, levels;
};
BilateralSigmas bilateralSigmas(cv::Size working, float rangeFactor);

// Resize INTER_LINEAR to the working size, `iterations` bilateralFilter d=3
// passes alternating two buffers with the library's sigmas, resize back,
// luminance high boost (grey, blur 7x7, per-channel ratio capped at 2,
// gain 0.9), saturation times 2 * saturation + 1 through HSV.
void simplifyOpenCV(const cv::Mat& src, cv::Mat& dst, const SimplifySettings& s);

// Resize to the working size, GaussianBlur with the library's kernel (radius
// trunc(strength * 51.2), sigma 0.3 * (radius - 1) + 0.8, replicated
// border), resize back, per-pixel float blend through the elliptical
// weight, then the lens step: initUndistortRectifyMap + remap bilinear +
// resize of the valid rectangle.
void tiltShiftOpenCV(const cv::Mat& src, cv::Mat& dst, const TiltShiftSettings& s);

// Contrast: histogram of max(B, G, R), black and white points clipping 0.4 %
// and 0.9 % of the pixels, one LUT for the three channels. Transfer:
// brightness, blur 15x15, per-pixel gain from the library's curve.
void enhanceOpenCV(const cv::Mat& src, cv::Mat& dst, const EnhanceSettings& s);

// The lens step alone (without crop when `crop` is false), for the check
// that OpenCV's undistortion map is the library's mapping.
void lensOpenCV(const cv::Mat& src, cv::Mat& dst, float amount, float cx, float cy, bool crop);

}  // namespace oxcmp
