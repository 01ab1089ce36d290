// What each row calls, on each side:
//
//   copy        oxCopy, BGR to BGR                  memcpy of the buffer
//   grey        oxImageCvtColor, BGR to grey        cvtColor BGR2GRAY
//   invert      oxImageInvert, grey                 bitwise_not
//   fill        oxImageSetVal(77), grey             Mat::setTo(77)
//   to32f       oxImageCvtType, grey 8U to 32F      convertTo CV_32F, 1/255
//   boxblur     oxBlurFilter radius 3, grey         blur 7x7 (mirrored border)
//   resize-*    oxResize bilinear, BGR              resize INTER_LINEAR
//   gaussian    oxSeparableConvolutionFilter with   GaussianBlur 21x21, sigma
//               oxSepKernelGaussian(10), BGR        3.5, replicated border
//   bilateral   oxBilateralFilter, radius 1, one    bilateralFilter d=3, same
//               colour pass, random pixels          sigmas (range x 255)
//   simplify-*  oxYewSimplify(8, 0.01, 0.3)         simplifyOpenCV
//   tiltshift-* oxYewTiltShift(0.3, 0.2, (0.2,      tiltShiftOpenCV
//               0.4)-(0.8, 0.6))
//   enhance-*   oxYewEnhance(0.3)                   enhanceOpenCV
//
// Kernels, parameter records and the bilateral tables are made when the row
// is prepared, outside the timing; the effects make theirs inside, as a
// host's call does.
#include "rows.hpp"

#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <opencv2/imgproc.hpp>

#include "YewWpfWrap.h"
#include "inputs.hpp"
#include "opencv_effects.hpp"

namespace oxcmp {

namespace {

constexpr int32_t kBilinear = 0;  // oxResize mode

using Header = std::shared_ptr<oxImage>;

// An image header over a matrix's pixels; the matrix must outlive it.
Header wrap(const cv::Mat& m, int32_t encoding, int32_t type = OX_8U) {
    oxImage* h = oxImageCreateHeaderWithType(m.cols, m.rows, encoding, type);
    if (!h) throw std::bad_alloc();
    h->data = m.data;
    return Header(h, [](oxImage* p) { oxImageReleaseHeader(&p); });
}

const cv::Size k12MP{4000, 3000}, kWorking{1024, 768}, kSmall{1000, 750};

cv::Mat greyPhoto(const cv::Mat& photo, cv::Size size) {
    cv::Mat grey;
    cv::cvtColor(photoAt(photo, size), grey, cv::COLOR_BGR2GRAY);
    return grey;
}

Case copyBGR(const cv::Mat& photo, double scale) {
    const cv::Mat src = photoAt(photo, scaled(k12MP, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), src.type()), cv::Mat(src.size(), src.type())};
    const Header s = wrap(src, OX_BGR), d = wrap(c.oursOut, OX_BGR);
    c.ours = [=] { return oxCopy(s.get(), d.get()); };
    c.theirs = [src, out = c.theirsOut] { std::memcpy(out.data, src.data, src.total() * src.elemSize()); };
    return c;
}

Case bgrToGrey(const cv::Mat& photo, double scale) {
    const cv::Mat src = photoAt(photo, scaled(k12MP, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_8U), cv::Mat(src.size(), CV_8U)};
    const Header s = wrap(src, OX_BGR), d = wrap(c.oursOut, OX_GRAY);
    c.ours = [=] { return oxImageCvtColor(s.get(), d.get()); };
    c.theirs = [src, out = c.theirsOut]() mutable { cv::cvtColor(src, out, cv::COLOR_BGR2GRAY); };
    return c;
}

Case invertGrey(const cv::Mat& photo, double scale) {
    const cv::Mat src = greyPhoto(photo, scaled(k12MP, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_8U), cv::Mat(src.size(), CV_8U)};
    const Header s = wrap(src, OX_GRAY), d = wrap(c.oursOut, OX_GRAY);
    c.ours = [=] { return oxImageInvert(s.get(), d.get()); };
    c.theirs = [src, out = c.theirsOut]() mutable { cv::bitwise_not(src, out); };
    return c;
}

Case fillGrey(const cv::Mat&, double scale) {
    const cv::Size size = scaled(k12MP, scale);
    Case c{nullptr, nullptr, cv::Mat(size, CV_8U), cv::Mat(size, CV_8U)};
    const Header d = wrap(c.oursOut, OX_GRAY);
    c.ours = [=] {
        oxImageSetVal(d.get(), 77.0);
        return int32_t{0};
    };
    c.theirs = [out = c.theirsOut]() mutable { out.setTo(cv::Scalar(77)); };
    return c;
}

Case greyTo32F(const cv::Mat& photo, double scale) {
    const cv::Mat src = greyPhoto(photo, scaled(k12MP, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_32F), cv::Mat(src.size(), CV_32F)};
    const Header s = wrap(src, OX_GRAY), d = wrap(c.oursOut, OX_GRAY, OX_32F);
    c.ours = [=] { return oxImageCvtType(s.get(), d.get()); };
    c.theirs = [src, out = c.theirsOut]() mutable { src.convertTo(out, CV_32F, 1.0 / 255.0); };
    return c;
}

Case boxBlurGrey(const cv::Mat& photo, double scale) {
    const cv::Mat src = greyPhoto(photo, scaled(k12MP, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_8U), cv::Mat(src.size(), CV_8U)};
    const Header s = wrap(src, OX_GRAY), d = wrap(c.oursOut, OX_GRAY);
    c.ours = [=] {
        const oxBlurParams p{3, 3};
        return oxBlurFilter(&p, s.get(), d.get(), nullptr);
    };
    // BORDER_DEFAULT mirrors without repeating the edge, as the library does.
    c.theirs = [src, out = c.theirsOut]() mutable { cv::blur(src, out, {7, 7}); };
    return c;
}

Case resizeBGR(const cv::Mat& photo, cv::Size from, cv::Size to) {
    const cv::Mat src = photoAt(photo, from);
    Case c{nullptr, nullptr, cv::Mat(to, CV_8UC3), cv::Mat(to, CV_8UC3)};
    const Header s = wrap(src, OX_BGR), d = wrap(c.oursOut, OX_BGR);
    c.ours = [=] { return oxResize(s.get(), d.get(), kBilinear, nullptr); };
    c.theirs = [src, out = c.theirsOut]() mutable { cv::resize(src, out, out.size(), 0, 0, cv::INTER_LINEAR); };
    return c;
}

Case gaussianBGR(const cv::Mat& photo, double scale) {
    const cv::Mat src = photoAt(photo, scaled(kWorking, scale));
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_8UC3), cv::Mat(src.size(), CV_8UC3)};
    const Header s = wrap(src, OX_BGR), d = wrap(c.oursOut, OX_BGR);
    oxSepKernel* raw = oxSepKernelGaussian(10);  // sigma 0.3 * 9 + 0.8 = 3.5, edge repeated
    if (!raw) throw std::bad_alloc();
    const std::shared_ptr<oxSepKernel> kernel(raw, [](oxSepKernel* k) { oxSepKernelRelease(&k); });
    c.ours = [=] { return oxSeparableConvolutionFilter(s.get(), d.get(), kernel.get()); };
    c.theirs = [src, out = c.theirsOut]() mutable {
        cv::GaussianBlur(src, out, {21, 21}, 3.5, 3.5, cv::BORDER_REPLICATE);
    };
    return c;
}

