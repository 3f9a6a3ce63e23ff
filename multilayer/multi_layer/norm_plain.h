// The definition of the Norm computation in its plain form: what the tiles must equal bit for bit.
#pragma once

#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer {

// Fills response_segments and the coefficient lists of an engine after SetInput, LED by LED.
void NormPlain(MultiLayerCoeff& engine);

}  // namespace multilayer
