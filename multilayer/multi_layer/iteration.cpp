// The luminance iteration.
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer {

int32_t MultiLayerCoeff::IterateCompute() {
  return Fail(9, "MultiLayerCoeff::IterateCompute--Error ::  iteration is not available yet.");
}

}  // namespace multilayer
