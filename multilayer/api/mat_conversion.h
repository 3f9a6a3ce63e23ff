// Between the caller's matrix descriptors and the engine's matrices.
#pragma once

#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/api/multilayer.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer {

// Copies the described matrix. Returns 0; 1 null descriptor; 7 a descriptor that contradicts
// itself.
int32_t FromDescriptor(const MultiLayerMat* descriptor, cv::Mat& mat);

// Fills `out` from the engine; with `copy`, every data is a copy from malloc. Returns 0, or 9 when
// memory for copies has run out (then none is left behind).
int32_t FillResult(const MultiLayerCoeff& engine, bool copy, MultiLayerResult& out);

}  // namespace multilayer
