#include "opencv_effects.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace oxcmp {

namespace {

constexpr int kMaxSize = 1024;

float clampPoint(float v) { return v < 0.01f ? 0.01f : (v > 0.99f ? 0.99f : v); }

cv::Mat brightness(const std::vector<cv::Mat>& ch) {
    cv::Mat br;
    cv::max(ch[0], ch[1], br);
    cv::max(br, ch[2], br);
    return br;
}

// Multiplies every channel of `img` by the one-channel float `gain`, the
// products saturated into bytes. Plane by plane: a three-channel float gain
// would cost OpenCV five times as much.
void applyGain(cv::Mat& img, const cv::Mat& gain) {
    std::vector<cv::Mat> ch;
    cv::split(img, ch);
    for (cv::Mat& plane : ch) cv::multiply(plane, gain, plane, 1.0, CV_8U);
    cv::merge(ch, img);
}

struct PointF {
    float x, y;
};

// The rectangle whose distorted image lies inside the picture, found as the
// library finds it: per corner, bisection between the corner and a point
// next to the centre until the mapped point is within a pixel of a corner.
cv::Rect validRectangle(int w, int h, float k, float x0, float y0) {
    const auto map = [&](PointF p) {
        const float dx = p.x - x0, dy = p.y - y0, f = k * (dx * dx + dy * dy);
        return PointF{p.x + dx * f, p.y + dy * f};
    };
    const auto nearCorner = [&](PointF m) {
        const bool xs = (m.x > -1 && m.x < 1) || (m.x > w - 2 && m.x < w);
        const bool ys = (m.y > -1 && m.y < 1) || (m.y > h - 2 && m.y < h);
        return xs && ys;
    };
    const auto outside = [&](PointF m) { return m.x < 0 || m.y < 0 || m.x > w - 1 || m.y > h - 1; };
    const auto search = [&](PointF outer, PointF inner) {
        PointF m = map(outer);
        for (int step = 0; step < 100 && !nearCorner(m); ++step) {
            const PointF mid{outer.x + (inner.x - outer.x) * 0.5f, outer.y + (inner.y - outer.y) * 0.5f};
            const PointF mm = map(mid);
            if (outside(mm)) {
                outer = mid;
                m = mm;
            } else {
                inner = mid;
            }
        }
        return outer;
    };
    const float r = static_cast<float>(w - 1), b = static_cast<float>(h - 1);
    const PointF tl = search({0, 0}, {x0 - 1, y0 - 1}), tr = search({r, 0}, {x0 + 1, y0 - 1});
    const PointF bl = search({0, b}, {x0 - 1, y0 + 1}), br = search({r, b}, {x0 + 1, y0 + 1});
    const int x = static_cast<int>(std::max(tl.x, bl.x)) + 2, y = static_cast<int>(std::max(tl.y, tr.y));
    cv::Rect rect(x, y, static_cast<int>(std::min(tr.x, br.x)) - x, static_cast<int>(std::min(bl.y, br.y)) - y);
    rect &= cv::Rect(0, 0, w, h);
    return rect.empty() ? cv::Rect(0, 0, w, h) : rect;
}

}  // namespace

WorkingSize workingSize(cv::Size image) {
    const float s = static_cast<float>(kMaxSize) / static_cast<float>(std::max(image.width, image.height));
    return {{static_cast<int>(s * static_cast<float>(image.width)), static_cast<int>(s * static_cast<float>(image.height))},
            s <= 1.0f};
}

BilateralSigmas bilateralSigmas(cv::Size working, float rangeFactor) {
    const int n = working.width + working.height;
    const double range = rangeFactor * static_cast<float>(n / 64);
    return {static_cast<double>(n / 256), range, range * 255.0};
}

