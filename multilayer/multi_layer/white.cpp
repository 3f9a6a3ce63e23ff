// The white computations: gains of one WhiteCoeff step, folded into the coefficient layers.
#include <algorithm>
#include <array>
#include <functional>

#include <opencv2/core.hpp>

#include "multilayer/color/white_coeff.h"
#include "multilayer/color/white_matrices.h"
#include "multilayer/cpu/instruction_set.h"
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/layer_walk.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "multilayer/multi_layer/step_layers.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kRejected = 9;

// LEDs whose gains stay in the second-level cache between their computation and the layers.
constexpr size_t kGainTile = 4096;

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
  if (const int32_t status = PrepareWhiteStep(white, part, step); status != 0) {
    return status;
  }
  if (first || unset) {
    MakeCoefs();
  }
  UnshareCoefs();
  const int32_t singular =
      TakeWhiteStep(step, white, LayersOfStep(iterate_layer_order, iterate_count),
                    first ? Fold::kSet : Fold::kAdd, static_cast<size_t>(capture_layer_num));
  singular_total =
      static_cast<int32_t>(static_cast<uint32_t>(singular_total) + static_cast<uint32_t>(singular));
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
  if (const int32_t status = PrepareWhiteStep(white, part_x_y_w_h, step); status != 0) {
    return status;
  }
  UnshareCoefs();
  TakeWhiteStep(step, white, {static_cast<int32_t>(layer)}, Fold::kAdd, /*captured=*/SIZE_MAX);
  return 0;
}

int32_t MultiLayerCoeff::PrepareWhiteStep(const ChromaXYZ& white, const PartRecord& part,
                                          WhiteCoeff& step) const {
  if (const int32_t status = step.SetTargetWhite(target_white); status != 0) {
    return status;
  }
  const bool measured = !(xyz_r.empty() && xyz_g.empty() && xyz_b.empty());
  if (const int32_t status =
          measured ? step.SetRGBXYZ(xyz_r, xyz_g, xyz_b) : step.SetRGBXYZ(rgb_to_xyz);
      status != 0) {
    return status;
  }
  PellixInfo("WhiteCoeff::Compute");
  return step.Bind(white, part);
}

// One step of a fresh WhiteCoeff, whose gains are 1 + M^-1 (target - measured), a tile at a time.
// Returns how many LEDs were singular.
int32_t MultiLayerCoeff::TakeWhiteStep(const WhiteCoeff& step, const ChromaXYZ& white,
                                       const std::vector<int32_t>& layers, Fold fold,
                                       size_t captured) {
  const InstructionSet set = ChooseInstructionSet();
  const WhiteMatrices matrices(step.rgb2xyz, step.rgb_xyz, set);
  StepLayers folds[] = {{coef_r, layers, captured, fold, set},
                        {coef_g, layers, captured, fold, set},
                        {coef_b, layers, captured, fold, set}};
  const bool continuous =
      matrices.IsContinuous() && white.X.isContinuous() && white.Y.isContinuous() &&
      white.Z.isContinuous() &&
      std::all_of(std::begin(folds), std::end(folds), std::mem_fn(&StepLayers::IsContinuous));
  std::array<std::array<float, kGainTile>, 3> gain;
  int32_t singular = 0;
  ForEachStretch(white.X.rows, white.X.cols, continuous, kGainTile, [&](const Stretch& tile) {
    for (std::array<float, kGainTile>& gains : gain) {
      std::fill_n(gains.begin(), tile.count, 1.0F);
    }
    singular += matrices.AddIncrements(white, step.target_white, tile,
                                       {gain[0].data(), gain[1].data(), gain[2].data()});
    for (size_t c = 0; c < 3; ++c) {
      folds[c].Take(gain[c].data(), tile);
    }
  });
  return singular;
}

}  // namespace multilayer
