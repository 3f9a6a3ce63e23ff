// What the measured primaries of all LEDs can mix: the targets that white and colour aim at.
#pragma once

#include <array>

#include "simulation/measure.h"

namespace multilayer::simulation {

// Mean X, Y, Z of red, of green, of blue over the LEDs that live: the nine-float matrix.
std::array<float, 9> MeanPrimaries(const MeasuredPrimaries& primaries);

// The brightest white of chromaticity x, y that all but the fraction `missed` of the LEDs reach
// with gains of at most 1, as X, Y, Z. There must be a living LED.
std::array<float, 3> ReachableWhite(const MeasuredPrimaries& primaries, double x, double y,
                                    double missed);

// Targets of a chroma set that every living LED of a wall can reach, from the primaries of its
// partitions at full scale.
class CommonGamut {
 public:
  // `means`: about where the primaries are, as MeanPrimaries of any partition. `x`, `y`: the white,
  // which every LED must be able to mix.
  CommonGamut(const std::array<float, 9>& means, double x, double y);

  // Narrows the gamut to what the living LEDs of a partition reach.
  void Add(const MeasuredPrimaries& primaries);

  // Whether any LED was added that lives and mixes the white.
  bool IsOpen() const;

  // ChromaCoeff's twelve floats, (Y, x, y) of red, green, blue and white. The primaries lie on the
  // lines from the means to the white, as far from it as no LED needs a negative share; their
  // luminances add up to the white. It is the brightest for which no drive exceeds 1, of the white
  // and so of each of its primaries. It must be open.
  std::array<float, 12> Targets() const;

 private:
  std::array<cv::Vec3d, 3> means_;  // colours here are X, Y, Z of sum 1
  cv::Vec3d white_;
  std::array<double, 3> insets_ = {};  // of the way from mean to white
  double brightest_;                   // largest X + Y + Z of the white
};

}  // namespace multilayer::simulation
