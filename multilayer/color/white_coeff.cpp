// Parameters, checks and the step of white balance.
#include "multilayer/color/white_coeff.h"

#include <algorithm>
#include <iterator>

#include <opencv2/core.hpp>

#include "multilayer/color/white_matrices.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/renew.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kRejected = 9;

bool IsFloatPlane(const cv::Mat& plane, int32_t rows, int32_t cols) {
  return plane.dims == 2 && plane.type() == CV_32FC1 && plane.rows == rows && plane.cols == cols;
}

cv::Mat_<float> Difference(float target, const cv::Mat_<float>& measured) {
  cv::Mat_<float> difference(measured.size());
  std::transform(measured.begin(), measured.end(), difference.begin(),
                 [target](float value) { return target - value; });
  return difference;
}

}  // namespace

int32_t WhiteCoeff::SetRGBXYZ(const float* m) {
  PellixInfo("WhiteCoeff::SetRGBXYZ");
  if (m == nullptr) {
    return kRejected;
  }
  // New elements: a copy of this object may share the old ones.
  cv::Mat matrix(3, 3, CV_32FC1);
  for (int k = 0; k < 3; ++k) {
    for (int c = 0; c < 3; ++c) {
      matrix.at<float>(k, c) = m[3 * c + k];
    }
  }
  rgb2xyz = matrix;
  return 0;
}

int32_t WhiteCoeff::SetRGBXYZ(const ChromaXYZ& r, const ChromaXYZ& g, const ChromaXYZ& b) {
  PellixInfo("WhiteCoeff::SetRGBXYZ");
  for (const ChromaXYZ* bundle : {&r, &g, &b}) {
    if (ChromaXYZ::Check(bundle) != 0 || bundle->X.size() != r.X.size()) {
      return kRejected;
    }
  }
  rgb_xyz = {r, g, b};
  return 0;
}

int32_t WhiteCoeff::SetTargetWhite(const float* xyz) {
  PellixInfo("WhiteCoeff::SetTargetWhite");
  if (xyz == nullptr) {
    return 1;
  }
  target_white = xyz;
  return 0;
}

int32_t WhiteCoeff::Compute(const ChromaXYZ& w, const PartRecord& p) {
  PellixInfo("WhiteCoeff::Compute");
  if (const int32_t status = Bind(w, p); status != 0) {
    return status;
  }
  cv::Mat* const gains[] = {&coef_r, &coef_g, &coef_b};
  if (coef_r.empty() || coef_g.empty() || coef_b.empty()) {
    for (cv::Mat* gain : gains) {
      *gain = cv::Mat(height, width, CV_32FC1, cv::Scalar(1.0));
    }
  }
  std::for_each(std::begin(gains), std::end(gains), [](cv::Mat* gain) { Unshare(*gain); });
  delta_xyz = {Difference(target_white[0], w.X), Difference(target_white[1], w.Y),
               Difference(target_white[2], w.Z)};
  singular_count = 0;
  const WhiteMatrices matrices(rgb2xyz, rgb_xyz, ChooseInstructionSet());
  for (int row = 0; row < height; ++row) {
    singular_count += matrices.AddIncrements(
        w, target_white, {row, 0, static_cast<size_t>(width)},
        {coef_r.ptr<float>(row), coef_g.ptr<float>(row), coef_b.ptr<float>(row)});
  }
  return 0;
}

// The partition stays bound when a later check fails.
int32_t WhiteCoeff::Bind(const ChromaXYZ& w, const PartRecord& p) {
  const bool fixed = !rgb2xyz.empty();
  const bool measured = !rgb_xyz[0].empty() && !rgb_xyz[1].empty() && !rgb_xyz[2].empty();
  if (target_white == nullptr || !(fixed ? IsFloatPlane(rgb2xyz, 3, 3) : measured)) {
    return Fail(kRejected,
                "WhiteCoeff::Compute--Error :: no target white or no RGB to XYZ matrix.");
  }
  if (ChromaXYZ::Check(&w) != 0) {
    return kRejected;
  }
  if (part.h != -1 && (part.w != p.w || part.h != p.h)) {
    return Fail(kRejected, "WhiteCoeff::Compute-- partition mismatched");
  }
  if (part.h == -1) {
    part = p;
  }
  width = part.w;
  height = part.h;
  if (!IsFloatPlane(w.X, height, width)) {
    return Fail(kRejected, "WhiteCoeff::Compute-- W XYZ data size mismatched");
  }
  for (const ChromaXYZ& primary : rgb_xyz) {
    if (!primary.empty() &&
        (ChromaXYZ::Check(&primary) != 0 || !IsFloatPlane(primary.X, height, width))) {
      return Fail(kRejected, "WhiteCoeff::Compute-- W XYZ and rgb_xyz data size mismatched");
    }
  }
  // Restored from a file, they may be anything; without one of them, all start anew.
  const bool restart = coef_r.empty() || coef_g.empty() || coef_b.empty();
  for (const cv::Mat* gain : {&coef_r, &coef_g, &coef_b}) {
    if (!restart && !IsFloatPlane(*gain, height, width)) {
      return Fail(kRejected, "WhiteCoeff::Compute-- gains and W XYZ data size mismatched");
    }
  }
  return 0;
}

}  // namespace multilayer
