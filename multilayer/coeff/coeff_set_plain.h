// The arithmetic of the single-layer sets in its plain form, LED by LED: what the sets must equal
// bit for bit.
#pragma once

#include <opencv2/core/mat.hpp>

namespace multilayer {

// The luminance factors of one primary: CV_32FC1, the size of `measured`.
cv::Mat FactorsPlain(float full_scale, const cv::Mat& measured);

// Multiplies a plane of a set by that of another one, in place.
void MergePlain(const cv::Mat& factors, cv::Mat& plane);

}  // namespace multilayer
