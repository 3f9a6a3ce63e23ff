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

// Written out, without a branch, so that the compiler takes several LEDs at a time.
int32_t AddIncrements(const PrimaryRows& primaries, const WhiteRow& row, size_t count) {
  const auto& [x, y, z] = primaries;
  const float* const xr = x[0];
  const float* const xg = x[1];
  const float* const xb = x[2];
  const float* const yr = y[0];
  const float* const yg = y[1];
  const float* const yb = y[2];
  const float* const zr = z[0];
  const float* const zg = z[1];
  const float* const zb = z[2];
  const auto [dx, dy, dz] = row.delta;
  float* __restrict const r = row.gain[0];
  float* __restrict const g = row.gain[1];
  float* __restrict const b = row.gain[2];
  int32_t singular = 0;
  for (size_t i = 0; i < count; ++i) {
    const Inverse3 inverse({{{xr[i], xg[i], xb[i]}, {yr[i], yg[i], yb[i]}, {zr[i], zg[i], zb[i]}}});
    const Doubles d = {static_cast<double>(dx[i]), static_cast<double>(dy[i]),
                       static_cast<double>(dz[i])};
    const auto moved = [&](float gain, size_t c) {
      const float rounded = Rounded(gain, Increment(inverse.adjugate[c], d, inverse.determinant));
      return inverse.singular ? gain : rounded;
    };
    r[i] = moved(r[i], 0);
    g[i] = moved(g[i], 1);
    b[i] = moved(b[i], 2);
    singular += static_cast<int32_t>(inverse.singular);
  }
  return singular;
}

}  // namespace multilayer
