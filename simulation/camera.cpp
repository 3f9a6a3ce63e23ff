// The measuring camera.
#include "simulation/camera.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "simulation/random.h"
#include "simulation/spot.h"

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

double Median(const cv::Mat& values) {
  std::vector<double> sorted;
  sorted.reserve(values.total());
  for (int32_t row = 0; row < values.rows; ++row) {
    sorted.insert(sorted.end(), values.ptr<double>(row), values.ptr<double>(row) + values.cols);
  }
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  return *middle;
}

PanelRecord PanelOf(const WallParameters& wall) {
  return {0, 0, 0, wall.module_w, wall.module_h, static_cast<float>(wall.panel_pitch)};
}

// Cameras have their names in 63 bytes.
DeviceRecord Device() {
  DeviceRecord device;
  std::strncpy(device.id, "simulated camera", sizeof device.id - 1);
  std::strncpy(device.lens_id, "simulated lens", sizeof device.lens_id - 1);
  return device;
}

cv::Mat Judge(const Exposure& exposure, const cv::Mat& chroma) {
  cv::Mat state(chroma.size(), CV_8UC1);
  for (int32_t row = 0; row < chroma.rows; ++row) {
    const float* const measured = chroma.ptr<float>(row);
    uint8_t* const out = state.ptr<uint8_t>(row);
    for (int32_t col = 0; col < chroma.cols; ++col) {
      out[col] = measured[col] > exposure.weakest ? LED_USABLE : LED_DEAD;
    }
  }
  return state;
}

}  // namespace

std::vector<PatternRecord> SparsePatterns(const PartRecord& part, cv::Size interval) {
  std::vector<PatternRecord> patterns;
  for (int32_t y = 0; y < std::min(interval.height, part.h); ++y) {
    for (int32_t x = 0; x < std::min(interval.width, part.w); ++x) {
      patterns.push_back({0, interval.width, interval.height, x, y,
                          (part.w - x - 1) / interval.width + 1,
                          (part.h - y - 1) / interval.height + 1});
    }
  }
  return patterns;
}

Camera::Camera(const CameraParameters& parameters) : parameters_(parameters) {}

// Noise of single LEDs counts for nothing in the mean and the median of all.
Exposure Camera::Meter(const Subject& subject) const {
  const double full_scale = FullScale(subject.wall, subject.primary);
  const double mean = MeanOfLit(subject.light);
  const double longest = parameters_.max_exposure / parameters_.nominal_exposure;
  const double longer = mean * longest > full_scale ? full_scale / mean : longest;
  const double electrons_per_nit = parameters_.electrons / full_scale * longer;
  const double dark = parameters_.detection_limit * parameters_.read_noise / electrons_per_nit;
  return {parameters_.nominal_exposure * longer, electrons_per_nit,
          std::max(dark, parameters_.dead_signal * Median(subject.light))};
}

LedMeter Camera::Photograph(const Subject& subject, uint64_t number) const {
  const Exposure exposure = Meter(subject);
  Findings found = Find(subject, exposure, SparsePatterns(subject.part, {1, 1}).front(), number);
  LedMeter meter;
  meter.part = std::make_unique<PartRecord>(subject.part);
  meter.layer = std::make_unique<LayerRecord>(subject.layer);
  meter.panel = std::make_unique<PanelRecord>(PanelOf(subject.wall));
  meter.capture = std::make_unique<CaptureRecord>(Settings(exposure, subject.type));
  meter.color = kColors[subject.primary];
  meter.type = subject.type;
  meter.chroma = std::move(found.chroma);
  meter.state = std::move(found.state);
  meter.pos = std::move(found.pos);
  return meter;
}

SparseShot Camera::Shoot(const Subject& subject, const Exposure& exposure,
                         const PatternRecord& pattern, uint64_t number) const {
  const Findings found = Find(subject, exposure, pattern, number);
  SparseShot sparse;
  Shot& shot = sparse.shot;
  shot.part = std::make_unique<PartRecord>(subject.part);
  shot.panel = std::make_unique<PanelRecord>(PanelOf(subject.wall));
  shot.layer = std::make_unique<LayerRecord>(subject.layer);
  shot.pattern = std::make_unique<PatternRecord>(pattern);
  shot.color = std::make_unique<int32_t>(kColors[subject.primary]);
  shot.device = std::make_unique<DeviceRecord>(Device());
  shot.capture = std::make_unique<CaptureRecord>(Settings(exposure, subject.type));
  shot.type = subject.type;
  shot.image = Render(subject.part, found);
  sparse.pos_input = {found.state == LED_USABLE, found.pos};
  sparse.chroma_input = {found.state, found.chroma};
  return sparse;
}

double Camera::RelativeNoise() const {
  const double signal = parameters_.electrons;
  return std::sqrt(signal + parameters_.read_noise * parameters_.read_noise) / signal;
}

