// The arithmetic of the single-layer sets in its plain form, LED by LED: what the sets must equal
// bit for bit.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/coeff/coeff_set.h"

namespace multilayer {

// The luminance factors of one primary: CV_32FC1, the size of `measured`.
cv::Mat FactorsPlain(float full_scale, const cv::Mat& measured);

// Multiplies a plane of a set by that of another one, in place.
void MergePlain(const cv::Mat& factors, cv::Mat& plane);

// Blends the seam of two sets in both, as BlendSeam does, row by row of the target.
void BlendPlain(const SetView& source, const SetView& target, Lines lines, int64_t n,
                float divisor);

// Joins the sets, which are as AssembleSets accepts them, into `out`: its partition is set, and its
// planes are there.
void AssemblePlain(const std::vector<SetView>& sets, const std::vector<float>& neutral,
                   const SetView& out);

}  // namespace multilayer
