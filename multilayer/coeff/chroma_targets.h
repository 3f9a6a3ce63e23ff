// The part of the chroma fit that is the same for all LEDs: the colours that it reaches.
// docs/numerics.md, "Chroma fit", has the equations.
#pragma once

#include <array>

#include <opencv2/core/mat.hpp>

namespace multilayer {

// What a corrected primary emits: CIE X and Y, and the sum X + Y + Z, in which chromaticities are
// linear.
struct ReachedColour {
  double X = 0.0;
  double Y = 0.0;
  double sum = 0.0;
};

struct ReachedColours {
  std::array<ReachedColour, 3> primaries;  // corrected red, green, blue
  // False if weights and targets leave a colour open: the equations have no single solution.
  bool determined = false;
};

// Solves the twelve weighted equations for the nine unknowns in the least-squares sense. `targets`:
// 12 floats, (Y, x, y) of red, green, blue, white. `weights`: CV_32FC1, 4 x 3.
ReachedColours FitColours(const float* targets, const cv::Mat& weights);

}  // namespace multilayer
