// One LED at a time.
#include "multilayer/coeff/chroma_plain.h"

#include <algorithm>

#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_kernel.h"

namespace multilayer {
namespace {

float SumOf(const std::array<float, 3>& xyz) { return xyz[0] + xyz[1] + xyz[2]; }

}  // namespace

std::array<float, 9> ChromaPlain(const ReachedColours& reached, const LedPrimaries& primaries) {
  const auto& [r, g, b] = primaries;
  const double xr = r[0], xg = g[0], xb = b[0];
  const double yr = r[1], yg = g[1], yb = b[1];
  const double sr = SumOf(r), sg = SumOf(g), sb = SumOf(b);
  const double det = xr * (yg * sb - yb * sg) + xg * (yb * sr - yr * sb) + xb * (yr * sg - yg * sr);
  const double lengths = ((xr * xr + yr * yr + sr * sr) * (xg * xg + yg * yg + sg * sg)) *
                         (xb * xb + yb * yb + sb * sb);
  std::array<float, 9> shares = {};
  if (!reached.determined || det * det <= kDependent * kDependent * lengths) {
    return shares;
  }
  const double inverse = 1.0 / det;
  for (size_t o = 0; o < 3; ++o) {
    const auto& [x, y, s] = reached.primaries[o];
    const std::array<double, 3> numerators = {
        (yg * sb - yb * sg) * x + (xb * sg - xg * sb) * y + (xg * yb - xb * yg) * s,
        (yb * sr - yr * sb) * x + (xr * sb - xb * sr) * y + (xb * yr - xr * yb) * s,
        (yr * sg - yg * sr) * x + (xg * sr - xr * sg) * y + (xr * yg - xg * yr) * s};
    for (size_t i = 0; i < 3; ++i) {
      shares[3 * o + i] = static_cast<float>(numerators[i] * inverse);
    }
  }
  return shares;
}

std::array<double, 9> ChromaByMatrixLibrary(const float* targets, const cv::Mat& weights,
                                            const LedPrimaries& primaries) {
  cv::Mat_<double> a(12, 9, 0.0);
  cv::Mat_<double> b(12, 1, 0.0);
  const auto weight = [&](int row, int col) {
    return static_cast<double>(weights.at<float>(row, col));
  };
  const auto target = [&](int k) { return static_cast<double>(targets[k]); };
  for (int o = 0; o < 3; ++o) {
    for (int p = 0; p < 3; ++p) {
      const std::array<float, 3>& xyz = primaries[static_cast<size_t>(p)];
      const double x = xyz[0];
      const double y = xyz[1];
      const double s = SumOf(xyz);
      const int column = 3 * o + p;
      a(3 * o, column) = weight(o, 0) * y;
      a(3 * o + 1, column) = weight(o, 1) * (target(3 * o + 1) * s - x);
      a(3 * o + 2, column) = weight(o, 2) * (target(3 * o + 2) * s - y);
      a(9, column) = weight(3, 1) * (target(10) * s - x);
      a(10, column) = weight(3, 0) * y;
      a(11, column) = weight(3, 2) * (target(11) * s - y);
    }
    b(3 * o) = target(3 * o);
  }
  b(10) = target(9);
  const cv::Mat normal = a.t() * a;
  const cv::Mat u = normal.inv(cv::DECOMP_LU) * (a.t() * b);
  std::array<double, 9> shares;
  std::copy_n(u.ptr<double>(), shares.size(), shares.begin());
  return shares;
}

}  // namespace multilayer
