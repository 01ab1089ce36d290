// The comparison program: each row's two sides must do the same job (else
// the ratio compares different work), OpenCV's lens map must be the
// library's mapping, and the ratio must be the median of per-round ratios.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "YewWpfWrap.h"
#include "inputs.hpp"
#include "opencv_effects.hpp"
#include "options.hpp"
#include "rows.hpp"
#include "stats.hpp"

namespace {

const cv::Mat& testPhoto() {
    static const cv::Mat photo = [] {
        std::string used;
        cv::Mat p = oxcmp::loadPhoto(oxcmp::photoCandidates(OX_PHOTO_DIR), used);
        return p.empty() ? oxcmp::syntheticPhoto({600, 400}) : p;
    }();
    return photo;
}

// Every row at a quarter of its size (the 4000 x 3000 effects still take
// their resized path at 1000 x 750): the library succeeds and the two
// outputs agree within the row's tolerance.
class RowAgreement : public ::testing::TestWithParam<size_t> {};

TEST_P(RowAgreement, BothSidesDoTheSameJob) {
    const oxcmp::Row& row = oxcmp::allRows()[GetParam()];
    oxcmp::Case c = row.make(testPhoto(), 0.25);
    ASSERT_EQ(c.ours(), 0) << row.id;
    c.theirs();
    EXPECT_LE(oxcmp::meanAbsDifference(c.oursOut, c.theirsOut), row.tolerance) << row.id;
}

INSTANTIATE_TEST_SUITE_P(Rows, RowAgreement, ::testing::Range<size_t>(0, oxcmp::allRows().size()),
                         [](const auto& info) {
                             std::string id = oxcmp::allRows()[info.param].id;
                             for (char& ch : id)
                                 if (ch == '-') ch = '_';
                             return id;
                         });

// OpenCV's undistortion map with focal length sqrt(w * h) and k1 = amount
// samples where the library does: the two images differ by the library's
// truncation, OpenCV's 1/32-pixel map and, without the crop, the blend with
// black at the edge of the defined region. An amount off by a tenth doubles
// the difference.
TEST(LensMap, OpenCVSamplesWhereTheLibraryDoes) {
    const cv::Mat src = oxcmp::photoAt(testPhoto(), {320, 240});
    struct Case {
        float amount, cx, cy;
        int crop;
        double tolerance;
    };
    for (const Case& k : {Case{0.2f, 0.5f, 0.5f, 0, 1.3}, Case{0.5f, 0.3f, 0.6f, 0, 1.3},
                          Case{-0.3f, 0.5f, 0.5f, 0, 1.3}, Case{0.2f, 0.5f, 0.5f, 1, 0.8},
                          Case{0.5f, 0.4f, 0.45f, 1, 0.8}}) {
        cv::Mat ours(src.size(), CV_8UC3), theirs(src.size(), CV_8UC3);
        oxImage* s = oxImageCreateHeader(src.cols, src.rows, OX_BGR);
        oxImage* d = oxImageCreateHeader(src.cols, src.rows, OX_BGR);
        s->data = src.data;
        d->data = ours.data;
        const oxLensDistortionParams params{k.amount, k.cx, k.cy, k.crop};
        const int32_t status = oxLensDistortionFilter(&params, s, d, nullptr);
        oxImageReleaseHeader(&s);
        oxImageReleaseHeader(&d);
        ASSERT_EQ(status, 0);
        oxcmp::lensOpenCV(src, theirs, k.amount, k.cx, k.cy, k.crop != 0);
        // One pixel of border aside, where the library leaves black what
        // OpenCV blends with black.
        const cv::Rect inner(1, 1, src.cols - 2, src.rows - 2);
        EXPECT_LE(oxcmp::meanAbsDifference(ours(inner), theirs(inner)), k.tolerance)
            << "amount " << k.amount << " centre " << k.cx << "," << k.cy << " crop " << k.crop;
    }
}

TEST(WorkingSize, LongerSideOf1024AndAboveIsResized) {
    struct Case {
        cv::Size image, working;
        bool resized;
    };
    for (const Case& k : {Case{{4000, 3000}, {1024, 768}, true}, Case{{1024, 500}, {1024, 500}, true},
                          Case{{3000, 4000}, {768, 1024}, true}, Case{{1000, 750}, {1024, 768}, false},
                          Case{{500, 400}, {1024, 819}, false}}) {
        const oxcmp::WorkingSize w = oxcmp::workingSize(k.image);
        EXPECT_EQ(w.size, k.working) << k.image;
        EXPECT_EQ(w.resized, k.resized) << k.image;
    }
}

TEST(BilateralSigmas, IntegerDivisionsAndRangeInLevels) {
    struct Case {
        cv::Size working;
        float rangeFactor;
        double space, range;
    };
    for (const Case& k : {Case{{1024, 768}, 0.01f, 7.0, double(0.01f * 28.0f)},
                          Case{{640, 480}, 1.25f, 4.0, double(1.25f * 17.0f)}, Case{{300, 200}, 0.1f, 1.0, double(0.1f * 7.0f)},
                          Case{{100, 100}, 1.0f, 0.0, 3.0}}) {
        const oxcmp::BilateralSigmas s = oxcmp::bilateralSigmas(k.working, k.rangeFactor);
        EXPECT_EQ(s.space, k.space) << k.working;
        EXPECT_EQ(s.range, k.range) << k.working;
        EXPECT_EQ(s.levels, k.range * 255.0) << k.working;
    }
}

// A photo in three vertical bands: cropping it to a square keeps only the
// middle one, and a wide target keeps the whole width.
TEST(PhotoAt, CropsAboutTheCentreToTheTargetAspect) {
    cv::Mat photo(400, 600, CV_8UC3, cv::Scalar(0, 255, 0));
    photo.colRange(0, 100).setTo(cv::Scalar(255, 0, 0));
    photo.colRange(500, 600).setTo(cv::Scalar(0, 0, 255));
    const cv::Mat square = oxcmp::photoAt(photo, {200, 200});
    ASSERT_EQ(square.size(), cv::Size(200, 200));
    cv::Mat planes[3];
    cv::split(square, planes);
    EXPECT_EQ(cv::countNonZero(planes[0]), 0);
    EXPECT_EQ(cv::countNonZero(planes[1] == 255), 200 * 200);
    EXPECT_EQ(cv::countNonZero(planes[2]), 0);
    const cv::Mat wide = oxcmp::photoAt(photo, {1200, 400});
    ASSERT_EQ(wide.size(), cv::Size(1200, 400));
    EXPECT_EQ(wide.at<cv::Vec3b>(200, 0), cv::Vec3b(255, 0, 0));
    EXPECT_EQ(wide.at<cv::Vec3b>(200, 1199), cv::Vec3b(0, 0, 255));
}

// Every round but the last finds ours twice as slow. The median times come
// from different rounds (11.5 / 6.75 = 1.7); the per-round ratios do not.
TEST(Summarise, MedianOfPerRoundRatios) {
    const oxcmp::Summary s = oxcmp::summarise({10, 11, 40, 12}, {5, 5.5, 20, 8});
    EXPECT_DOUBLE_EQ(s.ours, 11.5);
    EXPECT_DOUBLE_EQ(s.theirs, 6.75);
    EXPECT_DOUBLE_EQ(s.ratio, 2.0);
    EXPECT_DOUBLE_EQ(s.ratioQ1, 1.875);
    EXPECT_DOUBLE_EQ(s.ratioQ3, 2.0);
}

// --memory alone measures exactly the three effects at 4000 x 3000; an
// explicit filter wins, and a filter that selects nothing is an error.
TEST(Options, RowSelection) {
    const auto ids = [](const std::vector<std::string>& args) {
        oxcmp::Options o;
        EXPECT_EQ(oxcmp::parseOptions(args, o), oxcmp::Parsed::Run);
        std::vector<const oxcmp::Row*> rows;
        std::string error;
        std::vector<std::string> out;
        if (oxcmp::selectRows(o.filter, rows, error))
            for (const oxcmp::Row* r : rows) out.push_back(r->id);
        return out;
    };
    EXPECT_EQ(ids({"--memory"}), (std::vector<std::string>{"simplify-4000", "tiltshift-4000", "enhance-4000"}));
    EXPECT_EQ(ids({"--memory", "--filter", "enhance"}), (std::vector<std::string>{"enhance-1000", "enhance-4000"}));
    EXPECT_EQ(ids({}).size(), oxcmp::allRows().size());
    EXPECT_TRUE(ids({"--filter", "nothing"}).empty());
    EXPECT_TRUE(ids({"--filter", "("}).empty());
}

}  // namespace
