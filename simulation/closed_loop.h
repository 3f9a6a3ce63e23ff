// The iterations on a simulated wall: show a layer through the current coefficients, photograph it,
// bring the photograph to full scale, step.
#pragma once

#include <array>
#include <cstdint>

#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "simulation/measure.h"

namespace multilayer::simulation {

// An engine with iterative or white parameters of n captured levels takes n + 1 steps. Before step
// 0, the caller's first level is shown uncorrected; before step i >= 1, level i - 1 of the caller's
// order is shown through the coefficients so far. Step i is the last one that corrects that level's
// layer, so that each layer ends with the measurement of its own level. Layers lie at pos_hardware,
// near their levels; between them the controller interpolates, and another layer's later step moves
// a level a little. Both have nearly the same correction: without noise, a CV of 0.02 % is left.

// The gray level to be shown before the engine's next step, which there must be.
int32_t LevelOfStep(const MultiLayerCoeff& engine);

// --- What brings a photograph to full scale -----------------------------------------------------

// chroma / linear drive of the record's layer: what the LED would give at full scale if its
// response were straight.
void DivideByDrive(LedMeter& meter);

// Mean of the LEDs marked LED_USABLE, over all partitions that are added.
class UsableMean {
 public:
  void Add(const LedMeter& meter);
  double Value() const { return sum_ / static_cast<double>(count_); }

 private:
  double sum_ = 0.0;
  int64_t count_ = 0;
};

// Of red, green and blue, over the whole wall.
using WallMeans = std::array<UsableMean, 3>;
void Add(WallMeans& means, const std::array<LedMeter, 3>& photographs);

// chroma x to / from.
void Align(LedMeter& meter, double from, double to);

// --- One step, from photographs of LevelOfStep --------------------------------------------------

// Luminance, from records of red, green and blue. Every step aligns them to InitY. Step 0 then
// lowers the mean coefficient to 1 - decrease; later steps leave it and correct the differences
// between the LEDs. What a level's mean lacks stays: 0.6 % at gray 64, a third at gray 16, by the
// turn-on drive. (Divided by the drive instead, a dark first level would make step 0 overdrive all
// others, and later steps would undo the decrease.)
// A factor acts on the whole drive, an LED lights by what exceeds its turn-on drive: a step leaves
// turn-on / lit drive of a difference, 1.6 % at gray 64, half at gray 16. Returns the engine's
// status.
// `means`: of the photographs of all partitions of this step. A partition aligned by its own mean
// would keep its difference from the others, and the seams would show.
int32_t StepLuminance(MultiLayerCoeff& engine, std::array<LedMeter, 3> photographs,
                      const WallMeans& means);

// White, from X, Y and Z. Every step divides by the drive: the target is absolute, and the means of
// the levels are corrected too. With one matrix for all LEDs, a step leaves an LED's deviation from
// it, some 6 %, of what is missing: little at gray 64, too much at gray 16, where a third is
// missing and only one step is the level's own. Returns the status of the bundle or the engine.
int32_t StepWhite(MultiLayerCoeff& engine, MeasuredColour white);

// --- The whole loop -----------------------------------------------------------------------------

// All steps that the engine has left, of a wall of one partition. Step i is shot number
// `first_shot` + i: a loop that goes on from stored coefficients sees the photographs that it would
// have seen in one go. Returns the first status other than 0.
int32_t IterateLuminance(const Scene& scene, const PartitionTruth& partition,
                         MultiLayerCoeff& engine, uint64_t first_shot);
int32_t IterateWhite(const Scene& scene, const PartitionTruth& partition, MultiLayerCoeff& engine,
                     uint64_t first_shot);

// --- What white needs beforehand, beside its target (gamut.h) -----------------------------------

// Gives the engine the measured primaries of every LED. An LED of which a primary is dead gets
// zeros for it: its matrix is then exactly singular, and its gains stay 1. The noise of a dark
// primary would make them huge instead. Changes the records. Returns the status of the bundles or
// the engine.
int32_t SetPrimaries(MultiLayerCoeff& engine, MeasuredPrimaries& primaries);

}  // namespace multilayer::simulation
