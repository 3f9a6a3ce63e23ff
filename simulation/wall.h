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
  cv::Mat luminance;         // CV_64FC1: cd/m^2 at full drive, also where dead
  cv::Mat wavelength_shift;  // CV_64FC1: dominant wavelength against nominal, nm
  cv::Mat turn_on;      // CV_64FC1: drive below which nothing is emitted, fraction of full scale
  cv::Mat droop_shift;  // CV_64FC1: droop against the wall's
  cv::Mat dead;         // CV_8UC1: 1 for an LED that does not light
};

struct PartitionTruth {
  PartRecord part;
  std::array<PrimaryTruth, 3> primaries;  // red, green, blue
};

// The partition that is the whole screen.
PartRecord WholeScreen(const WallParameters& wall);

// Computes the truth of one partition (w and h at least 1). Depends on the parameters and on where
// each LED is on the screen, not on how the screen is divided: two partitions that share an LED
// agree on it bit for bit. An LED's luminance at full drive is
//   full_scale x (1 + led + slope x shift) x (1 + module) x (1 + chip) x (1 + channel),
//   shift = its own + its module's wavelength.
PartitionTruth MakePartition(const WallParameters& wall, const PartRecord& part);

// Luminance of every LED (CV_64FC1, cd/m^2) at the given drive (CV_64FC1, fraction u of full
// scale). The response of an LED that reaches `luminance` at u = 1:
//   L(u) = luminance x max(0, u - turn_on) / (1 - turn_on) x (1 - droop x u) / (1 - droop)
// and 0 where dead. The LED lights for what its pulse exceeds the turn-on time, and gives less the
// longer it is lit.
cv::Mat Emit(const WallParameters& wall, const PrimaryTruth& primary, const cv::Mat& drive);

}  // namespace multilayer::simulation
