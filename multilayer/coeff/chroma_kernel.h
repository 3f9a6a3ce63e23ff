// The 3 x 3 systems of the chroma fit, one LED after the other: the shares of its primaries that
// give the colours to be reached. docs/numerics.md, "Chroma fit"; ChromaPlain has the plain form.
#pragma once

#include <cstddef>

#include "multilayer/cpu/instruction_set.h"

namespace multilayer {

// What a corrected primary emits: CIE X and Y, and the sum X + Y + Z, in which chromaticities are
// linear.
struct ReachedColour {
  double X = 0.0;
  double Y = 0.0;
  double sum = 0.0;
};

struct ReachedColours {
  ReachedColour primaries[3];  // corrected red, green, blue
  // False if weights and targets leave a colour open: the equations have no single solution.
  bool determined = false;
};

// One row of LEDs.
struct ChromaRow {
  const float* primaries[3][3];  // measured: [red, green, blue][X, Y, Z]
  float* shares[9];              // out: [3 o + i], of primary i in the corrected primary o
  size_t count;
};

// Primaries count as dependent when their determinant is no larger than what rounding their values
// to floats can leave of dependent ones: relative to the lengths of the three columns (X, Y, S),
// each with up to 2^-24 in X and Y and twice that in S.
inline constexpr double kDependent = 0x1p-22;

// Shares of a row; zeros for LEDs whose primaries are dependent.
template <InstructionSet set>
void MixPrimaries(const ReachedColours& reached, const ChromaRow& row);

#if defined(MULTILAYER_X86_KERNELS)
template <>
void MixPrimaries<InstructionSet::kAvx512>(const ReachedColours& reached, const ChromaRow& row);
template <>
void MixPrimaries<InstructionSet::kAvx2>(const ReachedColours& reached, const ChromaRow& row);
#endif
template <>
void MixPrimaries<InstructionSet::kBase>(const ReachedColours& reached, const ChromaRow& row);

}  // namespace multilayer
