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

// Fills `out` from the engine; with `copy`, every data is a copy from malloc. Throws when memory
// for copies has run out, or a matrix does not fit a descriptor; then no descriptor holds data.
void FillResult(const MultiLayerCoeff& engine, bool copy, MultiLayerResult& out);

}  // namespace multilayer
