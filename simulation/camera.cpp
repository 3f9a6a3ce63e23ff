// The measuring camera.
#include "simulation/camera.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <vector>

#include "simulation/random.h"

namespace multilayer::simulation {
namespace {

// What the random fields of a camera are for; never to be renumbered, as those of the wall.
enum Purpose : uint64_t {
  kNoise = 100,  // + primary, or 3 for white; + 10 for X, + 20 for Z
  kPlaceX = 200,
  kPlaceY = 201,
};

constexpr std::array<int32_t, 4> kColors = {COLOR_RED, COLOR_GREEN, COLOR_BLUE, COLOR_GREEN};

// Luminance at full drive.
double FullScale(const WallParameters& wall, size_t primary) {
  return primary == kWhite ? wall.full_scale[0] + wall.full_scale[1] + wall.full_scale[2]
                           : wall.full_scale[primary];
}

uint64_t NoisePurpose(size_t primary, int32_t type) {
  return kNoise + primary + (type == CIE_X ? 10 : type == CIE_Z ? 20 : 0);
}

double MeanOfLit(const cv::Mat& light) {
  double sum = 0.0;
  int64_t lit = 0;
  for (int32_t row = 0; row < light.rows; ++row) {
    const double* const values = light.ptr<double>(row);
    for (int32_t col = 0; col < light.cols; ++col) {
      sum += values[col];
      lit += values[col] > 0.0 ? 1 : 0;
    }
  }
  return lit == 0 ? 0.0 : sum / static_cast<double>(lit);
}

float Median(const cv::Mat& values) {
  std::vector<float> sorted;
  sorted.reserve(values.total());
  for (int32_t row = 0; row < values.rows; ++row) {
    sorted.insert(sorted.end(), values.ptr<float>(row), values.ptr<float>(row) + values.cols);
  }
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  return *middle;
}

}  // namespace

Camera::Camera(const CameraParameters& parameters) : parameters_(parameters) {}

LedMeter Camera::Photograph(const WallParameters& wall, const PartitionTruth& partition,
                            size_t primary, const LayerRecord& layer, const cv::Mat& light,
                            uint64_t shot, int32_t type) const {
  assert(primary < kColors.size());
  assert(type == CIE_X || type == CIE_Y || type == CIE_Z);
  assert(light.type() == CV_64FC1 && light.size() == cv::Size(partition.part.w, partition.part.h));
  const Exposure exposure = Expose(FullScale(wall, primary), light);
  const RandomField noise(parameters_.seed, NoisePurpose(primary, type), shot);
  LedMeter meter;
  meter.part = std::make_unique<PartRecord>(partition.part);
  meter.layer = std::make_unique<LayerRecord>(layer);
  meter.panel = std::make_unique<PanelRecord>(
      PanelRecord{0, 0, 0, wall.module_w, wall.module_h, static_cast<float>(wall.panel_pitch)});
  meter.capture = std::make_unique<CaptureRecord>(
      CaptureRecord{static_cast<int32_t>(std::lround(exposure.time)), parameters_.gain,
                    parameters_.aperture, 0, type});
  meter.color = kColors[primary];
  meter.type = type;
  meter.chroma = ReadOut(exposure, noise, partition.part, light);
  meter.state = Judge(exposure, meter.chroma);
  meter.pos = LocateLeds(wall, partition.part);
  return meter;
}

double Camera::RelativeNoise() const {
  const double signal = parameters_.electrons;
  return std::sqrt(signal + parameters_.read_noise * parameters_.read_noise) / signal;
}

Camera::Exposure Camera::Expose(double full_scale, const cv::Mat& light) const {
  const double mean = MeanOfLit(light);
  const double longest = parameters_.max_exposure / parameters_.nominal_exposure;
  const double longer = mean * longest > full_scale ? full_scale / mean : longest;
  return {parameters_.nominal_exposure * longer, parameters_.electrons / full_scale * longer};
}

cv::Mat Camera::ReadOut(const Exposure& exposure, const RandomField& noise, const PartRecord& part,
                        const cv::Mat& light) const {
  const double read_variance = parameters_.read_noise * parameters_.read_noise;
  cv::Mat chroma(light.size(), CV_32FC1);
  for (int32_t row = 0; row < chroma.rows; ++row) {
    const double* const truth = light.ptr<double>(row);
    float* const out = chroma.ptr<float>(row);
    for (int32_t col = 0; col < chroma.cols; ++col) {
      const double signal = exposure.electrons_per_nit * truth[col];
      const double sigma = std::sqrt(signal + read_variance);
      const double measured = signal + sigma * noise.Normal(part.x + col, part.y + row);
      out[col] = static_cast<float>(std::max(0.0, measured) / exposure.electrons_per_nit);
    }
  }
  return chroma;
}

cv::Mat Camera::Judge(const Exposure& exposure, const cv::Mat& chroma) const {
  const double dark =
      parameters_.detection_limit * parameters_.read_noise / exposure.electrons_per_nit;
  const double weakest = std::max(dark, parameters_.dead_signal * Median(chroma));
  cv::Mat state(chroma.size(), CV_8UC1);
  for (int32_t row = 0; row < chroma.rows; ++row) {
    const float* const measured = chroma.ptr<float>(row);
    uint8_t* const out = state.ptr<uint8_t>(row);
    for (int32_t col = 0; col < chroma.cols; ++col) {
      out[col] = measured[col] > weakest ? LED_USABLE : LED_DEAD;
    }
  }
  return state;
}

// Place of an LED at (s, t), its offset from the centre of the partition in LEDs:
//   image centre + pixels_per_led x (s, t) / (1 + keystone_x s / w + keystone_y t / h).
// The LED's own misplacement is the wall's, the same in every photograph.
cv::Mat Camera::LocateLeds(const WallParameters& wall, const PartRecord& part) const {
  const RandomField place_x(wall.seed, kPlaceX, 0);
  const RandomField place_y(wall.seed, kPlaceY, 0);
  const double pitch = parameters_.pixels_per_led;
  const double centre_x = parameters_.margin + 0.5 * pitch * part.w;
  const double centre_y = parameters_.margin + 0.5 * pitch * part.h;
  cv::Mat pos(part.h, part.w, CV_32FC2);
  for (int32_t row = 0; row < part.h; ++row) {
    cv::Vec2f* const out = pos.ptr<cv::Vec2f>(row);
    for (int32_t col = 0; col < part.w; ++col) {
      const int32_t x = part.x + col;
      const int32_t y = part.y + row;
      const double s = col + 0.5 - 0.5 * part.w + wall.placement_tolerance * place_x.Normal(x, y);
      const double t = row + 0.5 - 0.5 * part.h + wall.placement_tolerance * place_y.Normal(x, y);
      const double distance =
          1.0 + parameters_.keystone_x * s / part.w + parameters_.keystone_y * t / part.h;
      out[col] = {static_cast<float>(centre_x + pitch * s / distance),
                  static_cast<float>(centre_y + pitch * t / distance)};
    }
  }
  return pos;
}

}  // namespace multilayer::simulation
