// The chroma fit of one LED in two plain forms: what the kernel must equal bit for bit, and the
// definition itself, dense, by a matrix library.
#pragma once

#include <array>

#include <opencv2/core/mat.hpp>

#include "multilayer/coeff/chroma_targets.h"

namespace multilayer {

// Measured X, Y, Z of red, of green, of blue.
using LedPrimaries = std::array<std::array<float, 3>, 3>;

// M^-1 times the colours to be reached, entry by entry.
std::array<float, 9> ChromaPlain(const ReachedColours& reached, const LedPrimaries& primaries);

// All twelve equations in the nine shares, and their normal equations inverted by LU, in double.
// Exact singularity only gives zeros.
std::array<double, 9> ChromaByMatrixLibrary(const float* targets, const cv::Mat& weights,
                                            const LedPrimaries& primaries);

}  // namespace multilayer
