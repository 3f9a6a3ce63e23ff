// The iterations of a wall: the engine of a partition between two steps, and the targets of white.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "simulation/closed_loop.h"
#include "tool/calibration.h"
#include "tool/job.h"
#include "tool/truth.h"

namespace multilayer::tool {

// The primaries of a partition at full scale, X, Y and Z of each.
using PrimariesOf = std::function<simulation::MeasuredPrimaries(const std::string& partition)>;

// The white that the job file asks for: its own, or the brightest that every partition reaches.
// Throws kRefused for a partition without living LEDs, and for a white beyond the primaries' gamut.
std::array<double, 3> FindWhite(const Job& job, const PrimariesOf& primaries);

// An engine with what it borrows. Stays where it is.
struct PartitionEngine {
  PartitionEngine() = default;
  PartitionEngine(const PartitionEngine&) = delete;
  PartitionEngine& operator=(const PartitionEngine&) = delete;

  MultiLayerCoeff engine;
  std::array<float, 9> matrix = {};
  std::array<float, 3> white = {};
};

// Brings photographs of the primaries to full scale.
void FullScale(simulation::MeasuredPrimaries& primaries);

// Gives the engine the parameters of the calibration's next step. White needs `primaries`, of which
// it silences dead LEDs; luminance ignores them. Throws kRefused.
void SetParameters(const Job& job, const Calibration& calibration,
                   simulation::MeasuredPrimaries* primaries, PartitionEngine& partition);

// The wall of a simulated job, in front of its camera.
class SimulatedWall {
 public:
  // Throws kFileAccess, kBrokenFile.
  explicit SimulatedWall(const Job& job);

  simulation::PartitionTruth Partition(const std::string& name) const;

  // At the highest captured level, uncorrected.
  simulation::MeasuredPrimaries Primaries(const simulation::PartitionTruth& partition) const;

  // What the camera sees before a step: luminance of red, green and blue, or X, Y and Z of white.
  std::array<LedMeter, 3> Photograph(Mode mode, const simulation::PartitionTruth& partition,
                                     int32_t level, const simulation::Correction& shown,
                                     int32_t step) const;

 private:
  const Job& job_;
  Truth truth_;
  simulation::Scene scene_;
  Shots shots_;
};

}  // namespace multilayer::tool
