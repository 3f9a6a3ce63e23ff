// The part of the chroma fit that is the same for all LEDs: the colours that it reaches.
// docs/numerics.md, "Chroma fit", has the equations.
#pragma once

#include <opencv2/core/mat.hpp>

#include "multilayer/coeff/chroma_kernel.h"

namespace multilayer {

// Solves the twelve weighted equations for the nine unknowns in the least-squares sense. `targets`:
// 12 floats, (Y, x, y) of red, green, blue, white. `weights`: CV_32FC1, 4 x 3.
ReachedColours FitColours(const float* targets, const cv::Mat& weights);

}  // namespace multilayer
