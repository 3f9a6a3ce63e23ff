// The matrices of a white step: one for all LEDs, or those of the measured primaries.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/color/chroma.h"
#include "multilayer/color/white_kernel.h"
#include "multilayer/cpu/stretch.h"

namespace multilayer {

// Rows X, Y, Z; columns R, G, B.
using Matrix3 = std::array<std::array<float, 3>, 3>;

WhiteInverse InverseOf(const Matrix3& m);

class WhiteMatrices {
 public:
  // `fixed`: CV_32FC1, 3 x 3, or empty to go by the planes of `primaries`, which must stay.
  WhiteMatrices(const cv::Mat& fixed, const std::array<ChromaXYZ, 3>& primaries,
                InstructionSet set);

  // Adds the increments that move the measured `white` to `target` (X, Y, Z). `gain` (R, G, B, in
  // and out) point to the first LED of the stretch. Returns how many LEDs were singular and kept
  // their gains.
  int32_t AddIncrements(const ChromaXYZ& white, const float* target, const Stretch& leds,
                        const std::array<float*, 3>& gain) const;

  // Whether stretches may go on from row to row.
  bool IsContinuous() const;

 private:
  bool fixed_;
  WhiteInverse inverse_;
  const std::array<ChromaXYZ, 3>& primaries_;
  int32_t (*add_)(const WhiteWork&);
};

}  // namespace multilayer
