// Which layers an iteration step corrects: one rule for luminance and white.
#pragma once

#include <cstdint>
#include <vector>

namespace multilayer {

// `order`: for each captured layer in the order in which the layers are shown, its place in
// ascending order (iterate_layer_order). Step 0 corrects all layers. Step i >= 1 corrects the layer
// shown before it, order[i - 1], and those still to come, except that once the walk is below the
// first layer, it no longer touches layers at or above the first. `step` must be 0 .. order.size().
std::vector<int32_t> LayersOfStep(const std::vector<int32_t>& order, int32_t step);

}  // namespace multilayer
