// The rows of the comparison: for each hot path and effect, the library's
// call and OpenCV's nearest equivalent, prepared on the same input.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace oxcmp {

// One prepared row: inputs and both outputs allocated, so that a timed call
// does nothing but the work.
struct Case {
    std::function<int32_t()> ours;  // the library's call; returns its status
    std::function<void()> theirs;
    cv::Mat oursOut, theirsOut;  // what each side wrote, for the agreement figure
};

struct Row {
    std::string id;     // short name, matched by --filter and written to CSV
    std::string title;  // the pair, as the speed table names it
    double goal;        // the ratio ours / OpenCV to reach
    // Largest mean |ours - theirs| of the outputs (in the output's units)
    // for which the two sides still do the same job; the sides differ in
    // rounding, border handling and, for the bilateral filter, the window.
    double tolerance;
    // Prepares the row on `photo` (BGR), every size multiplied by `scale`.
    std::function<Case(const cv::Mat& photo, double scale)> make;
};

const std::vector<Row>& allRows();

// Mean absolute difference per channel value; infinity when the two differ
// in size or type.
double meanAbsDifference(const cv::Mat& a, const cv::Mat& b);

}  // namespace oxcmp
