// The layers of one colour as an iteration step changes them, so that each layer goes through the
// cache once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/cpu/stretch.h"
#include "multilayer/multi_layer/step_kernel.h"

namespace multilayer {

struct LedMeter;

class StepLayers {
 public:
  // `corrected`: the layers of the step. Layers from `captured` on become copies of the one below
  // it. The matrices must stay.
  StepLayers(std::vector<cv::Mat>& coefs, const std::vector<int32_t>& corrected, size_t captured,
             Fold fold, InstructionSet set);

  // `values`: a factor or gain for every LED of the stretch.
  void Take(const float* values, const Stretch& leds);

  // Takes target / measured for every LED, 1 for those that may not be used.
  void Refine(const LedMeter& meter, double target);

  bool IsContinuous() const;

 private:
  FoldLayers At(const Stretch& leds);

  std::vector<cv::Mat*> corrected_;
  std::vector<cv::Mat*> followers_;
  const cv::Mat* top_ = nullptr;
  Fold fold_;
  decltype(&FoldIntoLayers<InstructionSet::kBase>) fold_into_;
  decltype(&RefineLayers<InstructionSet::kBase>) refine_;
  std::vector<float*> pointers_;
};

}  // namespace multilayer
