// The whole loop: measure a wall, compute its coefficients, show them, and look at the true light.
#include <cmath>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "simulation/measure.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::simulation {
namespace {

constexpr double kRatio = 0.2;  // four sigma of the LEDs reach the lowered target
const std::vector<int32_t> kCaptured = {64, 96, 128, 192, 255};

struct Spread {
  double mean;
  double cv;  // relative standard deviation
};

class ClosedLoop : public ::testing::Test {
 protected:
  // Of the LEDs that live, by the truth and not by a photograph.
  Spread TrueSpread(size_t primary, int32_t level, const Correction& correction) const {
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(scene_.Shine(partition_, primary, level, correction), mean, deviation,
                   partition_.primaries[primary].dead == 0);
    return {mean[0], deviation[0] / mean[0]};
  }

  // The full-scale luminances as a host finds them: means of the photographs at the highest level.
  std::array<float, 9> MeanAtFullScale(const MeasuredLayers& measured) const {
    std::array<float, 9> rgb_to_y = {};
    for (size_t primary = 0; primary < 3; ++primary) {
      const LedMeter& full = measured[primary].back();
      rgb_to_y[3 * primary] =
          static_cast<float>(cv::mean(full.chroma, full.state == LED_USABLE)[0]);
    }
    return rgb_to_y;
  }

  void Calibrate() {
    MeasuredLayers measured = scene_.Measure(partition_, kCaptured);
    init_y_ = MeanAtFullScale(measured);
    const std::vector<LedMeter*> red = Pointers(measured[0]);
    const std::vector<LedMeter*> green = Pointers(measured[1]);
    const std::vector<LedMeter*> blue = Pointers(measured[2]);
    ASSERT_EQ(engine_.SetParamLum(gamma_table_, {kRatio, kRatio, kRatio}, init_y_.data(), kCaptured,
                                  -1, 5, 16),
              0);
    ASSERT_EQ(engine_.Compute(&red, &green, &blue), 0);
  }

  const cv::Mat gamma_table_ = MakeGammaTable(256, 16, 2.2);
  const Scene scene_ = {WallParameters{}, Controller(gamma_table_, 16), Camera({})};
  const PartitionTruth partition_ = MakePartition(scene_.wall, WholeScreen(scene_.wall));
  testing::LogRecorder log_;
  MultiLayerCoeff engine_;
  std::array<float, 9> init_y_ = {};
};

TEST_F(ClosedLoop, MeasuresEveryLayerOfEveryColour) {
  const CoefficientStack half = {{0}, {cv::Mat(180, 320, CV_32FC1, cv::Scalar(0.5))}};
  const Correction correction = {half, {}, half};
  const MeasuredLayers measured = scene_.Measure(partition_, kCaptured, correction, 5);
  const int32_t colors[] = {COLOR_RED, COLOR_GREEN, COLOR_BLUE};
  for (size_t primary = 0; primary < 3; ++primary) {
    ASSERT_EQ(measured[primary].size(), kCaptured.size());
    for (size_t i = 0; i < kCaptured.size(); ++i) {
      const LedMeter& meter = measured[primary][i];
      const int32_t output = gamma_table_.at<int32_t>(0, kCaptured[i]);
      EXPECT_EQ(meter.color, colors[primary]);
      EXPECT_EQ(meter.layer->index, static_cast<int32_t>(i));
      EXPECT_EQ(meter.layer->value, kCaptured[i]);
      EXPECT_EQ(meter.layer->linear_norms, static_cast<float>(output / 65535.0));
      const cv::Mat light = scene_.Shine(partition_, primary, kCaptured[i], correction);
      const LedMeter expected = scene_.camera.Photograph(
          {scene_.wall, partition_.part, primary, *meter.layer, light}, 5 + i);
      EXPECT_TRUE(testing::SameBits(meter.chroma, expected.chroma));
    }
  }
}

// What is left above the lowest captured level is at most the camera's noise. At the lowest, the
// engine's curve runs from the origin to the measured point, and the LED's from its turn-on drive:
// an LED that is brighter by a fraction e ends darker by about e x turn-on / target drive.
TEST_F(ClosedLoop, CorrectionLeavesTheCameraNoise) {
  Calibrate();
  const Correction correction = CorrectionOf(engine_);
  const double noise = scene_.camera.RelativeNoise();
  const double turn_on = scene_.wall.turn_on_time / scene_.wall.LineWindow();
  for (size_t primary = 0; primary < 3; ++primary) {
    for (const int32_t level : kCaptured) {
      SCOPED_TRACE(::testing::Message() << "primary " << primary << ", level " << level);
      const Spread before = TrueSpread(primary, level, {});
      const Spread after = TrueSpread(primary, level, correction);
      EXPECT_GT(before.cv, 0.04);
      const double drive = (1.0 - kRatio) * scene_.controller.LinearNorm(level);
      const double low_end = level == kCaptured[0] ? before.cv * turn_on / drive : 0.0;
      EXPECT_LT(after.cv, 1.05 * std::hypot(noise, low_end));
      EXPECT_NEAR(after.mean, drive * init_y_[3 * primary], 0.004 * after.mean);
    }
  }
}

// Between the layers the coefficient is interpolated along a straight line, though it falls as
// 1 / position where the turn-on drive counts. Below the lowest layer it is held: the mean falls by
// 1.6 % at gray 48, and an LED that is brighter keeps more of its difference, as at the lowest
// layer.
TEST_F(ClosedLoop, LevelsInBetweenComeOutNearlyAsEven) {
  Calibrate();
  const Correction correction = CorrectionOf(engine_);
  for (size_t primary = 0; primary < 3; ++primary) {
    for (const int32_t level : {48, 80, 112, 160, 224}) {
      SCOPED_TRACE(::testing::Message() << "primary " << primary << ", level " << level);
      EXPECT_GT(TrueSpread(primary, level, {}).cv, 0.04);
      const double limit = level == 48 ? 2.0 : 1.0;
      EXPECT_LT(TrueSpread(primary, level, correction).cv, limit * scene_.camera.RelativeNoise());
    }
  }
}

}  // namespace
}  // namespace multilayer::simulation
