// One LED at a time.
#include "multilayer/coeff/coeff_set_plain.h"

#include <algorithm>

#include <opencv2/core.hpp>

namespace multilayer {
namespace {

// The LED at `place` of a line, or null where the plane does not reach.
float* Find(const cv::Mat& plane, Lines lines, int64_t line, int64_t place) {
  const int64_t row = lines == Lines::kRows ? line : place;
  const int64_t col = lines == Lines::kRows ? place : line;
  const bool held = row >= 0 && row < plane.rows && col >= 0 && col < plane.cols;
  return held ? const_cast<float*>(plane.ptr<float>(static_cast<int>(row))) + col : nullptr;
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
  const cv::Size size = target.planes[0].size();
  const int64_t count = lines == Lines::kRows ? size.height : size.width;
  const int64_t places = lines == Lines::kRows ? size.width : size.height;
  for (int64_t k = 0; k < std::min(n, count); ++k) {
    for (int64_t place = 0; place < places; ++place) {
      for (size_t p = 0; p < target.planes.size(); ++p) {
        float* const from = Find(source.planes[p], lines, count - 1 - k, place);
        float* const to = Find(target.planes[p], lines, k, place);
        if (from != nullptr && to != nullptr) {
          *to = (static_cast<float>(n - 1 - k) * *from + static_cast<float>(k + 1) * *to) / divisor;
          *from = *to;
        }
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
