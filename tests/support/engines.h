// Parameters that a setter accepts, to be spoilt one at a time by the tests.
#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer::testing {

// CV_32SC1, 3 x 256: the red row rises in steps of 257 to 65535, the other rows are zero, which
// nobody may notice.
cv::Mat LinearGamma();

struct LumParameters {
  cv::Mat gamma_table = LinearGamma();
  std::vector<double> ratios = {0.0, 0.0, 0.0};
  std::vector<float> rgb_to_y = {100, 0, 0, 200, 0, 0, 50, 0, 0};
  std::vector<int32_t> capture_layers = {32, 64, 128, 255};
  int32_t iterate = -1;
  int32_t coef_layers = 6;
  int32_t bits = 16;

  int32_t Set(MultiLayerCoeff& engine) const {
    return engine.SetParamLum(gamma_table, ratios, rgb_to_y.data(), capture_layers, iterate,
                              coef_layers, bits);
  }
  // The capture layers as the measurements carry them: linear drive from the gamma table.
  std::vector<LayerRecord> Layers() const;
};

}  // namespace multilayer::testing
