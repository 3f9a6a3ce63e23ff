// The image of one LED: a spot of light on a few pixels.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

namespace multilayer::simulation {

// A round Gaussian, cut off beyond 3 sigma.
class Spot {
 public:
  explicit Spot(double sigma);  // pixels, above 0

  // Adds to the image (CV_32FC1) a spot at `place` (x, y; whole numbers are centres of pixels) whose
  // pixels sum to `value`. What falls outside is lost.
  void Draw(const cv::Vec2f& place, float value, cv::Mat& image);

 private:
  // Shares of sum 1 along one axis; returns the pixel of the first.
  int32_t FindShares(float centre, std::vector<float>& shares) const;

  double sigma_;
  int32_t reach_;              // pixels on either side of the nearest one
  std::vector<float> across_;  // kept from one spot to the next for their memory
  std::vector<float> down_;
};

}  // namespace multilayer::simulation
