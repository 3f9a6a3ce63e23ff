// Measurements of X, Y and Z become one bundle.
#include "multilayer/color/chroma.h"

#include <array>

#include <opencv2/core.hpp>

#include "multilayer/io/fail.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr uint32_t kBundleChecks = CHECK_NOT_NULL | CHECK_CHROMA | CHECK_SAME_CHROMA_SIZE |
                                   CHECK_TYPE | CHECK_DIFFERENT_TYPE | CHECK_SAME_COLOR;

using Planes = std::array<cv::Mat_<float>, 3>;

bool HasFloatPlane(const LedMeter* meter) {
  return meter != nullptr && meter->chroma.type() == CV_32FC1 && meter->chroma.dims == 2;
}

// The planes X, Y, Z of the checked measurements; `class_name` begins the message.
int32_t TakePlanes(const char* class_name, const LedMeter* meter_x, const LedMeter* meter_y,
                   const LedMeter* meter_z, Planes& planes) {
  if (meter_x == nullptr && meter_y == nullptr && meter_z == nullptr) {
    return Fail(1, "%s::Combine-- meter_x meter_y  meter_z all Nullptr", class_name);
  }
  const bool without_z = meter_x != nullptr && meter_x->color == COLOR_RED && meter_z == nullptr;
  const int32_t status = without_z ? LedMeter::Check(kBundleChecks, meter_x, meter_y)
                                   : LedMeter::Check(kBundleChecks, meter_x, meter_y, meter_z);
  if (status != 0) {
    return status;
  }
  if (!HasFloatPlane(meter_x) || !HasFloatPlane(meter_y) ||
      (!without_z && !HasFloatPlane(meter_z))) {
    return Fail(9, "%s::Combine--Error :: chroma is not a matrix of 32-bit floats.", class_name);
  }
  // Assigned as cv::Mat, whose assignment shares; the type is known to be that of the planes.
  planes = {meter_x->chroma, meter_y->chroma,
            without_z ? cv::Mat_<float>::zeros(meter_y->chroma.size()) : meter_z->chroma};
  return 0;
}

ChromaLxy LxyOf(const Planes& planes) {
  const cv::Mat sum = planes[0] + planes[1] + planes[2];
  ChromaLxy lxy;
  lxy.L = planes[1];
  cv::divide(planes[0], sum, lxy.x);
  cv::divide(planes[1], sum, lxy.y);
  return lxy;
}

}  // namespace

int32_t ChromaXYZ::Combine(const LedMeter* meter_x, const LedMeter* meter_y,
                           const LedMeter* meter_z) {
  PellixInfo("ChromaXYZ::Combine");
  Planes planes;
  if (const int32_t status = TakePlanes("ChromaXYZ", meter_x, meter_y, meter_z, planes);
      status != 0) {
    return status;
  }
  X = planes[0];
  Y = planes[1];
  Z = planes[2];
  return 0;
}

ChromaLxy ChromaXYZ::ToLxy() const { return Check(this) == 0 ? LxyOf({X, Y, Z}) : ChromaLxy{}; }

int32_t ChromaXYZ::Check(const ChromaXYZ* bundle) {
  if (bundle == nullptr) {
    return 1;
  }
  if (bundle->empty()) {
    return 5;
  }
  return bundle->Z.size() != bundle->X.size() || bundle->Y.size() != bundle->X.size() ? 9 : 0;
}

int32_t ChromaLxy::Combine(const LedMeter* meter_x, const LedMeter* meter_y,
                           const LedMeter* meter_z) {
  PellixInfo("ChromaLxy::Combine");
  Planes planes;
  if (const int32_t status = TakePlanes("ChromaLxy", meter_x, meter_y, meter_z, planes);
      status != 0) {
    return status;
  }
  *this = LxyOf(planes);
  return 0;
}

}  // namespace multilayer
