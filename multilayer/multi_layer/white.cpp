// The white computations.
#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {

int32_t MultiLayerCoeff::ComputeWhite(const ChromaXYZ& /*white*/, const PartRecord& /*part*/) {
  PellixInfo("MultiLayerWhiteCoeff::Compute");
  return Fail(9, "MultiLayerWhiteCoeff::Compute--Error ::  white mode is not available yet.");
}

int32_t MultiLayerCoeff::ComputeWhiteSingle(const ChromaXYZ& /*white*/,
                                            int32_t /*cur_gray_value*/) {
  PellixInfo("MultiLayerCoeff::ComputeWhiteSingle");
  return Fail(9, "MultiLayerCoeff::ComputeWhiteSingle--Error :: white mode is not available yet.");
}

}  // namespace multilayer
