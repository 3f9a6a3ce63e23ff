// Bundles of the three tristimulus planes of one measured colour.
#pragma once

#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/meter/led_meter.h"

namespace multilayer {

// Luminance and chromaticity of every LED: three CV_32FC1 planes of equal size.
struct ChromaLxy {
  cv::Mat_<float> L;  // the Y plane, cd/m^2
  cv::Mat_<float> x;  // X / (X + Y + Z)
  cv::Mat_<float> y;  // Y / (X + Y + Z)

  // As ChromaXYZ::Combine, then the chromaticity of every LED. An LED whose three values sum to
  // zero gets the NaN or infinity of the division.
  int32_t Combine(const LedMeter* meter_x, const LedMeter* meter_y, const LedMeter* meter_z);
};

// CIE X, Y and Z of every LED: three CV_32FC1 planes of equal size.
struct ChromaXYZ {
  cv::Mat_<float> X;
  cv::Mat_<float> Y;
  cv::Mat_<float> Z;

  // Takes the chroma planes of three measurements of one colour, equal size and different types
  // CIE_X, CIE_Y, CIE_Z; the planes are shared, not copied, and stay valid after the measurements
  // are gone. For red (COLOR_RED), `meter_z` may be null: its Z stimulus is negligible and becomes
  // a new plane of zeros. The caller gives the three in the order X, Y, Z.
  // Returns 0; 1 null measurement; 12 empty chroma; 9 otherwise, each after one log line. On
  // failure the bundle is as it was.
  int32_t Combine(const LedMeter* meter_x, const LedMeter* meter_y, const LedMeter* meter_z);

  // Chromaticity of every LED; L shares Y, x and y are new planes. A bundle that does not pass
  // Check gives an empty one.
  ChromaLxy ToLxy() const;

  // Tests a bundle before use, without logging: 0; 1 null; 5 a plane is empty; 9 sizes differ.
  static int32_t Check(const ChromaXYZ* bundle);

  // True if any of the three planes is empty.
  bool empty() const { return X.empty() || Y.empty() || Z.empty(); }
};

}  // namespace multilayer
