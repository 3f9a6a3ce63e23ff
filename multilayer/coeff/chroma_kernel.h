// The 3 x 3 systems of the chroma fit, one LED after the other: the shares of its primaries that
// give the colours to be reached. docs/numerics.md, "Chroma fit"; ChromaPlain has the plain form.
#pragma once

#include <array>
#include <cstddef>

#include "multilayer/coeff/chroma_targets.h"

namespace multilayer {

// One row of LEDs.
struct ChromaRow {
  // Measured planes: [red, green, blue][X, Y, Z].
  std::array<std::array<const float*, 3>, 3> primaries;
  // Shares: [3 o + i], of primary i in the corrected primary o.
  std::array<float*, 9> shares;
};

// Primaries count as dependent when their determinant is no larger than what rounding their values
// to floats can leave of dependent ones: relative to the lengths of the three columns (X, Y, S),
// each with up to 2^-24 in X and Y and twice that in S.
inline constexpr double kDependent = 0x1p-22;

// Shares of `count` LEDs; zeros for those whose primaries are dependent.
void MixPrimaries(const ReachedColours& reached, const ChromaRow& row, size_t count);

}  // namespace multilayer