Case bilateralPass(const cv::Mat&, double scale) {
    const cv::Mat src = randomPixels(scaled(kWorking, scale), 1);
    Case c{nullptr, nullptr, cv::Mat(src.size(), CV_8UC3), cv::Mat(src.size(), CV_8UC3)};
    const Header s = wrap(src, OX_BGR), d = wrap(c.oursOut, OX_BGR);
    // The sigmas Simplify derives for a 1024 x 768 working image with range
    // factor 0.01: space 7, range 0.28 (71.4 levels).
    const BilateralSigmas sigmas = bilateralSigmas(kWorking, 0.01f);
    oxBilateralParams* raw = oxBilateralParamsDefault();
    if (!raw) throw std::bad_alloc();
    const std::shared_ptr<oxBilateralParams> params(raw, [](oxBilateralParams* p) { oxBilateralParamsRelease(&p); });
    params->radius = 1;
    params->spaceSigma = sigmas.space;
    params->rangeSigma = sigmas.range;
    oxBilateralFilter(params.get(), s.get(), d.get());  // builds the range table for this sigma, untimed
    c.ours = [=] { return oxBilateralFilter(params.get(), s.get(), d.get()); };
    c.theirs = [=, out = c.theirsOut]() mutable { cv::bilateralFilter(src, out, 3, sigmas.levels, sigmas.space); };
    return c;
}

Case simplify(const cv::Mat& photo, cv::Size size) {
    const cv::Mat src = photoAt(photo, size);
    Case c{nullptr, nullptr, cv::Mat(size, CV_8UC3), cv::Mat(size, CV_8UC3)};
    const SimplifySettings s;
    c.ours = [=, out = c.oursOut] {
        return oxYewSimplify(src.cols, src.rows, src.data, out.data, s.iterations, s.rangeFactor, s.saturation);
    };
    c.theirs = [=, out = c.theirsOut]() mutable { simplifyOpenCV(src, out, s); };
    return c;
}

