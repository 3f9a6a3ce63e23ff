// Cofactors instead of a general inverse: no branches but for singular matrices, nothing allocated.
#include "multilayer/color/white_kernel.h"

namespace multilayer {
namespace {

struct Doubles {
  double x, y, z;
};

// Row `i` of the adjugate times d, over the determinant.
double Increment(const std::array<double, 3>& row, const Doubles& d, double determinant) {
  return (row[0] * d.x + row[1] * d.y + row[2] * d.z) / determinant;
}

float Rounded(float gain, double increment) {
  return static_cast<float>(static_cast<double>(gain) + increment);
}

}  // namespace

Inverse3::Inverse3(const Matrix3& m) {
  const auto at = [&m](size_t row, size_t col) { return static_cast<double>(m[row][col]); };
  // Entry (i, j) of the adjugate is the cofactor of (j, i): rows and columns taken in cyclic order
  // carry its sign.
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) {
      const size_t r1 = (j + 1) % 3;
      const size_t r2 = (j + 2) % 3;
      const size_t c1 = (i + 1) % 3;
      const size_t c2 = (i + 2) % 3;
      adjugate[i][j] = at(r1, c1) * at(r2, c2) - at(r1, c2) * at(r2, c1);
    }
  }
  determinant = at(0, 0) * adjugate[0][0] + at(0, 1) * adjugate[1][0] + at(0, 2) * adjugate[2][0];
  singular = static_cast<float>(determinant) == 0.0F;
}

void AddIncrements(const Inverse3& inverse, const WhiteRow& row, size_t count) {
  if (inverse.singular) {
    return;
  }
  for (size_t i = 0; i < count; ++i) {
    const Doubles d = {static_cast<double>(row.delta[0][i]), static_cast<double>(row.delta[1][i]),
                       static_cast<double>(row.delta[2][i])};
    for (size_t c = 0; c < 3; ++c) {
      row.gain[c][i] =
          Rounded(row.gain[c][i], Increment(inverse.adjugate[c], d, inverse.determinant));
    }
  }
}

int32_t AddIncrements(const PrimaryRows& primaries, const WhiteRow& row, size_t count) {
  int32_t singular = 0;
  for (size_t i = 0; i < count; ++i) {
    Matrix3 m;
    for (size_t k = 0; k < 3; ++k) {
      for (size_t c = 0; c < 3; ++c) {
        m[k][c] = primaries[k][c][i];
      }
    }
    const Inverse3 inverse(m);
    if (inverse.singular) {
      ++singular;
      continue;
    }
    const Doubles d = {static_cast<double>(row.delta[0][i]), static_cast<double>(row.delta[1][i]),
                       static_cast<double>(row.delta[2][i])};
    for (size_t c = 0; c < 3; ++c) {
      row.gain[c][i] =
          Rounded(row.gain[c][i], Increment(inverse.adjugate[c], d, inverse.determinant));
    }
  }
  return singular;
}

}  // namespace multilayer
