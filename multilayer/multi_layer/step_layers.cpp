// Pointers for the kernel.
#include "multilayer/multi_layer/step_layers.h"

#include <algorithm>

#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"

namespace multilayer {

StepLayers::StepLayers(std::vector<cv::Mat>& coefs, const std::vector<int32_t>& corrected,
                       size_t captured, Fold fold, InstructionSet set)
    : fold_(fold),
      fold_into_(ForInstructionSet(set, []<InstructionSet kSet> { return &FoldIntoLayers<kSet>; })),
      refine_(ForInstructionSet(set, []<InstructionSet kSet> { return &RefineLayers<kSet>; })) {
  for (const int32_t layer : corrected) {
    corrected_.push_back(&coefs[static_cast<size_t>(layer)]);
  }
  for (size_t k = captured; k < coefs.size(); ++k) {
    followers_.push_back(&coefs[k]);
    top_ = &coefs[captured - 1];
  }
  pointers_.resize(corrected_.size() + followers_.size());
}

void StepLayers::Take(const float* values, const Stretch& leds) {
  fold_into_(At(leds), values, leds.count);
}

void StepLayers::Refine(const LedMeter& meter, double target) {
  const bool continuous =
      meter.chroma.isContinuous() && meter.state.isContinuous() && IsContinuous();
  ForEachStretch(
      meter.chroma.rows, meter.chroma.cols, continuous, SIZE_MAX, [&](const Stretch& leds) {
        refine_(At(leds),
                {target, meter.chroma.ptr<float>(leds.row), meter.state.ptr<uint8_t>(leds.row)},
                leds.count);
      });
}

FoldLayers StepLayers::At(const Stretch& leds) {
  const auto first = [&leds](cv::Mat* coef) { return coef->ptr<float>(leds.row) + leds.begin; };
  const auto followers =
      std::transform(corrected_.begin(), corrected_.end(), pointers_.begin(), first);
  std::transform(followers_.begin(), followers_.end(), followers, first);
  FoldLayers layers = {};
  layers.fold = fold_;
  layers.layers = pointers_.data();
  layers.layer_count = corrected_.size();
  layers.followers = pointers_.data() + corrected_.size();
  layers.follower_count = followers_.size();
  layers.top = top_ == nullptr ? nullptr : top_->ptr<float>(leds.row) + leds.begin;
  return layers;
}

bool StepLayers::IsContinuous() const {
  const auto continuous = [](const cv::Mat* coef) { return coef->isContinuous(); };
  return std::all_of(corrected_.begin(), corrected_.end(), continuous) &&
         std::all_of(followers_.begin(), followers_.end(), continuous) &&
         (top_ == nullptr || top_->isContinuous());
}

}  // namespace multilayer
