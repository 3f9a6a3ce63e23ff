// The measurements of a job, checked against it, and the targets that follow from them.
#pragma once

#include <array>
#include <vector>

#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tool/job.h"

namespace multilayer::tool {

// Of red, green and blue, in the order of the job's levels.
using PartitionMeters = std::array<std::vector<LedMeter>, 3>;

inline constexpr std::array<int32_t, 3> kColorCodes = {COLOR_RED, COLOR_GREEN, COLOR_BLUE};
inline constexpr int32_t kAnyColor = 0;

// A measurement, which must be of the colour (or of any), type and level that its name says. It has
// a part and a layer whose linear norm is above 0. Throws kFileAccess, kBrokenFile.
LedMeter LoadMeasurement(const std::filesystem::path& path, int32_t color, int32_t type,
                         int32_t level);

// One of the job's own, CIE Y.
LedMeter LoadMeasurement(const Job& job, const std::string& partition, size_t colour,
                         int32_t level);

// All measurements of a partition; all must be of the same part of the screen.
PartitionMeters LoadPartition(const Job& job, const std::string& partition);

// The same for all partitions of a wall, or the seams would show.
struct Targets {
  std::array<double, 3> luminance = {};  // at full drive, cd/m^2
  std::array<double, 3> decrease = {};   // fraction by which the target lies below

  // Of one colour at a linear drive.
  double At(size_t colour, double drive) const {
    return drive * luminance[colour] * (1 - decrease[colour]);
  }
};

// From the job file, or from the highest captured level of all partitions. Throws kFileAccess,
// kBrokenFile, and kRefused where no LED lives.
Targets FindTargets(const Job& job);

// Sets the job's parameters and targets on an engine: for one pass over all levels, or for a step
// of the iteration, with the levels in its order. Throws kRefused.
void SetParameters(const Job& job, const Targets& targets, MultiLayerCoeff& engine);
void SetParameters(const Job& job, const Targets& targets, const std::vector<int32_t>& order,
                   int32_t step, MultiLayerCoeff& engine);

}  // namespace multilayer::tool
