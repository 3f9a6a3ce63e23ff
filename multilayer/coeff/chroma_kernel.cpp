// Written out, without a branch, so that the compiler takes several LEDs at a time.
#include "multilayer/coeff/chroma_kernel.h"

#include "multilayer/cpu/kernel_target.h"

namespace multilayer {

template <>
void MixPrimaries<kKernelTarget>(const ReachedColours& reached, const ChromaRow& row) {
  const auto& [red, green, blue] = row.primaries;
  const float* const red_x = red[0];
  const float* const red_y = red[1];
  const float* const red_z = red[2];
  const float* const green_x = green[0];
  const float* const green_y = green[1];
  const float* const green_z = green[2];
  const float* const blue_x = blue[0];
  const float* const blue_y = blue[1];
  const float* const blue_z = blue[2];
  float* __restrict const out_0 = row.shares[0];
  float* __restrict const out_1 = row.shares[1];
  float* __restrict const out_2 = row.shares[2];
  float* __restrict const out_3 = row.shares[3];
  float* __restrict const out_4 = row.shares[4];
  float* __restrict const out_5 = row.shares[5];
  float* __restrict const out_6 = row.shares[6];
  float* __restrict const out_7 = row.shares[7];
  float* __restrict const out_8 = row.shares[8];
  const auto [to_red, to_green, to_blue] = reached.primaries;
  MULTILAYER_NO_OVERLAP
  for (size_t i = 0; i < row.count; ++i) {
    // Sums are floats by definition.
    const double xr = red_x[i], yr = red_y[i], sr = red_x[i] + red_y[i] + red_z[i];
    const double xg = green_x[i], yg = green_y[i], sg = green_x[i] + green_y[i] + green_z[i];
    const double xb = blue_x[i], yb = blue_y[i], sb = blue_x[i] + blue_y[i] + blue_z[i];
    // The adjugate: rows red, green, blue; columns X, Y, S.
    const double ar_x = yg * sb - yb * sg, ar_y = xb * sg - xg * sb, ar_s = xg * yb - xb * yg;
    const double ag_x = yb * sr - yr * sb, ag_y = xr * sb - xb * sr, ag_s = xb * yr - xr * yb;
    const double ab_x = yr * sg - yg * sr, ab_y = xg * sr - xr * sg, ab_s = xr * yg - xg * yr;
    const double det = xr * ar_x + xg * ag_x + xb * ab_x;
    const double lengths = ((xr * xr + yr * yr + sr * sr) * (xg * xg + yg * yg + sg * sg)) *
                           (xb * xb + yb * yb + sb * sb);
    const bool dependent = det * det <= kDependent * kDependent * lengths;
    const double inverse = 1.0 / det;
    const auto share = [&](double x, double y, double s, const ReachedColour& to) {
      const auto rounded = static_cast<float>((x * to.X + y * to.Y + s * to.sum) * inverse);
      return dependent ? 0.0F : rounded;
    };
    out_0[i] = share(ar_x, ar_y, ar_s, to_red);
    out_1[i] = share(ag_x, ag_y, ag_s, to_red);
    out_2[i] = share(ab_x, ab_y, ab_s, to_red);
    out_3[i] = share(ar_x, ar_y, ar_s, to_green);
    out_4[i] = share(ag_x, ag_y, ag_s, to_green);
    out_5[i] = share(ab_x, ab_y, ab_s, to_green);
    out_6[i] = share(ar_x, ar_y, ar_s, to_blue);
    out_7[i] = share(ag_x, ag_y, ag_s, to_blue);
    out_8[i] = share(ab_x, ab_y, ab_s, to_blue);
  }
}

}  // namespace multilayer
