// Pointers for the kernel.
#include "multilayer/multi_layer/step_layers.h"

#include <algorithm>

#include <opencv2/core.hpp>

namespace multilayer {

StepLayers::StepLayers(std::vector<cv::Mat>& coefs, const std::vector<int32_t>& corrected,
                       size_t captured, Fold fold, InstructionSet set)
    : fold_(fold),
      fold_into_(
          ForInstructionSet(set, []<InstructionSet kSet> { return &FoldIntoLayers<kSet>; })) {
  for (const int32_t layer : corrected) {
    corrected_.push_back(&coefs[static_cast<size_t>(layer)]);
  }
  for (size_t k = captured; k < coefs.size(); ++k) {
    followers_.push_back(&coefs[k]);
    top_ = &coefs[captured - 1];
  }
  pointers_.resize(corrected_.size() + followers_.size());
}

void StepLayers::Take(const float* values, const Stretch& tile) {
  const auto first = [&tile](cv::Mat* coef) { return coef->ptr<float>(tile.row) + tile.begin; };
  const auto followers =
      std::transform(corrected_.begin(), corrected_.end(), pointers_.begin(), first);
  std::transform(followers_.begin(), followers_.end(), followers, first);
  FoldWork work = {};
  work.fold = fold_;
  work.values = values;
  work.layers = pointers_.data();
  work.layer_count = corrected_.size();
  work.followers = pointers_.data() + corrected_.size();
  work.follower_count = followers_.size();
  work.top = top_ == nullptr ? nullptr : top_->ptr<float>(tile.row) + tile.begin;
  work.count = tile.count;
  work.next = tile.next;
  fold_into_(work);
}

bool StepLayers::IsContinuous() const {
  const auto continuous = [](const cv::Mat* coef) { return coef->isContinuous(); };
  return std::all_of(corrected_.begin(), corrected_.end(), continuous) &&
         std::all_of(followers_.begin(), followers_.end(), continuous) &&
         (top_ == nullptr || top_->isContinuous());
}

}  // namespace multilayer
