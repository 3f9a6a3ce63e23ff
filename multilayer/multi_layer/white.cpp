// The white computations: gains of one WhiteCoeff step, folded into the coefficient layers.
#include <algorithm>

#include <opencv2/core.hpp>

#include "multilayer/color/white_coeff.h"
#include "multilayer/color/white_matrices.h"
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/layer_walk.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kRejected = 9;

// LEDs that go through all layers together: their gains stay in the first-level cache.
constexpr size_t kTile = 2048;

// The gains of a tile from 1, and what made them.
struct Tile {
  std::array<std::array<float, kTile>, 3> gain;
  std::array<std::array<float, kTile>, 3> difference;
};

struct Stretch {
  int row;
  size_t begin;
  size_t count;
};

// The layers of one colour that a step changes.
struct Layers {
  std::vector<cv::Mat>& coefs;
  const std::vector<int32_t>& corrected;
  bool set;         // to the gain; otherwise gain - 1 is added
  size_t captured;  // layers from this one on become copies of the one below it
};

// coefficient + (gain - 1): a gain of exactly 1 leaves every coefficient exactly as it was.
void Fold(const float* gain, const Stretch& leds, const Layers& layers) {
  const auto at = [&](size_t layer) {
    return layers.coefs[layer].ptr<float>(leds.row) + leds.begin;
  };
  for (const int32_t layer : layers.corrected) {
    float* const coef = at(static_cast<size_t>(layer));
    if (layers.set) {
      std::copy_n(gain, leds.count, coef);
      continue;
    }
    for (size_t i = 0; i < leds.count; ++i) {
      coef[i] = coef[i] + (gain[i] - 1.0F);
    }
  }
  for (size_t k = layers.captured; k < layers.coefs.size(); ++k) {
    std::copy_n(at(layers.captured - 1), leds.count, at(k));
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
  if (const int32_t status = PrepareWhiteStep(white, part, step); status != 0) {
    return status;
  }
  if (first || unset) {
    MakeCoefs();
  }
  Unshare();
  const int32_t singular =
      TakeWhiteStep(step, white, LayersOfStep(iterate_layer_order, iterate_count), first,
                    static_cast<size_t>(capture_layer_num));
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
  Unshare();
  TakeWhiteStep(step, white, {static_cast<int32_t>(layer)}, false, /*captured=*/SIZE_MAX);
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

// One step of a fresh WhiteCoeff, whose gains are 1 + M^-1 (target - measured), a tile at a time,
// so that every measurement is read once and every layer goes through the cache once. Returns how
// many LEDs were singular.
int32_t MultiLayerCoeff::TakeWhiteStep(const WhiteCoeff& step, const ChromaXYZ& white,
                                       const std::vector<int32_t>& layers, bool set,
                                       size_t captured) {
  const WhiteMatrices matrices(step.rgb2xyz, step.rgb_xyz);
  const cv::Mat_<float>* const measured[] = {&white.X, &white.Y, &white.Z};
  const auto width = static_cast<size_t>(white.X.cols);
  int32_t singular = 0;
  Tile tile;
  for (int row = 0; row < white.X.rows; ++row) {
    for (size_t begin = 0; begin < width; begin += kTile) {
      const Stretch leds = {row, begin, std::min(kTile, width - begin)};
      WhiteRow pointers;
      for (size_t c = 0; c < 3; ++c) {
        const float* const from = measured[c]->ptr<float>(row) + begin;
        for (size_t i = 0; i < leds.count; ++i) {
          tile.difference[c][i] = target_white[c] - from[i];
        }
        tile.gain[c].fill(1.0F);
        pointers.delta[c] = tile.difference[c].data();
        pointers.gain[c] = tile.gain[c].data();
      }
      singular += matrices.AddIncrements(pointers, row, begin, leds.count);
      for (size_t c = 0; c < 3; ++c) {
        Fold(tile.gain[c].data(), leds, {*ColourLists()[c], layers, set, captured});
      }
    }
  }
  return singular;
}

}  // namespace multilayer
