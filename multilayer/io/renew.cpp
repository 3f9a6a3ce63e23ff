// When a matrix may be written over.
#include "multilayer/io/renew.h"

namespace multilayer {

bool IsRenewable(const cv::Mat& plane, cv::Size size, int type) {
  const bool own =
      plane.u != nullptr && plane.u->refcount == 1 && plane.isContinuous() && !plane.isSubmatrix();
  return own && plane.dims == 2 && plane.type() == type && plane.size() == size;
}

void Renew(cv::Mat& plane, cv::Size size, int type) {
  if (!IsRenewable(plane, size, type)) {
    plane = cv::Mat(size, type);
  }
}

void Unshare(cv::Mat& plane) {
  if (plane.u == nullptr || plane.u->refcount != 1) {
    plane = plane.clone();
  }
}

}  // namespace multilayer
