// One LED at a time.
#include "multilayer/coeff/coeff_set_plain.h"

#include <algorithm>

#include <opencv2/core.hpp>

namespace multilayer {
namespace {

bool Holds(const cv::Mat& plane, int64_t row, int64_t col) {
  return row < plane.rows && col < plane.cols && row >= 0 && col >= 0;
}

}  // namespace

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

void BlendPlain(const SetView& source, const SetView& target, Lines lines, int64_t n,
                float divisor) {
  const bool rows = lines == Lines::kRows;
  std::vector<cv::Mat> to = target.planes;
  std::vector<cv::Mat> from = source.planes;
  const cv::Size size = to[0].size();
  const int64_t height = rows ? std::min<int64_t>(n, size.height) : size.height;
  const int64_t width = rows ? size.width : std::min<int64_t>(n, size.width);
  for (int64_t row = 0; row < height; ++row) {
    for (int64_t col = 0; col < width; ++col) {
      const int64_t k = rows ? row : col;
      const int64_t from_row = rows ? size.height - 1 - row : row;
      const int64_t from_col = rows ? col : size.width - 1 - col;
      if (!Holds(from[0], from_row, from_col)) {
        continue;
      }
      for (size_t p = 0; p < to.size(); ++p) {
        auto& taken = to[p].at<float>(static_cast<int>(row), static_cast<int>(col));
        auto& given = from[p].at<float>(static_cast<int>(from_row), static_cast<int>(from_col));
        taken =
            (static_cast<float>(n - 1 - k) * given + static_cast<float>(k + 1) * taken) / divisor;
        given = taken;
      }
    }
  }
}

void AssemblePlain(const std::vector<SetView>& sets, const std::vector<float>& neutral,
                   const SetView& out) {
  for (size_t p = 0; p < neutral.size(); ++p) {
    cv::Mat plane = out.planes[p];
    plane.setTo(static_cast<double>(neutral[p]));
    for (const SetView& set : sets) {
      for (int row = 0; row < set.part.h; ++row) {
        for (int col = 0; col < set.part.w; ++col) {
          plane.at<float>(set.part.y - out.part.y + row, set.part.x - out.part.x + col) =
              set.planes[p].at<float>(row, col);
        }
      }
    }
  }
}

}  // namespace multilayer
