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

// Pointers to the first LED of the stretch. `next` more follow it in memory and come next.
struct FoldWork {
  Fold fold;
  const float* values;
  float* const* layers;  // in and out
  size_t layer_count;
  float* const* followers;  // out: layers that become copies of `top`
  size_t follower_count;
  const float* top;
  size_t count;
  size_t next;
};

struct FactorWork {
  double target;
  const float* measured;
  const uint8_t* state;
  float* factors;  // out: target / measured, 1 for an LED that may not be used
  size_t count;
  size_t next;
};

template <InstructionSet set>
void FoldIntoLayers(const FoldWork& work);
template <InstructionSet set>
void FindFactors(const FactorWork& work);

#if defined(MULTILAYER_X86_KERNELS)
template <>
void FoldIntoLayers<InstructionSet::kAvx512>(const FoldWork& work);
template <>
void FoldIntoLayers<InstructionSet::kAvx2>(const FoldWork& work);
template <>
void FindFactors<InstructionSet::kAvx512>(const FactorWork& work);
template <>
void FindFactors<InstructionSet::kAvx2>(const FactorWork& work);
#endif
template <>
void FoldIntoLayers<InstructionSet::kBase>(const FoldWork& work);
template <>
void FindFactors<InstructionSet::kBase>(const FactorWork& work);

}  // namespace multilayer