void simplifyOpenCV(const cv::Mat& src, cv::Mat& dst, const SimplifySettings& s) {
    dst.create(src.size(), CV_8UC3);
    if (s.iterations < 1) {
        src.copyTo(dst);
        return;
    }
    const WorkingSize ws = workingSize(src.size());
    cv::Mat work = src;
    if (ws.resized) cv::resize(src, work, ws.size, 0, 0, cv::INTER_LINEAR);
    const BilateralSigmas sigmas = bilateralSigmas(work.size(), s.rangeFactor);
    // OpenCV cannot filter in place: the passes alternate two buffers, and
    // on the direct path the last one writes the destination.
    cv::Mat buffers[2];
    const cv::Mat* in = &work;
    for (int i = 0; i < s.iterations; ++i) {
        cv::Mat& out = (i == s.iterations - 1 && !ws.resized) ? dst : buffers[i & 1];
        cv::bilateralFilter(*in, out, 3, sigmas.levels, sigmas.space);
        in = &out;
    }
    if (ws.resized) cv::resize(*in, dst, src.size(), 0, 0, cv::INTER_LINEAR);

    // High boost: each channel times min(0.9 * grey / mean of grey, 2).
    cv::Mat grey, mean, ratio;
    cv::cvtColor(dst, grey, cv::COLOR_BGR2GRAY);
    cv::blur(grey, mean, {7, 7});
    cv::divide(grey, mean, ratio, 0.9, CV_32F);
    cv::min(ratio, 2.0, ratio);
    applyGain(dst, ratio);

    if (s.saturation > 0) {
        const float f = std::fma(2.0f, s.saturation, 1.0f);
        cv::Mat hsv;
        cv::cvtColor(dst, hsv, cv::COLOR_BGR2HSV);
        cv::multiply(hsv, cv::Scalar(1.0, f, 1.0), hsv);
        cv::cvtColor(hsv, dst, cv::COLOR_HSV2BGR);
    }
}

void lensOpenCV(const cv::Mat& src, cv::Mat& dst, float amount, float cx, float cy, bool crop) {
    const int w = src.cols, h = src.rows;
    const float x0 = cx * static_cast<float>(w), y0 = cy * static_cast<float>(h);
    // With the focal length sqrt(w * h) and k1 = amount, the undistortion
    // map samples p + (p - c) * amount * |p - c|^2 / (w * h): the library's
    // mapping.
    const double f = std::sqrt(static_cast<double>(w) * h);
    const cv::Matx33d camera(f, 0, x0, 0, f, y0, 0, 0, 1);
    const cv::Vec4d distortion(amount, 0, 0, 0);
    cv::Mat map1, map2, work;
    cv::initUndistortRectifyMap(camera, distortion, cv::noArray(), camera, src.size(), CV_16SC2, map1, map2);
    cv::remap(src, work, map1, map2, cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar());
    if (!crop) {
        dst = work;
        return;
    }
    const float k = amount / (static_cast<float>(w) * static_cast<float>(h));
    const cv::Size out = dst.empty() ? src.size() : dst.size();
    cv::resize(work(validRectangle(w, h, k, x0, y0)), dst, out, 0, 0, cv::INTER_LINEAR);
}

void tiltShiftOpenCV(const cv::Mat& src, cv::Mat& dst, const TiltShiftSettings& s) {
    const float ax = clampPoint(s.ax), ay = clampPoint(s.ay), bx = clampPoint(s.bx), by = clampPoint(s.by);
    const int w = src.cols, h = src.rows;
    cv::Mat current = src;
    if (static_cast<int>(s.strength * 51.2f) >= 1) {
        const int k = std::max(1, static_cast<int>(s.strength * (static_cast<float>(kMaxSize) / 20)));
        const double sigma = 0.3 * (k - 1) + 0.8;
        cv::Mat small, blurred;
        cv::resize(src, small, workingSize(src.size()).size, 0, 0, cv::INTER_LINEAR);
        cv::GaussianBlur(small, small, {2 * k + 1, 2 * k + 1}, sigma, sigma, cv::BORDER_REPLICATE);
        cv::resize(small, blurred, src.size(), 0, 0, cv::INTER_LINEAR);

        // The elliptical weight: 1 at the centre, 0 on and outside the
        // ellipse inscribed in three times the box spanned by the points,
        // with the library's integer centre and half axes.
        const float cx = (ax + bx) * 0.5f, cy = (ay + by) * 0.5f;
        const float ex = std::fabs(ax - bx) * 0.5f, ey = std::fabs(ay - by) * 0.5f;
        const int X0 = static_cast<int>((cx - 3 * ex) * w), X1 = static_cast<int>((cx + 3 * ex) * w);
        const int Y0 = static_cast<int>((cy - 3 * ey) * h), Y1 = static_cast<int>((cy + 3 * ey) * h);
        const float mx = static_cast<float>((X0 + X1) >> 1), rx = static_cast<float>((X1 - X0) >> 1);
        const float my = static_cast<float>((Y0 + Y1) >> 1), ry = static_cast<float>((Y1 - Y0) >> 1);
        cv::Mat weight(src.size(), CV_32F), rest;
        std::vector<float> dx2(static_cast<size_t>(w));
        for (int x = 0; x < w; ++x) {
            const float dx = (static_cast<float>(x) - mx) / rx;
            dx2[static_cast<size_t>(x)] = dx * dx;
        }
        for (int y = 0; y < h; ++y) {
            const float dy = (static_cast<float>(y) - my) / ry, dy2 = dy * dy;
            auto* row = weight.ptr<float>(y);
            for (int x = 0; x < w; ++x) row[x] = dx2[static_cast<size_t>(x)] + dy2;
        }
        cv::sqrt(weight, weight);
        cv::subtract(1.0, weight, weight);
        cv::max(weight, 0.0, weight);
        cv::subtract(1.0, weight, rest);
        cv::Mat blended;
        cv::blendLinear(src, blurred, weight, rest, blended);
        current = blended;
    }
    if (s.lensAmount == 0.0f) {
        current.copyTo(dst);
        return;
    }
    dst.create(src.size(), CV_8UC3);
    lensOpenCV(current, dst, s.lensAmount, (ax + bx) / 2, (ay + by) / 2, true);
}

