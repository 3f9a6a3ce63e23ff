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
  // set so that the mean lit LED gives the parameters' electron count, as long as it stays below
  // the longest one.
  //
  // An LED of N signal electrons is measured with a noise of sqrt(N + read_noise^2) electrons. The
  // camera judges LEDs by its own image: LED_DEAD without a clear signal, LED_USABLE otherwise. On
  // a wall that is dark, all are dead. Values below zero are stored as 0, for there is no negative
  // luminance: that touches no LED with a clear signal, so its mean stays true.
  LedMeter Photograph(const WallParameters& wall, const PartitionTruth& partition, size_t primary,
                      const LayerRecord& layer, const cv::Mat& luminance, uint64_t shot) const;

  // Relative noise (standard deviation over mean) that Photograph adds to an average LED.
  double RelativeNoise() const;

 private:
  struct Exposure {
    double time;               // us
    double electrons_per_nit;  // signal of one LED per cd/m^2
  };

  Exposure Expose(double full_scale, const cv::Mat& luminance) const;
  cv::Mat ReadOut(const Exposure& exposure, const PartitionTruth& partition, size_t primary,
                  const cv::Mat& luminance, uint64_t shot) const;
  cv::Mat Judge(const Exposure& exposure, const cv::Mat& chroma) const;
  cv::Mat LocateLeds(const WallParameters& wall, const PartRecord& part) const;

  CameraParameters parameters_;
};

}  // namespace multilayer::simulation
