// A Gaussian is the product of its two axes: few exponentials, many products.
#include "simulation/spot.h"

#include <algorithm>
#include <cmath>

namespace multilayer::simulation {

Spot::Spot(double sigma) : sigma_(sigma), reach_(static_cast<int32_t>(std::ceil(3.0 * sigma))) {}

void Spot::Draw(const cv::Vec2f& place, float value, cv::Mat& image) {
  const int32_t left = FindShares(place[0], across_);
  const int32_t top = FindShares(place[1], down_);
  const int32_t size = 2 * reach_ + 1;
  for (int32_t row = std::max(0, -top); row < std::min(size, image.rows - top); ++row) {
    float* const pixels = image.ptr<float>(top + row);
    const float light = value * down_[static_cast<size_t>(row)];
    for (int32_t col = std::max(0, -left); col < std::min(size, image.cols - left); ++col) {
      pixels[left + col] += light * across_[static_cast<size_t>(col)];
    }
  }
}

int32_t Spot::FindShares(float centre, std::vector<float>& shares) const {
  const auto first = static_cast<int32_t>(std::lround(centre)) - reach_;
  shares.clear();
  float sum = 0.0F;
  for (int32_t i = 0; i <= 2 * reach_; ++i) {
    const double distance = (first + i - static_cast<double>(centre)) / sigma_;
    shares.push_back(static_cast<float>(std::exp(-0.5 * distance * distance)));
    sum += shares.back();
  }
  for (float& share : shares) {
    share /= sum;
  }
  return first;
}

}  // namespace multilayer::simulation
