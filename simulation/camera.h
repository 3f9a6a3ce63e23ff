// The measuring camera: photographs of the lit wall become measurements with noise.
#pragma once

#include <cstdint>

#include <opencv2/core/mat.hpp>

#include "multilayer/meter/led_meter.h"
#include "simulation/parameters.h"
#include "simulation/random.h"
#include "simulation/wall.h"

namespace multilayer::simulation {

// Beside the primaries 0, 1 and 2: all of them together.
constexpr size_t kWhite = 3;

class Camera {
 public:
  explicit Camera(const CameraParameters& parameters);

  // Measures one primary (0 red, 1 green, 2 blue) or kWhite of a partition that shows `light`
  // (CV_64FC1, cd/m^2) at `layer`, through the filter of `type` (CIE_X, CIE_Y or CIE_Z, which is
  // what `light` must be): a complete record with part, layer, panel, capture, state, pos and
  // chroma. `shot` numbers the photographs of one series: each has its own noise, in each type its
  // own. The exposure is set so that the mean lit LED gives the parameters' electron count, as long
  // as it stays below the longest one.
  //
  // Records know no colour white. Those of kWhite are called green: bundles want three equal
  // colours, and of red they would accept a missing Z.
  //
  // An LED of N signal electrons is measured with a noise of sqrt(N + read_noise^2) electrons. The
  // camera judges LEDs by its own image: LED_DEAD without a clear signal, LED_USABLE otherwise. On
  // a wall that is dark, all are dead. Values below zero are stored as 0, for there is no negative
  // luminance: that touches no LED with a clear signal, so its mean stays true.
  LedMeter Photograph(const WallParameters& wall, const PartitionTruth& partition, size_t primary,
                      const LayerRecord& layer, const cv::Mat& light, uint64_t shot,
                      int32_t type = CIE_Y) const;

  // Relative noise (standard deviation over mean) that Photograph adds to an average LED.
  double RelativeNoise() const;

 private:
  struct Exposure {
    double time;               // us
    double electrons_per_nit;  // signal of one LED per cd/m^2, or unit of X or Z
  };

  Exposure Expose(double full_scale, const cv::Mat& light) const;
  cv::Mat ReadOut(const Exposure& exposure, const RandomField& noise, const PartRecord& part,
                  const cv::Mat& light) const;
  cv::Mat Judge(const Exposure& exposure, const cv::Mat& chroma) const;
  cv::Mat LocateLeds(const WallParameters& wall, const PartRecord& part) const;

  CameraParameters parameters_;
};

}  // namespace multilayer::simulation