Camera::Findings Camera::Find(const Subject& subject, const Exposure& exposure,
                              const PatternRecord& lit, uint64_t number) const {
  assert(subject.primary < kColors.size());
  assert(subject.type == CIE_X || subject.type == CIE_Y || subject.type == CIE_Z);
  assert(subject.light.type() == CV_64FC1 &&
         subject.light.size() == cv::Size(subject.part.w, subject.part.h));
  const cv::Mat chroma = ReadOut(subject, exposure, lit, number);
  return {LocateLeds(subject, lit), Judge(exposure, chroma), chroma};
}

cv::Mat Camera::ReadOut(const Subject& subject, const Exposure& exposure, const PatternRecord& lit,
                        uint64_t number) const {
  const RandomField noise(parameters_.seed, NoisePurpose(subject.primary, subject.type), number);
  const double read_variance = parameters_.read_noise * parameters_.read_noise;
  cv::Mat chroma(lit.lighted_led_h, lit.lighted_led_w, CV_32FC1);
  for (int32_t r = 0; r < chroma.rows; ++r) {
    const int32_t row = lit.loc_y + r * lit.interval_y;
    const double* const truth = subject.light.ptr<double>(row);
    float* const out = chroma.ptr<float>(r);
    for (int32_t c = 0; c < chroma.cols; ++c) {
      const int32_t col = lit.loc_x + c * lit.interval_x;
      const double signal = exposure.electrons_per_nit * truth[col];
      const double sigma = std::sqrt(signal + read_variance);
      const double measured =
          signal + sigma * noise.Normal(subject.part.x + col, subject.part.y + row);
      out[c] = static_cast<float>(std::max(0.0, measured) / exposure.electrons_per_nit);
    }
  }
  return chroma;
}

// Place of an LED at (s, t), its offset from the centre of the partition in LEDs:
//   image centre + pixels_per_led x (s, t) / (1 + keystone_x s / w + keystone_y t / h).
// The LED's own misplacement is the wall's, the same in every photograph.
cv::Mat Camera::LocateLeds(const Subject& subject, const PatternRecord& lit) const {
  const WallParameters& wall = subject.wall;
  const PartRecord& part = subject.part;
  const RandomField place_x(wall.seed, kPlaceX, 0);
  const RandomField place_y(wall.seed, kPlaceY, 0);
  const double pitch = parameters_.pixels_per_led;
  const cv::Point2d centre = ImageCentre(part);
  cv::Mat pos(lit.lighted_led_h, lit.lighted_led_w, CV_32FC2);
  for (int32_t r = 0; r < pos.rows; ++r) {
    const int32_t row = lit.loc_y + r * lit.interval_y;
    cv::Vec2f* const out = pos.ptr<cv::Vec2f>(r);
    for (int32_t c = 0; c < pos.cols; ++c) {
      const int32_t col = lit.loc_x + c * lit.interval_x;
      const int32_t x = part.x + col;
      const int32_t y = part.y + row;
      const double s = col + 0.5 - 0.5 * part.w + wall.placement_tolerance * place_x.Normal(x, y);
      const double t = row + 0.5 - 0.5 * part.h + wall.placement_tolerance * place_y.Normal(x, y);
      const double distance =
          1.0 + parameters_.keystone_x * s / part.w + parameters_.keystone_y * t / part.h;
      out[c] = {static_cast<float>(centre.x + pitch * s / distance),
                static_cast<float>(centre.y + pitch * t / distance)};
    }
  }
  return pos;
}

// Perspective widens the nearer half by what it narrows the distance at its corner.
cv::Point2d Camera::ImageCentre(const PartRecord& part) const {
  const double nearest =
      1.0 - 0.5 * (std::abs(parameters_.keystone_x) + std::abs(parameters_.keystone_y));
  const double half = 0.5 * parameters_.pixels_per_led / nearest;
  return {parameters_.margin + half * part.w, parameters_.margin + half * part.h};
}

cv::Mat Camera::Render(const PartRecord& part, const Findings& found) const {
  const cv::Point2d centre = ImageCentre(part);
  cv::Mat image = cv::Mat::zeros(static_cast<int32_t>(std::ceil(2.0 * centre.y)),
                                 static_cast<int32_t>(std::ceil(2.0 * centre.x)), CV_32FC1);
  Spot spot(parameters_.spot);
  for (int32_t row = 0; row < found.pos.rows; ++row) {
    for (int32_t col = 0; col < found.pos.cols; ++col) {
      spot.Draw(found.pos.at<cv::Vec2f>(row, col), found.chroma.at<float>(row, col), image);
    }
  }
  return image;
}

CaptureRecord Camera::Settings(const Exposure& exposure, int32_t type) const {
  return {static_cast<int32_t>(std::lround(exposure.time)), parameters_.gain, parameters_.aperture,
          0, type};
}

}  // namespace multilayer::simulation
