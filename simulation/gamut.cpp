// Shares of the primaries in a colour, LED by LED.
#include "simulation/gamut.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <vector>

#include <opencv2/core.hpp>

namespace multilayer::simulation {
namespace {

// Whether each primary of an LED gives a signal: CV_8UC1, not 0 where they do.
cv::Mat Alive(const MeasuredPrimaries& primaries) {
  return (primaries[0][1].state & primaries[1][1].state & primaries[2][1].state & LED_USABLE) != 0;
}

// Columns are the primaries of one LED.
cv::Matx33d MatrixOf(const MeasuredPrimaries& primaries, int row, int col) {
  cv::Matx33d matrix;
  for (int primary = 0; primary < 3; ++primary) {
    for (int plane = 0; plane < 3; ++plane) {
      const LedMeter& meter = primaries[static_cast<size_t>(primary)][static_cast<size_t>(plane)];
      matrix(plane, primary) = meter.chroma.at<float>(row, col);
    }
  }
  return matrix;
}

// X, Y, Z of sum 1.
cv::Vec3d Normed(const cv::Vec3d& colour) {
  return colour * (1.0 / (colour[0] + colour[1] + colour[2]));
}

}  // namespace

std::array<float, 9> MeanPrimaries(const MeasuredPrimaries& primaries) {
  const cv::Mat alive = Alive(primaries);
  std::array<float, 9> means = {};
  for (size_t i = 0; i < means.size(); ++i) {
    means[i] = static_cast<float>(cv::mean(primaries[i / 3][i % 3].chroma, alive)[0]);
  }
  return means;
}

std::array<float, 3> ReachableWhite(const MeasuredPrimaries& primaries, double x, double y,
                                    double missed) {
  const cv::Vec3d unit(x / y, 1.0, (1.0 - x - y) / y);
  const cv::Mat alive = Alive(primaries);
  std::vector<double> brightest;  // luminance at which the LED's largest gain is 1
  for (int row = 0; row < alive.rows; ++row) {
    for (int col = 0; col < alive.cols; ++col) {
      if (alive.at<uint8_t>(row, col) != 0) {
        const cv::Vec3d gains = MatrixOf(primaries, row, col).inv() * unit;
        brightest.push_back(1.0 / std::max({gains[0], gains[1], gains[2]}));
      }
    }
  }
  assert(!brightest.empty() && missed >= 0.0 && missed < 1.0);
  const double place = missed * static_cast<double>(brightest.size());
  const auto weakest = brightest.begin() + static_cast<std::ptrdiff_t>(place);
  std::nth_element(brightest.begin(), weakest, brightest.end());
  const cv::Vec3d white = unit * *weakest;
  return {static_cast<float>(white[0]), static_cast<float>(white[1]), static_cast<float>(white[2])};
}

CommonGamut::CommonGamut(const std::array<float, 9>& means, double x, double y)
    : white_(x, y, 1.0 - x - y), brightest_(std::numeric_limits<double>::infinity()) {
  for (size_t o = 0; o < means_.size(); ++o) {
    means_[o] = Normed({means[3 * o], means[3 * o + 1], means[3 * o + 2]});
  }
}

// Shares run along the line from mean to white in proportion, from `at_mean` to `at_white`. Those
// of the white are positive.
void CommonGamut::Add(const MeasuredPrimaries& primaries) {
  const cv::Mat alive = Alive(primaries);
  for (int row = 0; row < alive.rows; ++row) {
    for (int col = 0; col < alive.cols; ++col) {
      if (alive.at<uint8_t>(row, col) == 0) {
        continue;
      }
      const cv::Matx33d shares_of = MatrixOf(primaries, row, col).inv();
      const cv::Vec3d at_white = shares_of * white_;
      brightest_ = std::min(brightest_, 1.0 / std::max({at_white[0], at_white[1], at_white[2]}));
      for (size_t o = 0; o < means_.size(); ++o) {
        const cv::Vec3d at_mean = shares_of * means_[o];
        for (int i = 0; i < 3; ++i) {
          if (at_mean[i] < 0.0) {
            insets_[o] = std::max(insets_[o], at_mean[i] / (at_mean[i] - at_white[i]));
          }
        }
      }
    }
  }
}

bool CommonGamut::IsOpen() const {
  return brightest_ > 0.0 && brightest_ < std::numeric_limits<double>::infinity();
}

std::array<float, 12> CommonGamut::Targets() const {
  assert(IsOpen());
  std::array<cv::Vec3d, 4> colours;
  cv::Matx33d columns;
  for (int o = 0; o < 3; ++o) {
    const auto place = static_cast<size_t>(o);
    colours[place] = means_[place] * (1.0 - insets_[place]) + white_ * insets_[place];
    for (int plane = 0; plane < 3; ++plane) {
      columns(plane, o) = colours[place][plane];
    }
  }
  colours[3] = white_;
  const cv::Vec3d sums = columns.inv() * white_ * brightest_;  // X + Y + Z of each
  std::array<float, 12> targets = {};
  for (size_t o = 0; o < colours.size(); ++o) {
    const double sum = o < 3 ? sums[static_cast<int>(o)] : brightest_;
    targets[3 * o] = static_cast<float>(sum * colours[o][1]);
    targets[3 * o + 1] = static_cast<float>(colours[o][0]);
    targets[3 * o + 2] = static_cast<float>(colours[o][1]);
  }
  return targets;
}

}  // namespace multilayer::simulation
