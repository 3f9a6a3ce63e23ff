// The measuring camera: photographs of the lit wall become measurements with noise.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <opencv2/core/mat.hpp>

#include "multilayer/meter/led_meter.h"
#include "multilayer/shot/shot.h"
#include "simulation/parameters.h"
#include "simulation/wall.h"

namespace multilayer::simulation {

// Beside the primaries 0, 1 and 2: all of them together.
constexpr size_t kWhite = 3;

// What stands before the camera: one primary (0 red, 1 green, 2 blue) or kWhite of a partition at one
// gray level, through one filter.
struct Subject {
  const WallParameters& wall;
  PartRecord part;
  size_t primary;
  LayerRecord layer;
  cv::Mat light;  // CV_64FC1, part h x w: what every LED gives when it is lit, in what `type` says
  int32_t type = CIE_Y;  // CIE_X, CIE_Y or CIE_Z
};

// How the camera takes a subject. All shots of one measurement are taken alike.
struct Exposure {
  double time;               // us
  double electrons_per_nit;  // signal of one LED per cd/m^2, or unit of X or Z
  double weakest;            // what a living LED exceeds, cd/m^2
};

// A shot of some of the LEDs, and what was found in its image: inputs of LedMeter::Add.
struct SparseShot {
  Shot shot;
  std::array<cv::Mat, 2> pos_input;     // CV_8UC1: 255 where an LED was found; CV_32FC2: places
  std::array<cv::Mat, 2> chroma_input;  // CV_8UC1: states; CV_32FC1: values
};

// The patterns that light each LED of a partition once: one LED in every interval.width columns and
// interval.height rows, row by row of their places in the interval. Where the interval is larger
// than the partition, places without an LED are left out.
std::vector<PatternRecord> SparsePatterns(const PartRecord& part, cv::Size interval);

class Camera {
 public:
  explicit Camera(const CameraParameters& parameters);

  // Meters the subject with all its LEDs lit: the exposure gives the mean lit LED the parameters'
  // electron count, as long as it stays below the longest one.
  Exposure Meter(const Subject& subject) const;

  // Measures all LEDs at once: a complete record with part, layer, panel, capture, state, pos and
  // chroma. `number` numbers the photographs of one series: each has its own noise, in each type
  // its own.
  //
  // Records know no colour white. Those of kWhite are called green: bundles want three equal
  // colours, and of red they would accept a missing Z.
  //
  // An LED of N signal electrons is measured with a noise of sqrt(N + read_noise^2) electrons. The
  // camera judges LEDs by their signal: LED_DEAD without a clear one, LED_USABLE otherwise. On a
  // wall that is dark, all are dead. Values below zero are stored as 0, for there is no negative
  // luminance: that touches no LED with a clear signal, so its mean stays true.
  LedMeter Photograph(const Subject& subject, uint64_t number) const;

  // Measures the LEDs that `pattern` lights, with the exposure of the whole subject. An LED's noise
  // is that of the photograph of this number, so all patterns together find what it finds. In the
  // image (CV_32FC1) every lit LED is a spot around its place whose pixels sum to its value.
  SparseShot Shoot(const Subject& subject, const Exposure& exposure, const PatternRecord& pattern,
                   uint64_t number) const;

  // Relative noise (standard deviation over mean) that a photograph adds to an average LED.
  double RelativeNoise() const;

 private:
  // Of the lit LEDs, lighted_led_h x lighted_led_w.
  struct Findings {
    cv::Mat pos;
    cv::Mat state;
    cv::Mat chroma;
  };

  Findings Find(const Subject& subject, const Exposure& exposure, const PatternRecord& lit,
                uint64_t number) const;
  cv::Mat ReadOut(const Subject& subject, const Exposure& exposure, const PatternRecord& lit,
                  uint64_t number) const;
  cv::Mat LocateLeds(const Subject& subject, const PatternRecord& lit) const;
  cv::Point2d ImageCentre(const PartRecord& part) const;
  cv::Mat Render(const PartRecord& part, const Findings& found) const;
  CaptureRecord Settings(const Exposure& exposure, int32_t type) const;

  CameraParameters parameters_;
};

}  // namespace multilayer::simulation