void enhanceOpenCV(const cv::Mat& src, cv::Mat& dst, const EnhanceSettings& s) {
    // The image is kept as three planes from the start: the brightness needs
    // them, and applying one-channel tables and gains plane by plane is
    // OpenCV's fastest way.
    std::vector<cv::Mat> planes;
    cv::split(src, planes);

    // Contrast: black and white points from the brightness histogram.
    const cv::Mat br = brightness(planes);
    cv::Mat hist;
    const int channel = 0, bins = 256;
    const float range[] = {0, 256};
    const float* ranges[] = {range};
    cv::calcHist(&br, 1, &channel, cv::Mat(), hist, 1, &bins, ranges);
    const float pixels = static_cast<float>(src.rows) * static_cast<float>(src.cols);
    const float highCount = 9.0f * pixels / 1000, lowCount = pixels * 4.0f / 1000;
    int black = 255, white = 0;
    float sum = 0;
    for (int i = 0; i < 255; ++i)
        if ((sum += hist.at<float>(i)) > lowCount) {
            black = i;
            break;
        }
    sum = 0;
    for (int i = 255; i > 0; --i)
        if ((sum += hist.at<float>(i)) > highCount) {
            white = i;
            break;
        }
    const float scale = 255.0f / static_cast<float>(white - black);
    cv::Mat lut(1, 256, CV_8U);
    for (int i = 0; i < 256; ++i) {
        const float v = static_cast<float>(i - black) * scale;
        lut.at<uint8_t>(i) = !(v > 0) ? 0 : (v > 255 ? 255 : static_cast<uint8_t>(v));
    }
    for (cv::Mat& plane : planes) cv::LUT(plane, lut, plane);

    // Transfer: a gain per blurred brightness level from the inverse
    // logistic curve, strength 1.4 and radius 7 as the effect sets them.
    if (s.steepness > 0) {
        const cv::Mat br2 = brightness(planes);
        const float mean = static_cast<float>(cv::mean(br2)[0]);
        const float base = mean <= 70 ? -6.0f : (mean >= 150 ? -3.0f : (mean - 70) * 3 / 80 - 6);
        const float k = s.steepness, a = 1.4f * base;
        const float hi = 0.5f, lo = 1.0f / (std::exp(-k * a) + 1.0f), d = hi - lo;
        cv::Mat gainLut(1, 256, CV_32F);
        for (int level = 0; level < 256; ++level) {
            const float n = static_cast<float>(level + 1);
            const float y = n * 0.00390625f * d + lo;
            const float x = std::log(1.0f / y - 1.0f) * (-1.0f / k);
            gainLut.at<float>(level) = (x - a) / (0 - a) * 256 / n;
        }
        cv::Mat blurred, gain;
        cv::blur(br2, blurred, {15, 15});
        cv::LUT(blurred, gainLut, gain);
        for (cv::Mat& plane : planes) cv::multiply(plane, gain, plane, 1.0, CV_8U);
    }
    cv::merge(planes, dst);
}

}  // namespace oxcmp
