// When a matrix may be written over.
#include "multilayer/io/renew.h"

namespace multilayer {

void Renew(cv::Mat& plane, cv::Size size, int type) {
  const bool own =
      plane.u != nullptr && plane.u->refcount == 1 && plane.isContinuous() && !plane.isSubmatrix();
  if (!own || plane.type() != type || plane.size() != size) {
    plane = cv::Mat(size, type);
  }
}

}  // namespace multilayer
