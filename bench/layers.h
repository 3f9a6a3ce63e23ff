// The coefficient layers of a step in the middle of an iteration, luminance or white: the first
// captured layer has been shown, and all are still to be corrected.
#pragma once

#include "bench/computation.h"
#include "bench/wall.h"

namespace multilayer::bench {

// The engine stands before step 1, with coefficients of 1.
inline void StandBeforeStep(MultiLayerCoeff& engine) {
  engine.iterate_count = 1;
  for (Mats* coefs : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
    for (cv::Mat& coef : *coefs) {
      coef.setTo(1.0);
    }
  }
}

// The step updates the captured layers and writes those that follow the last of them.
inline void AddLayers(const MultiLayerCoeff& engine, Touched& memory) {
  for (const Mats* coefs : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
    for (size_t k = 0; k < coefs->size(); ++k) {
      (k < kLevels.size() ? memory.updated : memory.written).push_back((*coefs)[k]);
    }
  }
}

}  // namespace multilayer::bench
