// One LED at a time.
#include "multilayer/coeff/coeff_set_plain.h"

#include <opencv2/core.hpp>

namespace multilayer {

cv::Mat FactorsPlain(float full_scale, const cv::Mat& measured) {
  cv::Mat factors(measured.size(), CV_32FC1);
  for (int row = 0; row < measured.rows; ++row) {
    for (int col = 0; col < measured.cols; ++col) {
      factors.at<float>(row, col) = full_scale / measured.at<float>(row, col);
    }
  }
  return factors;
}

void MergePlain(const cv::Mat& factors, cv::Mat& plane) {
  for (int row = 0; row < plane.rows; ++row) {
    for (int col = 0; col < plane.cols; ++col) {
      plane.at<float>(row, col) *= factors.at<float>(row, col);
    }
  }
}

}  // namespace multilayer
