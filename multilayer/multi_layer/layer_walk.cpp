// The walk over the layers.
#include "multilayer/multi_layer/layer_walk.h"

#include <algorithm>

namespace multilayer {

std::vector<int32_t> LayersOfStep(const std::vector<int32_t>& order, int32_t step) {
  if (step == 0) {
    return order;
  }
  const int32_t first = order.front();
  const int32_t previous = order[static_cast<size_t>(step) - 1];
  std::vector<int32_t> layers;
  std::copy_if(std::find(order.begin(), order.end(), previous), order.end(),
               std::back_inserter(layers),
               [&](int32_t layer) { return !(layer >= first && previous < first); });
  return layers;
}

}  // namespace multilayer
