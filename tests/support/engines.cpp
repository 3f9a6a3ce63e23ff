// Accepted parameters.
#include "tests/support/engines.h"

namespace multilayer::testing {

cv::Mat LinearGamma() {
  cv::Mat table = cv::Mat::zeros(3, 256, CV_32SC1);
  for (int level = 0; level < 256; ++level) {
    table.at<int32_t>(0, level) = 257 * level;
  }
  return table;
}

std::vector<LayerRecord> LumParameters::Layers() const {
  std::vector<LayerRecord> layers;
  const auto* red = gamma_table.ptr<int32_t>(0);
  for (const int32_t level : capture_layers) {
    const double drive = static_cast<double>(red[level]) / red[gamma_table.cols - 1];
    layers.push_back({static_cast<int32_t>(layers.size()), static_cast<float>(drive), level});
  }
  return layers;
}

}  // namespace multilayer::testing
