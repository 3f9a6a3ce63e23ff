// One LED at a time.
#include "multilayer/color/white_plain.h"

#include <opencv2/core.hpp>

namespace multilayer {

std::array<double, 3> WhitePlain(const Matrix3& m, const std::array<float, 3>& d) {
  const double xr = m[0][0], xg = m[0][1], xb = m[0][2];
  const double yr = m[1][0], yg = m[1][1], yb = m[1][2];
  const double zr = m[2][0], zg = m[2][1], zb = m[2][2];
  const double dx = d[0], dy = d[1], dz = d[2];
  const double det = xr * (yg * zb - yb * zg) + xg * (yb * zr - yr * zb) + xb * (yr * zg - yg * zr);
  if (static_cast<float>(det) == 0.0F) {
    return {0, 0, 0};
  }
  return {((yg * zb - yb * zg) * dx + (xb * zg - xg * zb) * dy + (xg * yb - xb * yg) * dz) / det,
          ((yb * zr - yr * zb) * dx + (xr * zb - xb * zr) * dy + (xb * yr - xr * yb) * dz) / det,
          ((yr * zg - yg * zr) * dx + (xg * zr - xr * zg) * dy + (xr * yg - xg * yr) * dz) / det};
}

std::array<float, 3> WhiteByMatrixLibrary(const Matrix3& m, const std::array<float, 3>& d) {
  cv::Mat matrix(3, 3, CV_32FC1);
  cv::Mat difference(3, 1, CV_32FC1);
  for (int row = 0; row < 3; ++row) {
    const auto k = static_cast<size_t>(row);
    difference.at<float>(row, 0) = d[k];
    for (int col = 0; col < 3; ++col) {
      matrix.at<float>(row, col) = m[k][static_cast<size_t>(col)];
    }
  }
  if (static_cast<float>(cv::determinant(matrix)) == 0.0F) {
    return {0, 0, 0};
  }
  const cv::Mat increment = matrix.inv() * difference;
  return {increment.at<float>(0, 0), increment.at<float>(1, 0), increment.at<float>(2, 0)};
}

}  // namespace multilayer
