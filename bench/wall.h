// The data that all computations are measured on: a simulated wall as the simulated camera measures
// it, with the spreads, the noise and the dead LEDs of both. A part of 256 x 256 LEDs is simulated
// and repeated up to the size that is asked for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/color/chroma.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer::bench {

constexpr int32_t kCoefLayers = 10;
constexpr int32_t kBits = 16;
inline const std::vector<int32_t> kLevels = {32, 48, 64, 96, 128, 160, 192, 255};

// What the setters of an engine want, in the unit of the measurements.
struct Parameters {
  cv::Mat gamma_table;
  std::vector<double> ratios = {0.2, 0.2, 0.2};
  std::array<float, 9> rgb_to_y = {};    // full-scale luminances at 0, 3 and 6
  std::array<float, 9> rgb_to_xyz = {};  // X, Y, Z of the mean red, green and blue LED
  std::array<float, 3> white = {};       // the target: 0.95 of the mean white
};
const Parameters& WallParameters();

// `tile` over and over, as a continuous matrix of its own.
cv::Mat Repeat(const cv::Mat& tile, cv::Size size);

PartRecord PartOf(cv::Size size);

// CIE Y of one primary at one of kLevels, by its place. Only a complete record has `pos`.
LedMeter Measured(cv::Size size, size_t primary, size_t level);
LedMeter MeasuredComplete(cv::Size size, size_t primary, size_t level);

ChromaXYZ MeasuredWhite(cv::Size size);
std::array<ChromaXYZ, 3> MeasuredPrimaries(cv::Size size);

// An engine with the coefficients that Norm computes.
MultiLayerCoeff Calibrated(cv::Size size);

}  // namespace multilayer::bench
