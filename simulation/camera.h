// The measuring camera: photographs of the lit wall become measurements with noise.
#pragma once

#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/meter/led_meter.h"
#include "simulation/parameters.h"
#include "simulation/wall.h"

namespace multilayer::simulation {

class Camera {
 public:
  explicit Camera(const CameraParameters& parameters);

  // Measures one primary (0 red, 1 green, 2 blue) of a partition that shows `luminance` (CV_64FC1,
  // cd/m^2) at `layer`: a complete CIE_Y record with part, layer, panel, capture, state, pos and
  // chroma. `shot` numbers the photographs of one series: each has its own noise. The exposure is
  // set so that the mean LED gives the parameters' electron count.
  LedMeter Photograph(const WallParameters& wall, const PartitionTruth& partition, size_t primary,
                      const LayerRecord& layer, const cv::Mat& luminance, uint64_t shot) const;

  // Relative noise (standard deviation over mean) that Photograph adds to an average LED.
  double RelativeNoise() const;

 private:
  CameraParameters parameters_;
};

}  // namespace multilayer::simulation
