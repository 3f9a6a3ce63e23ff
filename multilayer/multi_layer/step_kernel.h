// The hot loops of an iteration step, for a stretch of LEDs of one colour: the factors of luminance,
// and folding factors or gains into the layers. docs/numerics.md has the equations.
#pragma once

#include <cstddef>
#include <cstdint>

#include "multilayer/cpu/instruction_set.h"

namespace multilayer {

// What a layer becomes of an LED's value v.
enum class Fold {
  kSet,       // v
  kMultiply,  // coefficient x v
  kAdd,       // coefficient + (v - 1): a v of exactly 1 leaves every coefficient exactly as it was
};

// The layers of one colour: pointers to the first LED of the stretch.
struct FoldLayers {
  Fold fold;
  float* const* layers;  // in and out
  size_t layer_count;
  float* const* followers;  // out: layers that become copies of `top`
  size_t follower_count;
  const float* top;
};

// Folds the value of each LED into its layers.
template <InstructionSet set>
void FoldIntoLayers(const FoldLayers& layers, const float* values, size_t count);

struct Refinement {
  double target;
  const float* measured;
  const uint8_t* state;
};

// Folds target / measured into the layers of each LED, or 1 for an LED that may not be used.
template <InstructionSet set>
void RefineLayers(const FoldLayers& layers, const Refinement& refinement, size_t count);

#if defined(MULTILAYER_X86_KERNELS)
template <>
void FoldIntoLayers<InstructionSet::kAvx512>(const FoldLayers& layers, const float* values,
                                             size_t count);
template <>
void FoldIntoLayers<InstructionSet::kAvx2>(const FoldLayers& layers, const float* values,
                                           size_t count);
template <>
void RefineLayers<InstructionSet::kAvx512>(const FoldLayers& layers, const Refinement& refinement,
                                           size_t count);
template <>
void RefineLayers<InstructionSet::kAvx2>(const FoldLayers& layers, const Refinement& refinement,
                                         size_t count);
#endif
template <>
void FoldIntoLayers<InstructionSet::kBase>(const FoldLayers& layers, const float* values,
                                           size_t count);
template <>
void RefineLayers<InstructionSet::kBase>(const FoldLayers& layers, const Refinement& refinement,
                                         size_t count);

}  // namespace multilayer
