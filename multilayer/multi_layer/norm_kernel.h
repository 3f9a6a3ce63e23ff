// The hot loop of the Norm computation: the response curves of a row of LEDs in one colour, solved
// for every coefficient layer. docs/numerics.md has the equations; NormPlain has their plain form,
// whose bits this gives.
#pragma once

#include <cstddef>
#include <cstdint>

#include "multilayer/cpu/divisor.h"
#include "multilayer/cpu/instruction_set.h"

namespace multilayer {

// LEDs that go through all layers together: their segments stay in the first-level cache, and so does
// what is fetched of the tile that follows (256 LEDs: 1.15 times the time on a Zen 4).
constexpr size_t kNormTile = 64;

struct NormCapture {
  double drive = 0;
  Divisor step;  // drive above that of the layer below; the first stands above 0
};

struct NormTarget {
  double luminance = 0;
  float threshold = 0;  // smallest float not below it
  Divisor position;
};

// Lowest and highest measurement among LEDs.
struct NormRange {
  float lowest;
  float highest;
};

struct NormWork {
  // What all LEDs share.
  const NormCapture* captures;
  size_t capture_count;
  const NormTarget* targets;
  size_t target_count;
  double gray_max;
  bool ascending;  // each drive is above the one below
  // Room for one tile, capture layer by capture layer: a tile of each, and one range.
  float* slope;
  float* intercept;
  NormRange* range;
  // One row of LEDs: pointers to its first LED, one a layer.
  const float* const* chroma;  // measured luminance
  const uint8_t* const* state;
  float* const* coef;      // out
  float* const* segments;  // out: slope and intercept by turns, or null
  size_t count;
};

// Reads each measurement once, writes each coefficient once. Returns the set it was compiled for.
template <InstructionSet set>
InstructionSet SolveNorm(const NormWork& work);

#if defined(MULTILAYER_X86_KERNELS)
template <>
InstructionSet SolveNorm<InstructionSet::kAvx512>(const NormWork& work);
template <>
InstructionSet SolveNorm<InstructionSet::kAvx2>(const NormWork& work);
#endif
template <>
InstructionSet SolveNorm<InstructionSet::kBase>(const NormWork& work);

}  // namespace multilayer
