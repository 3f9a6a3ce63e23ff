// The colour of an LED's light: what CIE X and Z come with its luminance.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "simulation/parameters.h"
#include "simulation/wall.h"

namespace multilayer::simulation {

// CIE X, Y and Z of every LED: CV_64FC1, in units of luminance (cd/m^2).
using Tristimulus = std::array<cv::Mat, 3>;

// CIE 1976 chromaticity u', v'.
std::array<double, 2> UvPrime(double x, double y, double z);

// Chromaticities of the three primaries by wavelength shift. The spectrum of a primary is a
// Gaussian on a broad foot (WallParameters), seen by the CIE 1931 observer. Computed once into a
// table; an LED's colour depends on its own shift alone.
class Colours {
 public:
  explicit Colours(const WallParameters& wall);

  struct Ratio {
    double x;  // X / Y
    double z;  // Z / Y
  };

  // Of a primary (0 red, 1 green, 2 blue) that is `shift` nm from its nominal wavelength, held
  // beyond +-20 nm. The table's steps are joined by straight lines, to 5e-5 of the true ratios.
  Ratio At(size_t primary, double shift) const;

  // The colour of every LED of one primary at `luminance` (CV_64FC1), which becomes Y, shared.
  Tristimulus Of(size_t primary, const PrimaryTruth& truth, const cv::Mat& luminance) const;

 private:
  std::array<std::vector<Ratio>, 3> tables_;
};

}  // namespace multilayer::simulation
