// One inverse, or the rows of nine planes.
#include "multilayer/color/white_matrices.h"

#include <algorithm>

#include <opencv2/core.hpp>

namespace multilayer {
namespace {

Matrix3 MatrixOf(const cv::Mat& mat) {
  Matrix3 m = {};
  for (int row = 0; row < mat.rows; ++row) {
    std::copy_n(mat.ptr<float>(row), 3, m[static_cast<size_t>(row)].begin());
  }
  return m;
}

}  // namespace

WhiteMatrices::WhiteMatrices(const cv::Mat& fixed, const std::array<ChromaXYZ, 3>& primaries)
    : fixed_(!fixed.empty()), inverse_(MatrixOf(fixed)), primaries_(primaries) {}

int32_t WhiteMatrices::AddIncrements(const WhiteRow& leds, int row, size_t begin,
                                     size_t count) const {
  if (fixed_) {
    multilayer::AddIncrements(inverse_, leds, count);
    return inverse_.singular ? static_cast<int32_t>(count) : 0;
  }
  PrimaryRows rows;
  for (size_t c = 0; c < 3; ++c) {
    rows[0][c] = primaries_[c].X.ptr<float>(row) + begin;
    rows[1][c] = primaries_[c].Y.ptr<float>(row) + begin;
    rows[2][c] = primaries_[c].Z.ptr<float>(row) + begin;
  }
  return multilayer::AddIncrements(rows, leds, count);
}

}  // namespace multilayer
