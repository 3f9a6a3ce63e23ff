// The luminance iteration: one captured layer at a time, on a wall that shows the current
// coefficients.
#include <algorithm>
#include <array>

#include <opencv2/core.hpp>

#include "multilayer/cpu/instruction_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/renew.h"
#include "multilayer/multi_layer/layer_walk.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "multilayer/multi_layer/step_layers.h"
#include "pellix/pellix.h"

namespace multilayer {

int32_t MultiLayerCoeff::IterateCompute() {
  constexpr const char* kName = "MultiLayerCoeff::IterateCompute";
  PellixInfo(kName);
  for (const Meters* list : {input_r, input_g, input_b}) {
    if (list == nullptr || list->empty() || list->front() == nullptr) {
      return Fail(9, "%s--Error ::  no measurement.", kName);
    }
    // The partition may have changed since the input was taken.
    if (const int32_t status = CheckShape(*list->front()); status != 0) {
      return status;
    }
  }
  if (const int32_t status = CheckStep(kName); status != 0) {
    return status;
  }
  const LedMeter* const meters[] = {input_r->front(), input_g->front(), input_b->front()};
  const std::vector<int32_t> layers = LayersOfStep(iterate_layer_order, iterate_count);
  const bool first = iterate_count == 0;
  if (first) {
    MakeCoefs();
  } else if (!HoldsLayers()) {
    return Fail(706, "%s--Error ::  coefficients are not those of the partition and parameters.",
                kName);
  }
  UnshareCoefs();
  const InstructionSet set = ChooseInstructionSet();
  // The decrease is applied once: later steps are measured on a wall that shows it.
  for (size_t c = 0; c < 3; ++c) {
    const double share = first ? 1 - rgb_lum_dec_ratio[c] : 1.0;
    const double target = static_cast<double>(InitY[3 * c]) * share;
    StepLayers(*ColourLists()[c], layers, static_cast<size_t>(capture_layer_num),
               first ? Fold::kSet : Fold::kMultiply, set)
        .Refine(*meters[c], target);
  }
  ++iterate_count;
  return 0;
}

// Whether another step of either iteration may be taken. A loaded engine may know other layers than
// those of its order.
int32_t MultiLayerCoeff::CheckStep(const char* operation) const {
  if (setter_failed_) {
    return Fail(706, "%s--Error ::  Please SetParam before comput.", operation);
  }
  if (iterate_count < 0) {
    return Fail(9, "%s--Error ::  iterate_count %d is below 0.", operation, iterate_count);
  }
  if (capture_layer_num < 1 || capture_layer_num > coef_layer_num ||
      iterate_layer_order.size() != static_cast<size_t>(capture_layer_num)) {
    return Fail(9, "%s--Error ::  the layers are not those of the parameters.", operation);
  }
  const auto is_layer = [this](int32_t e) { return e >= 0 && e < capture_layer_num; };
  if (!std::all_of(iterate_layer_order.begin(), iterate_layer_order.end(), is_layer)) {
    return Fail(9, "%s--Error ::  iterate_layer_order names layers that are not there.", operation);
  }
  if (iterate_count > capture_layer_num) {
    return Fail(705, "%s--Error ::  max number iterations has been reached.", operation);
  }
  return 0;
}

bool MultiLayerCoeff::FitsPartition(const cv::Mat& coef) const {
  return coef.dims == 2 && coef.type() == CV_32FC1 && coef.rows == part_x_y_w_h.h &&
         coef.cols == part_x_y_w_h.w;
}

// Whether each colour has coef_layer_num matrices of the partition's size.
bool MultiLayerCoeff::HoldsLayers() const {
  const auto holds = [this](const std::vector<cv::Mat>& list) {
    return list.size() == static_cast<size_t>(coef_layer_num) &&
           std::all_of(list.begin(), list.end(),
                       [this](const cv::Mat& coef) { return FitsPartition(coef); });
  };
  return holds(coef_r) && holds(coef_g) && holds(coef_b);
}

// coef_layer_num matrices of 1.0 a colour, each with its own elements; all of them or, if memory
// runs out, none.
void MultiLayerCoeff::MakeCoefs() {
  std::array<std::vector<cv::Mat>, 3> made;
  for (std::vector<cv::Mat>& list : made) {
    list.resize(static_cast<size_t>(coef_layer_num));
    for (cv::Mat& coef : list) {
      coef = cv::Mat(part_x_y_w_h.h, part_x_y_w_h.w, CV_32FC1, cv::Scalar(1.0));
    }
  }
  for (size_t c = 0; c < 3; ++c) {
    ColourLists()[c]->swap(made[c]);
  }
}

// Steps work in place.
void MultiLayerCoeff::UnshareCoefs() {
  for (std::vector<cv::Mat>* list : ColourLists()) {
    std::for_each(list->begin(), list->end(), Unshare);
  }
}

std::array<std::vector<cv::Mat>*, 3> MultiLayerCoeff::ColourLists() {
  return {&coef_r, &coef_g, &coef_b};
}

}  // namespace multilayer
