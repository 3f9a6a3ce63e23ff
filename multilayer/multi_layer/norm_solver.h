// The Norm computation of one colour: what its LEDs share, and a solver for rows of them.
#pragma once

#include <vector>

#include "multilayer/cpu/instruction_set.h"
#include "multilayer/multi_layer/norm_kernel.h"

namespace multilayer {

class MultiLayerCoeff;

// What all LEDs of one colour share.
struct NormColour {
  std::vector<double> drive;     // linear drive of each capture layer, fraction of full scale
  std::vector<double> target;    // target luminance of each coefficient layer
  std::vector<double> position;  // gray position of each coefficient layer
  double gray_max = 0;
};

// The above for colour 0 (red), 1 or 2 of an engine whose input is assembled. All colours share the
// red rows of linear_norms_pos and pos_hardware.
NormColour NormColourOf(const MultiLayerCoeff& engine, size_t colour);

// One row of LEDs: pointers to its first LED, one a layer.
struct NormRow {
  std::vector<const float*> chroma;  // measured luminance, one a capture layer
  std::vector<const uint8_t*> state;
  std::vector<float*> coef;      // out, one a coefficient layer
  std::vector<float*> segments;  // out: slope and intercept by turns, one a capture layer, or empty
};

class NormSolver {
 public:
  NormSolver(const NormColour& colour, InstructionSet set);

  // Solves `count` LEDs. Returns the instruction set that the kernel was compiled for.
  InstructionSet Solve(const NormRow& row, size_t count);

 private:
  InstructionSet (*solve_)(const NormWork& work);
  double gray_max_;
  bool ascending_ = true;
  std::vector<NormCapture> captures_;
  std::vector<NormTarget> targets_;
  // Room for a tile: slopes, then intercepts.
  std::vector<float> segments_;
  std::vector<NormRange> range_;
};

}  // namespace multilayer
