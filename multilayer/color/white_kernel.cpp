// Cofactors instead of a general inverse, nothing allocated, no branches: plain loops that the
// compiler vectorises, in functions of their own so that it keeps the promise of no overlap.
#include "multilayer/color/white_kernel.h"

#include "multilayer/cpu/kernel_target.h"

namespace multilayer {
namespace {

// One matrix for all: the adjugate times d, over the determinant.
[[gnu::noinline]] void AddFixed(const WhiteWork& work) {
  const float target_x = work.target[0], target_y = work.target[1], target_z = work.target[2];
  const float* __restrict const white_x = work.measured[0];
  const float* __restrict const white_y = work.measured[1];
  const float* __restrict const white_z = work.measured[2];
  float* __restrict const gain_r = work.gain[0];
  float* __restrict const gain_g = work.gain[1];
  float* __restrict const gain_b = work.gain[2];
  const WhiteInverse inverse = *work.fixed;
  MULTILAYER_NO_OVERLAP
  for (size_t i = 0; i < work.count; ++i) {
    const double dx = target_x - white_x[i], dy = target_y - white_y[i], dz = target_z - white_z[i];
    const auto moved = [&](float gain, const double(&row)[3]) {
      const double increment = (row[0] * dx + row[1] * dy + row[2] * dz) / inverse.determinant;
      return static_cast<float>(static_cast<double>(gain) + increment);
    };
    gain_r[i] = moved(gain_r[i], inverse.adjugate[0]);
    gain_g[i] = moved(gain_g[i], inverse.adjugate[1]);
    gain_b[i] = moved(gain_b[i], inverse.adjugate[2]);
  }
}

// M^-1 = adjugate / determinant, in double from float entries, whose products are exact.
[[gnu::noinline]] int32_t AddMeasured(const WhiteWork& work) {
  const float target_x = work.target[0], target_y = work.target[1], target_z = work.target[2];
  const float* __restrict const white_x = work.measured[0];
  const float* __restrict const white_y = work.measured[1];
  const float* __restrict const white_z = work.measured[2];
  const float* __restrict const px_r = work.primaries[0][0];
  const float* __restrict const px_g = work.primaries[0][1];
  const float* __restrict const px_b = work.primaries[0][2];
  const float* __restrict const py_r = work.primaries[1][0];
  const float* __restrict const py_g = work.primaries[1][1];
  const float* __restrict const py_b = work.primaries[1][2];
  const float* __restrict const pz_r = work.primaries[2][0];
  const float* __restrict const pz_g = work.primaries[2][1];
  const float* __restrict const pz_b = work.primaries[2][2];
  float* __restrict const gain_r = work.gain[0];
  float* __restrict const gain_g = work.gain[1];
  float* __restrict const gain_b = work.gain[2];
  int32_t singular = 0;
  MULTILAYER_NO_OVERLAP
  for (size_t i = 0; i < work.count; ++i) {
    const double xr = px_r[i], xg = px_g[i], xb = px_b[i];
    const double yr = py_r[i], yg = py_g[i], yb = py_b[i];
    const double zr = pz_r[i], zg = pz_g[i], zb = pz_b[i];
    const double dx = target_x - white_x[i], dy = target_y - white_y[i], dz = target_z - white_z[i];
    // The adjugate: rows red, green, blue; columns X, Y, Z.
    const double r_x = yg * zb - yb * zg, r_y = xb * zg - xg * zb, r_z = xg * yb - xb * yg;
    const double g_x = yb * zr - yr * zb, g_y = xr * zb - xb * zr, g_z = xb * yr - xr * yb;
    const double b_x = yr * zg - yg * zr, b_y = xg * zr - xr * zg, b_z = xr * yg - xg * yr;
    const double det = xr * r_x + xg * g_x + xb * b_x;
    const bool left_alone = static_cast<float>(det) == 0.0F;
    const auto moved = [&](float gain, double x, double y, double z) {
      const double increment = (x * dx + y * dy + z * dz) / det;
      const auto rounded = static_cast<float>(static_cast<double>(gain) + increment);
      return left_alone ? gain : rounded;
    };
    gain_r[i] = moved(gain_r[i], r_x, r_y, r_z);
    gain_g[i] = moved(gain_g[i], g_x, g_y, g_z);
    gain_b[i] = moved(gain_b[i], b_x, b_y, b_z);
    singular += static_cast<int32_t>(left_alone);
  }
  return singular;
}

}  // namespace

template <>
int32_t AddIncrements<kKernelTarget>(const WhiteWork& work) {
  if (work.fixed == nullptr) {
    return AddMeasured(work);
  }
  if (work.fixed->singular) {
    return static_cast<int32_t>(work.count);
  }
  AddFixed(work);
  return 0;
}

}  // namespace multilayer
