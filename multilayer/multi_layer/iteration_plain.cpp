// LED by LED, through the layers of the step.
#include "multilayer/multi_layer/iteration_plain.h"

#include <opencv2/core.hpp>

#include "multilayer/multi_layer/layer_walk.h"

namespace multilayer {
namespace {

float Factor(const LedMeter& meter, double target, int row, int col) {
  if ((meter.state.at<uint8_t>(row, col) & LED_USABLE) == 0) {
    return 1.0F;
  }
  return static_cast<float>(target / static_cast<double>(meter.chroma.at<float>(row, col)));
}

}  // namespace

void IterationPlain(MultiLayerCoeff& engine) {
  const std::vector<LedMeter*>* const inputs[] = {engine.input_r, engine.input_g, engine.input_b};
  std::vector<cv::Mat>* const coefs[] = {&engine.coef_r, &engine.coef_g, &engine.coef_b};
  const std::vector<int32_t> layers =
      LayersOfStep(engine.iterate_layer_order, engine.iterate_count);
  const bool first = engine.iterate_count == 0;
  const auto captured = static_cast<size_t>(engine.capture_layer_num);
  for (int row = 0; row < engine.part_x_y_w_h.h; ++row) {
    for (int col = 0; col < engine.part_x_y_w_h.w; ++col) {
      for (size_t c = 0; c < 3; ++c) {
        const double share = first ? 1 - engine.rgb_lum_dec_ratio[c] : 1.0;
        const double target = static_cast<double>(engine.InitY[3 * c]) * share;
        const float factor = Factor(*inputs[c]->front(), target, row, col);
        for (const int32_t layer : layers) {
          float& coef = (*coefs[c])[static_cast<size_t>(layer)].at<float>(row, col);
          coef = first ? factor : coef * factor;
        }
        for (size_t k = captured; k < coefs[c]->size(); ++k) {
          (*coefs[c])[k].at<float>(row, col) = (*coefs[c])[captured - 1].at<float>(row, col);
        }
      }
    }
  }
  ++engine.iterate_count;
}

}  // namespace multilayer
