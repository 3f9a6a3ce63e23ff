// The display controller.
#include "simulation/display.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace multilayer::simulation {
namespace {

// The two coefficient layers around a position, and how far the position is from the first
// (weight 0) to the second (weight 1). Held beyond the outer layers.
struct Interval {
  size_t lower;
  size_t upper;
  double weight;
};

Interval FindInterval(const std::vector<int32_t>& positions, int32_t position) {
  const auto above = std::upper_bound(positions.begin(), positions.end(), position);
  if (above == positions.begin()) {
    return {0, 0, 0.0};
  }
  const size_t upper = static_cast<size_t>(above - positions.begin());
  if (above == positions.end()) {
    return {upper - 1, upper - 1, 0.0};
  }
  const double step = *above - positions[upper - 1];
  return {upper - 1, upper, (position - positions[upper - 1]) / step};
}

}  // namespace

cv::Mat MakeGammaTable(int32_t levels, int32_t bits, double gamma) {
  assert(levels >= 2 && bits >= 1 && bits <= 31);
  cv::Mat table(3, levels, CV_32SC1);
  const double largest = std::ldexp(1.0, bits) - 1.0;
  for (int32_t level = 0; level < levels; ++level) {
    const double input = static_cast<double>(level) / (levels - 1);
    table.col(level).setTo(std::round(largest * std::pow(input, gamma)));
  }
  return table;
}

Controller::Controller(const cv::Mat& gamma_table, int32_t bit_width)
    : gamma_table_(gamma_table), bit_width_(bit_width) {
  assert(gamma_table.type() == CV_32SC1 && gamma_table.rows == 3 && gamma_table.cols > 0);
  assert(bit_width >= 16 && bit_width <= 24);
  const double table_bits = std::log2(Output(gamma_table.cols - 1));
  shift_ = static_cast<int32_t>(std::lround(table_bits)) - bit_width;
}

int32_t Controller::Output(int32_t level) const {
  assert(level >= 0 && level < gamma_table_.cols);
  return gamma_table_.at<int32_t>(0, level);
}

int32_t Controller::Position(int32_t level) const {
  return shift_ >= 0 ? Output(level) >> shift_ : Output(level) << -shift_;
}

float Controller::LinearNorm(int32_t level) const {
  return static_cast<float>(static_cast<double>(Output(level)) / Output(gamma_table_.cols - 1));
}

// The nearest drive that the bits hold, of a position that is wanted.
double Controller::Drive(double wanted) const {
  const double full_scale = std::ldexp(1.0, bit_width_) - 1.0;
  const double positive = wanted > 0.0 ? wanted : 0.0;  // not std::max: NaN becomes 0
  return std::round(std::min(positive, full_scale)) / full_scale;
}

cv::Mat Controller::Show(int32_t level, cv::Size size, const CoefficientStack& stack) const {
  const int32_t position = Position(level);
  if (stack.coefs.empty()) {
    return {size, CV_64FC1, cv::Scalar(Drive(position))};
  }
  assert(stack.coefs.size() == stack.positions.size() && stack.coefs[0].size() == size);
  const Interval interval = FindInterval(stack.positions, position);
  cv::Mat drive(size, CV_64FC1);
  for (int32_t row = 0; row < size.height; ++row) {
    const float* const lower = stack.coefs[interval.lower].ptr<float>(row);
    const float* const upper = stack.coefs[interval.upper].ptr<float>(row);
    double* const out = drive.ptr<double>(row);
    for (int32_t col = 0; col < size.width; ++col) {
      const double below = lower[col];
      const double coef = below + interval.weight * (upper[col] - below);
      out[col] = Drive(coef * position);
    }
  }
  return drive;
}

cv::Mat Controller::Mix(const std::array<int32_t, 3>& levels, cv::Size size, const ChromaCoeff& set,
                        size_t i) const {
  if (set.coef[i].empty()) {
    return {size, CV_64FC1, cv::Scalar(Drive(Position(levels[i])))};
  }
  assert(set.coef[i].size() == size);
  cv::Mat drive(size, CV_64FC1);
  for (int32_t row = 0; row < size.height; ++row) {
    double* const out = drive.ptr<double>(row);
    for (int32_t col = 0; col < size.width; ++col) {
      double wanted = 0.0;
      for (size_t o = 0; o < levels.size(); ++o) {
        const double share = set.coef[3 * o + i].at<float>(row, col);
        wanted += share * Position(levels[o]);
      }
      out[col] = Drive(wanted);
    }
  }
  return drive;
}

}  // namespace multilayer::simulation
