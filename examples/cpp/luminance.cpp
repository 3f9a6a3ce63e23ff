// Calibrates the luminance of a tiny partition from measurements at four gray levels. A real host
// takes them from a camera; here every LED shines with a known efficiency, so that the result can
// be judged: each corrected LED must reach the same luminance.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace {

using multilayer::LedMeter;

constexpr int kWidth = 4;
constexpr int kHeight = 2;
constexpr int kCoefLayers = 6;
constexpr int kBits = 16;
constexpr double kDecrease = 0.2;                         // aim at 80 % of full luminance,
constexpr float kFullLuminance[] = {250, 700, 90};        // cd/m^2 of red, green, blue
const std::vector<int32_t> kLevels = {32, 64, 128, 255};  // the gray levels photographed

// Linear output of a gray level: a gamma of 2 with 16 bits.
int32_t Gamma(int32_t level) { return 65535 * level / 255 * level / 255; }

// What each LED emits as a fraction of the nominal luminance: 0.85 to 1.2.
double Efficiency(int row, int col) { return 0.85 + 0.05 * (row * kWidth + col); }

// The measurement of every LED for one colour at one gray level.
std::unique_ptr<LedMeter> Measure(int32_t color, float full_luminance, int32_t index) {
  auto meter = std::make_unique<LedMeter>();
  const int32_t level = kLevels[static_cast<size_t>(index)];
  const auto drive = static_cast<float>(Gamma(level) / 65535.0);
  meter->part = std::make_unique<multilayer::PartRecord>(
      multilayer::PartRecord{0, 0, kWidth, kHeight, kWidth, kHeight});
  meter->layer =
      std::make_unique<multilayer::LayerRecord>(multilayer::LayerRecord{index, drive, level});
  meter->color = color;
  meter->type = multilayer::CIE_Y;
  meter->state = cv::Mat(kHeight, kWidth, CV_8UC1, cv::Scalar(multilayer::LED_USABLE));
  meter->chroma = cv::Mat(kHeight, kWidth, CV_32FC1);
  for (int row = 0; row < kHeight; ++row) {
    for (int col = 0; col < kWidth; ++col) {
      meter->chroma.at<float>(row, col) =
          static_cast<float>(Efficiency(row, col)) * full_luminance * drive;
    }
  }
  return meter;
}

int32_t SetParameters(multilayer::MultiLayerCoeff& engine) {
  cv::Mat gamma(3, 256, CV_32SC1);
  for (int level = 0; level < 256; ++level) {
    gamma.col(level) = Gamma(level);
  }
  // Only the first of each row, the luminance, is used.
  const float rgb_to_y[9] = {kFullLuminance[0], 0, 0, kFullLuminance[1], 0, 0,
                             kFullLuminance[2], 0, 0};
  const std::vector<double> decrease(3, kDecrease);
  return engine.SetParam(gamma, decrease, rgb_to_y, kLevels, kCoefLayers, kBits);
}

int32_t Compute(multilayer::MultiLayerCoeff& engine) {
  const int32_t colors[] = {multilayer::COLOR_RED, multilayer::COLOR_GREEN, multilayer::COLOR_BLUE};
  std::vector<std::unique_ptr<LedMeter>> owned;  // the engine reads the records, the host owns them
  std::vector<LedMeter*> lists[3];
  for (size_t c = 0; c < 3; ++c) {
    for (int32_t i = 0; i < static_cast<int32_t>(kLevels.size()); ++i) {
      owned.push_back(Measure(colors[c], kFullLuminance[c], i));
      lists[c].push_back(owned.back().get());
    }
  }
  return engine.Compute(&lists[0], &lists[1], &lists[2]);
}

// The largest deviation of a corrected LED from the luminance aimed at, as a fraction of it.
double LargestDeviation(const multilayer::MultiLayerCoeff& engine) {
  double largest = 0;
  for (const std::vector<cv::Mat>* coefs : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
    for (const cv::Mat& coef : *coefs) {
      for (int row = 0; row < kHeight; ++row) {
        for (int col = 0; col < kWidth; ++col) {
          const double reached = Efficiency(row, col) * double{coef.at<float>(row, col)};
          largest = std::max(largest, std::abs(reached / (1 - kDecrease) - 1));
        }
      }
    }
  }
  return largest;
}

int Failed(const char* step, int32_t status) {
  std::fprintf(stderr, "luminance: %s failed with status %d\n", step, status);
  return 1;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string file = count > 1 ? arguments[1] : "luminance.mlcoefs";
  multilayer::MultiLayerCoeff engine;
  if (const int32_t status = SetParameters(engine); status != 0) {
    return Failed("setting parameters", status);
  }
  if (const int32_t status = Compute(engine); status != 0) {
    return Failed("computing", status);
  }
  if (const int32_t status = engine.Save(file); status != 0) {
    return Failed("saving", status);
  }
  multilayer::MultiLayerCoeff loaded;
  if (const int32_t status = loaded.Load(file); status != 0) {
    return Failed("loading", status);
  }
  const double deviation = LargestDeviation(loaded);
  std::printf("%zu layers saved to %s; LEDs that differed by 35 %% now deviate by %.1e\n",
              loaded.coef_r.size(), file.c_str(), deviation);
  return loaded.coef_r.size() == kCoefLayers && deviation < 1e-5 ? 0 : 1;
}
