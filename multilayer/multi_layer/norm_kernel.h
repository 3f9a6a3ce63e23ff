// The hot loop of the Norm computation: one colour's response curves, solved for every coefficient
// layer, a tile of LEDs at a time. docs/numerics.md has the equations; NormPlain has their plain
// form, whose bits this gives.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

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
  explicit NormSolver(const NormColour& colour);

  // Solves `count` LEDs. Reads each measurement once, writes each coefficient once.
  void Solve(const NormRow& row, size_t count);

 private:
  void BuildSegments(const NormRow& row, size_t begin, size_t count);
  void SolveLayer(const NormRow& row, size_t layer, size_t begin, size_t count);

  NormColour colour_;
  std::vector<float> threshold_;  // smallest float not below each target
  size_t tile_;
  // Of the current tile, capture layer by capture layer.
  std::vector<float> slope_;
  std::vector<float> intercept_;
  // Of the current tile: nonzero for an LED that is not corrected; the segment the target falls on.
  std::vector<int32_t> bad_;
  std::vector<int32_t> found_;
  std::vector<float> chosen_slope_;
  std::vector<float> chosen_intercept_;
};

}  // namespace multilayer
