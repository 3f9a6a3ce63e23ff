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
// layer, so that each layer ends with the measurement of its own level.

// The gray level to be shown before the engine's next step, which there must be.
int32_t LevelOfStep(const MultiLayerCoeff& engine);

// --- What brings a photograph to full scale -----------------------------------------------------

// chroma / linear drive of the record's layer: what the LED would give at full scale if its
// response were straight.
void DivideByDrive(LedMeter& meter);

// chroma x mean / (mean of the LEDs marked LED_USABLE).
void AlignMean(LedMeter& meter, double mean);

// --- One step, from photographs of LevelOfStep --------------------------------------------------

// Luminance, from records of red, green and blue. Step 0 divides by the drive, so that its targets,
// InitY x (1 - decrease), are absolute. Later steps aim at InitY: their photographs are aligned to
// it, which leaves the decrease, and the mean of the level, as step 0 made them.
// Returns the engine's status.
int32_t StepLuminance(MultiLayerCoeff& engine, std::array<LedMeter, 3> photographs);

// White, from X, Y and Z. Every step divides by the drive: the target is absolute, and the means of
// the levels are corrected too. Returns the status of the bundle or the engine.
int32_t StepWhite(MultiLayerCoeff& engine, MeasuredColour white);

// --- The whole loop -----------------------------------------------------------------------------

// All steps that the engine has left. Step i is shot number `first_shot` + i: a loop that goes on
// from stored coefficients sees the photographs that it would have seen in one go. Returns the
// first status other than 0.
int32_t IterateLuminance(const Scene& scene, const PartitionTruth& partition,
                         MultiLayerCoeff& engine, uint64_t first_shot);
int32_t IterateWhite(const Scene& scene, const PartitionTruth& partition, MultiLayerCoeff& engine,
                     uint64_t first_shot);

// --- What white needs beforehand ----------------------------------------------------------------

// Mean X, Y, Z of red, of green, of blue over the LEDs that live: the nine-float matrix.
std::array<float, 9> MeanPrimaries(const MeasuredPrimaries& primaries);

// The brightest white of chromaticity x, y that all but the fraction `missed` of the LEDs reach
// with gains of at most 1, as X, Y, Z. There must be a living LED.
std::array<float, 3> ReachableWhite(const MeasuredPrimaries& primaries, double x, double y,
                                    double missed);

// Gives the engine the measured primaries of every LED. An LED of which a primary is dead gets
// zeros for it: its matrix is then exactly singular, and its gains stay 1. The noise of a dark
// primary would make them huge instead. Changes the records. Returns the status of the bundles or
// the engine.
int32_t SetPrimaries(MultiLayerCoeff& engine, MeasuredPrimaries& primaries);

}  // namespace multilayer::simulation
