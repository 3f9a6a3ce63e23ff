// The truth of a wall: what every LED really does, which no camera knows.
#pragma once

#include <array>
#include <cstddef>

#include <opencv2/core/mat.hpp>

#include "multilayer/io/metadata.h"
#include "simulation/parameters.h"

namespace multilayer::simulation {

// One primary of every LED of a partition; matrices are partition h x w.
struct PrimaryTruth {
  cv::Mat luminance;         // CV_64FC1: cd/m^2 at full drive
  cv::Mat wavelength_shift;  // CV_64FC1: dominant wavelength against nominal, nm
  cv::Mat turn_on;  // CV_64FC1: drive below which nothing is emitted, fraction of full scale
  cv::Mat dead;     // CV_8UC1: 1 for an LED that does not light
};

struct PartitionTruth {
  PartRecord part;
  std::array<PrimaryTruth, 3> primaries;  // red, green, blue
};

// Computes the truth of one partition. Depends on the parameters and on where each LED is on the
// screen, not on how the screen is divided: two partitions that share an LED agree on it.
PartitionTruth MakePartition(const WallParameters& wall, const PartRecord& part);

// Luminance of every LED (CV_64FC1, cd/m^2) at the given drive (CV_64FC1, fraction of full scale).
cv::Mat Emit(const WallParameters& wall, const PrimaryTruth& primary, const cv::Mat& drive);

}  // namespace multilayer::simulation
