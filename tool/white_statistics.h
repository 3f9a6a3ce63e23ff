// How even a white is in colour: the figures that verify prints of a balanced wall.
#pragma once

#include <array>

#include <opencv2/core/mat.hpp>

namespace multilayer::tool {

// Differences are distances in CIE 1976 u'v'. The eye sees 0.004 apart, and less along an edge.
struct WhiteEvenness {
  // Of an LED from the target.
  double mean = 0;
  double p95 = 0;
  double worst = 0;
  // Of an LED from the next one, to the right and below.
  double neighbour_mean = 0;
  double neighbour_p95 = 0;
  // Of the mean of a module, from the target and from that of any other module: the worst.
  double module_to_target = 0;
  double module_to_module = 0;
  // CIE Y: mean of the LEDs, and standard deviation / mean.
  double luminance = 0;
  double variation = 0;
};

// `xyz`: CV_64FC3, every LED of the screen, zeros for those that do not count. At least one must.
WhiteEvenness MeasureWhite(const cv::Mat& xyz, cv::Size module,
                           const std::array<double, 3>& target);

}  // namespace multilayer::tool
