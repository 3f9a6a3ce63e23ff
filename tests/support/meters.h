// Measurements with known contents.
#pragma once

#include <memory>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"

namespace multilayer::testing {

// A complete record of `size` LEDs at (0, 0) of a screen of that size: part, layer, every chroma
// `value`, every state LED_USABLE, type CIE_Y.
LedMeter MakeMeter(cv::Size size, int32_t color, LayerRecord layer, float value);

// The measurements of three colours at several layers, owned, and the lists that the engine takes.
struct MeterSet {
  std::vector<std::unique_ptr<LedMeter>> owned;
  std::vector<LedMeter*> red;
  std::vector<LedMeter*> green;
  std::vector<LedMeter*> blue;
};

// One record a colour and layer; every LED of `size` has exactly luminance full_scale[colour] x the
// layer's linear_norms.
MeterSet MakeIdealSet(cv::Size size, const std::vector<LayerRecord>& layers,
                      const float (&full_scale)[3]);

// The same elements in a matrix whose rows stand apart in memory.
void MakeDiscontinuous(cv::Mat& matrix);

// Bit-for-bit equality, NaNs included.
bool SameBits(const cv::Mat& a, const cv::Mat& b);

}  // namespace multilayer::testing
