// The layers of one colour as an iteration step changes them, a tile of LEDs at a time, so that each
// layer goes through the cache once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/cpu/stretch.h"
#include "multilayer/multi_layer/step_kernel.h"

namespace multilayer {

// LEDs whose values stay in the second-level cache while they go through all layers: stretches long
// enough that the processor's own foresight catches up (512: 8.3 ns an LED, 4096: 6.2).
constexpr size_t kStepTile = 4096;

// Calls `visit` with all tiles of `rows` x `cols` LEDs. `continuous`: rows follow each other without
// a gap in every matrix that is read, and count as one.
template <class Visit>
void ForEachTile(int rows, int cols, bool continuous, const Visit& visit) {
  const auto whole = static_cast<size_t>(rows) * static_cast<size_t>(cols);
  const size_t length = continuous ? whole : static_cast<size_t>(cols);
  for (int row = 0; row < (continuous ? 1 : rows); ++row) {
    for (size_t begin = 0; begin < length; begin += kStepTile) {
      const size_t count = std::min(kStepTile, length - begin);
      visit(Stretch{row, begin, count, std::min(kStepTile, length - begin - count)});
    }
  }
}

class StepLayers {
 public:
  // `corrected`: the layers of the step. Layers from `captured` on become copies of the one below
  // it. The matrices must stay.
  StepLayers(std::vector<cv::Mat>& coefs, const std::vector<int32_t>& corrected, size_t captured,
             Fold fold, InstructionSet set);

  // `values`: a factor or gain for every LED of the tile.
  void Take(const float* values, const Stretch& tile);

  bool IsContinuous() const;

 private:
  std::vector<cv::Mat*> corrected_;
  std::vector<cv::Mat*> followers_;
  const cv::Mat* top_ = nullptr;
  Fold fold_;
  void (*fold_into_)(const FoldWork&);
  std::vector<float*> pointers_;
};

}  // namespace multilayer
