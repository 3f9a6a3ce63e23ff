// The matrices of a white step: one for all LEDs, or those of the measured primaries.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/color/chroma.h"
#include "multilayer/color/white_kernel.h"

namespace multilayer {

class WhiteMatrices {
 public:
  // `fixed`: CV_32FC1, 3 x 3, or empty to go by the planes of `primaries`, which must stay.
  WhiteMatrices(const cv::Mat& fixed, const std::array<ChromaXYZ, 3>& primaries);

  // Adds the increments of `count` LEDs from column `begin` of `row` on; `leds` points to the first
  // of them. Returns how many were singular and kept their gains.
  int32_t AddIncrements(const WhiteRow& leds, int row, size_t begin, size_t count) const;

 private:
  bool fixed_;
  Inverse3 inverse_;
  const std::array<ChromaXYZ, 3>& primaries_;
};

}  // namespace multilayer
