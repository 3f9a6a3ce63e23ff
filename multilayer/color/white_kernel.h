// The 3 x 3 systems of white balance: gain += M^-1 (target - measured), one LED after the other.
// docs/numerics.md has the equations; WhitePlain has their plain form, whose bits this gives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "multilayer/cpu/instruction_set.h"

namespace multilayer {

// A matrix of rows X, Y, Z and columns R, G, B, ready to be solved for many LEDs.
struct WhiteInverse {
  double adjugate[3][3];
  double determinant;
  // By definition the determinant is judged as a float: exactly 0 is singular, tiny or NaN is not.
  bool singular;
};

// A stretch of LEDs: pointers to the first of them.
struct WhiteWork {
  float target[3];               // X, Y, Z
  const float* measured[3];      // X, Y, Z
  const float* primaries[3][3];  // [X, Y, Z][R, G, B]; not read if there is one matrix for all
  const WhiteInverse* fixed;     // that matrix, or null
  float* gain[3];                // R, G, B: in and out
  size_t count;
};

// Returns how many of the LEDs were singular and kept their gains.
template <InstructionSet set>
int32_t AddIncrements(const WhiteWork& work);

#if defined(MULTILAYER_X86_KERNELS)
template <>
int32_t AddIncrements<InstructionSet::kAvx512>(const WhiteWork& work);
template <>
int32_t AddIncrements<InstructionSet::kAvx2>(const WhiteWork& work);
#endif
template <>
int32_t AddIncrements<InstructionSet::kBase>(const WhiteWork& work);

}  // namespace multilayer
