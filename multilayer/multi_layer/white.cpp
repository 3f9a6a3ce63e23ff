// The white computations: gains of one WhiteCoeff step, folded into the coefficient layers.
#include <algorithm>

#include <opencv2/core.hpp>

#include "multilayer/color/white_coeff.h"
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/layer_walk.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kRejected = 9;

// coefficient + (gain - 1): a gain of exactly 1 leaves every coefficient exactly as it was.
void AddCorrection(const cv::Mat& gain, cv::Mat& coef) {
  for (int row = 0; row < gain.rows; ++row) {
    const auto* from = gain.ptr<float>(row);
    auto* to = coef.ptr<float>(row);
    for (int col = 0; col < gain.cols; ++col) {
      to[col] = to[col] + (from[col] - 1.0F);
    }
  }
}

}  // namespace

int32_t MultiLayerCoeff::ComputeWhite(const ChromaXYZ& white, const PartRecord& part) {
  constexpr const char* kName = "MultiLayerWhiteCoeff::Compute";
  PellixInfo(kName);
  if (const int32_t status = CheckStep(kName); status != 0) {
    return status;
  }
  if (ChromaXYZ::Check(&white) != 0) {
    return kRejected;
  }
  if (int64_t{part.w} * part.h > kMaxLeds) {
    return Fail(kRejected, "%s--Error :: partition of %d x %d LEDs", kName, part.w, part.h);
  }
  if (part_x_y_w_h.h == -1) {
    part_x_y_w_h = part;
  } else if (part_x_y_w_h.w != part.w || part_x_y_w_h.h != part.h) {
    return Fail(kRejected, "%s--Error :: partition mismatched", kName);
  }
  const bool first = iterate_count == 0;
  const bool unset = coef_r.empty() || coef_g.empty() || coef_b.empty();
  if (!first && !unset && !HoldsLayers()) {
    return Fail(706, "%s--Error ::  coefficients are not those of the partition and parameters.",
                kName);
  }
  WhiteCoeff step;
  if (const int32_t status = TakeWhiteStep(white, part, step); status != 0) {
    return status;
  }
  if (first || unset) {
    MakeCoefs();
  }
  Unshare();
  singular_total = static_cast<int32_t>(static_cast<uint32_t>(singular_total) +
                                        static_cast<uint32_t>(step.singular_count));
  const std::vector<int32_t> layers = LayersOfStep(iterate_layer_order, iterate_count);
  const cv::Mat* const gains[] = {&step.coef_r, &step.coef_g, &step.coef_b};
  for (size_t c = 0; c < 3; ++c) {
    std::vector<cv::Mat>& coefs = *ColourLists()[c];
    for (const int32_t layer : layers) {
      cv::Mat& coef = coefs[static_cast<size_t>(layer)];
      if (first) {
        gains[c]->copyTo(coef);
      } else {
        AddCorrection(*gains[c], coef);
      }
    }
    // Layers above the highest captured one follow it.
    const auto top = static_cast<size_t>(capture_layer_num) - 1;
    for (size_t k = top + 1; k < coefs.size(); ++k) {
      coefs[top].copyTo(coefs[k]);
    }
  }
  ++iterate_count;
  return 0;
}

int32_t MultiLayerCoeff::ComputeWhiteSingle(const ChromaXYZ& white, int32_t cur_gray_value) {
  constexpr const char* kName = "MultiLayerCoeff::ComputeWhiteSingle";
  PellixInfo(kName);
  if (part_x_y_w_h.w == -1) {
    return Fail(706, "%s--Error :: Please comput first!!", kName);
  }
  if (setter_failed_) {
    return Fail(706, "%s--Error :: Please SetParam before comput.", kName);
  }
  // A loaded engine may know more layers than their levels.
  const auto known =
      std::min(captureLayer.size(), static_cast<size_t>(std::max(0, capture_layer_num)));
  const auto end = captureLayer.begin() + static_cast<std::ptrdiff_t>(known);
  const auto found = std::find(captureLayer.begin(), end, cur_gray_value);
  if (found == end) {
    return Fail(707, "%s--Error :: cur_gray_value not exist !!", kName);
  }
  const auto layer = static_cast<size_t>(found - captureLayer.begin());
  for (const std::vector<cv::Mat>* list : ColourLists()) {
    if (list->size() < static_cast<size_t>(capture_layer_num) || !FitsPartition((*list)[layer])) {
      return Fail(706, "%s--Error :: Please comput first!!", kName);
    }
  }
  WhiteCoeff step;
  if (const int32_t status = TakeWhiteStep(white, part_x_y_w_h, step); status != 0) {
    return status;
  }
  Unshare();
  AddCorrection(step.coef_r, coef_r[layer]);
  AddCorrection(step.coef_g, coef_g[layer]);
  AddCorrection(step.coef_b, coef_b[layer]);
  return 0;
}

// One step of a fresh WhiteCoeff: its gains are 1 + M^-1 (target - measured).
int32_t MultiLayerCoeff::TakeWhiteStep(const ChromaXYZ& white, const PartRecord& part,
                                       WhiteCoeff& step) const {
  if (const int32_t status = step.SetTargetWhite(target_white); status != 0) {
    return status;
  }
  const bool measured = !(xyz_r.empty() && xyz_g.empty() && xyz_b.empty());
  const int32_t status =
      measured ? step.SetRGBXYZ(xyz_r, xyz_g, xyz_b) : step.SetRGBXYZ(rgb_to_xyz);
  return status != 0 ? status : step.Compute(white, part);
}

}  // namespace multilayer
