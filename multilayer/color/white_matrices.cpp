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

std::array<const cv::Mat_<float>*, 3> PlanesOf(const ChromaXYZ& bundle) {
  return {&bundle.X, &bundle.Y, &bundle.Z};
}

}  // namespace

// adjugate / determinant, in double from the float entries, whose products are exact.
WhiteInverse InverseOf(const Matrix3& m) {
  WhiteInverse inverse = {};
  const auto at = [&m](size_t row, size_t col) { return static_cast<double>(m[row % 3][col % 3]); };
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) {
      // Rows and columns in cyclic order carry the sign.
      inverse.adjugate[i][j] =
          at(j + 1, i + 1) * at(j + 2, i + 2) - at(j + 1, i + 2) * at(j + 2, i + 1);
    }
  }
  inverse.determinant = at(0, 0) * inverse.adjugate[0][0] + at(0, 1) * inverse.adjugate[1][0] +
                        at(0, 2) * inverse.adjugate[2][0];
  inverse.singular = static_cast<float>(inverse.determinant) == 0.0F;
  return inverse;
}

WhiteMatrices::WhiteMatrices(const cv::Mat& fixed, const std::array<ChromaXYZ, 3>& primaries,
                             InstructionSet set)
    : fixed_(!fixed.empty()),
      inverse_(InverseOf(MatrixOf(fixed))),
      primaries_(primaries),
      add_(ForInstructionSet(
          set, []<InstructionSet kSet> { return &multilayer::AddIncrements<kSet>; })) {}

int32_t WhiteMatrices::AddIncrements(const ChromaXYZ& white, const float* target,
                                     const Stretch& leds, const std::array<float*, 3>& gain) const {
  const auto first = [&leds](const cv::Mat_<float>& plane) {
    return plane.ptr<float>(leds.row) + leds.begin;
  };
  WhiteWork work = {};
  for (size_t k = 0; k < 3; ++k) {
    work.target[k] = target[k];
    work.measured[k] = first(*PlanesOf(white)[k]);
    work.gain[k] = gain[k];
    for (size_t c = 0; c < 3 && !fixed_; ++c) {
      work.primaries[k][c] = first(*PlanesOf(primaries_[c])[k]);
    }
  }
  work.fixed = fixed_ ? &inverse_ : nullptr;
  work.count = leds.count;
  return add_(work);
}

bool WhiteMatrices::IsContinuous() const {
  return fixed_ || std::all_of(primaries_.begin(), primaries_.end(), [](const ChromaXYZ& primary) {
           return primary.X.isContinuous() && primary.Y.isContinuous() && primary.Z.isContinuous();
         });
}

}  // namespace multilayer
