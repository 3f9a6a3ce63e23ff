// The definition of a step of the luminance iteration in its plain form: what IterateCompute must
// equal bit for bit.
#pragma once

#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer {

// One step on the coefficient lists of an engine that holds its layers, after SetInput, LED by LED.
void IterationPlain(MultiLayerCoeff& engine);

}  // namespace multilayer