Case tiltShift(const cv::Mat& photo, cv::Size size) {
    const cv::Mat src = photoAt(photo, size);
    Case c{nullptr, nullptr, cv::Mat(size, CV_8UC3), cv::Mat(size, CV_8UC3)};
    const TiltShiftSettings s;
    c.ours = [=, out = c.oursOut] {
        return oxYewTiltShift(src.cols, src.rows, src.data, out.data, s.strength, s.lensAmount, s.ax, s.ay, s.bx, s.by);
    };
    c.theirs = [=, out = c.theirsOut]() mutable { tiltShiftOpenCV(src, out, s); };
    return c;
}

Case enhance(const cv::Mat& photo, cv::Size size) {
    const cv::Mat src = photoAt(photo, size);
    Case c{nullptr, nullptr, cv::Mat(size, CV_8UC3), cv::Mat(size, CV_8UC3)};
    const EnhanceSettings s;
    c.ours = [=, out = c.oursOut] { return oxYewEnhance(src.cols, src.rows, src.data, out.data, s.steepness); };
    c.theirs = [=, out = c.theirsOut]() mutable { enhanceOpenCV(src, out, s); };
    return c;
}

// A row on a photograph of `size` (scaled) for the effect `run`.
template <Case (*run)(const cv::Mat&, cv::Size)>
Case at(const cv::Mat& photo, double scale, cv::Size size) {
    return run(photo, scaled(size, scale));
}

}  // namespace

const std::vector<Row>& allRows() {
    static const std::vector<Row> rows = {
        {"copy", "copy BGR 4000x3000 vs memcpy", 1.05, 0.0, copyBGR},
        {"grey", "BGR to grey 4000x3000 vs cvtColor", 1.0, 0.01, bgrToGrey},
        {"invert", "invert grey 4000x3000 vs bitwise_not", 1.0, 0.0, invertGrey},
        {"fill", "fill grey 4000x3000 vs setTo", 1.0, 0.0, fillGrey},
        {"to32f", "8U to 32F grey 4000x3000 vs convertTo", 1.0, 1e-7, greyTo32F},
        {"boxblur", "box blur radius 3, grey 4000x3000, vs blur 7x7", 1.0, 1.2, boxBlurGrey},
        {"resize-down", "bilinear resize BGR 4000x3000 -> 1024x768 vs INTER_LINEAR", 1.2, 0.3,
         [](const cv::Mat& p, double s) { return resizeBGR(p, scaled(k12MP, s), scaled(kWorking, s)); }},
        {"resize-up", "bilinear resize BGR 1024x768 -> 4000x3000 vs INTER_LINEAR", 1.2, 0.3,
         [](const cv::Mat& p, double s) { return resizeBGR(p, scaled(kWorking, s), scaled(k12MP, s)); }},
        {"gaussian", "Gaussian radius 10, BGR 1024x768, vs GaussianBlur 21x21", 1.2, 0.7, gaussianBGR},
        {"bilateral", "one bilateral colour pass radius 1, BGR 1024x768 random, vs bilateralFilter d=3", 1.8, 16.0,
         bilateralPass},
        {"simplify-1000", "oxYewSimplify 1000x750 photo", 1.0, 8.0,
         [](const cv::Mat& p, double s) { return at<simplify>(p, s, kSmall); }},
        {"simplify-4000", "oxYewSimplify 4000x3000 photo", 1.0, 8.0,
         [](const cv::Mat& p, double s) { return at<simplify>(p, s, k12MP); }},
        {"tiltshift-1000", "oxYewTiltShift 1000x750 photo", 1.0, 1.5,
         [](const cv::Mat& p, double s) { return at<tiltShift>(p, s, kSmall); }},
        {"tiltshift-4000", "oxYewTiltShift 4000x3000 photo", 1.0, 1.5,
         [](const cv::Mat& p, double s) { return at<tiltShift>(p, s, k12MP); }},
        {"enhance-1000", "oxYewEnhance 1000x750 photo", 1.0, 1.0,
         [](const cv::Mat& p, double s) { return at<enhance>(p, s, kSmall); }},
        {"enhance-4000", "oxYewEnhance 4000x3000 photo", 1.0, 1.0,
         [](const cv::Mat& p, double s) { return at<enhance>(p, s, k12MP); }},
    };
    return rows;
}

double meanAbsDifference(const cv::Mat& a, const cv::Mat& b) {
    if (a.size() != b.size() || a.type() != b.type()) return std::numeric_limits<double>::infinity();
    if (a.empty()) return 0.0;
    return cv::norm(a, b, cv::NORM_L1) / static_cast<double>(a.total() * static_cast<size_t>(a.channels()));
}

}  // namespace oxcmp
