// The truth of a wall: what it depends on, its statistics, and the response of an LED.
#include "simulation/wall.h"

#include <cmath>
#include <set>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "tests/support/meters.h"

namespace multilayer::simulation {
namespace {

using multilayer::testing::SameBits;

constexpr PartRecord kScreen = {0, 0, 640, 360, 640, 360};

// A wall on which nothing varies.
WallParameters EvenWall() {
  WallParameters wall;
  wall.led_luminance = wall.led_wavelength = wall.module_luminance = wall.module_wavelength = 0.0;
  wall.channel_luminance = wall.chip_luminance = wall.turn_on_spread = wall.droop_spread = 0.0;
  wall.dead_fraction = 0.0;
  return wall;
}

double RelativeVariance(const cv::Mat& values) {
  cv::Scalar mean;
  cv::Scalar deviation;
  cv::meanStdDev(values, mean, deviation);
  return std::pow(deviation[0] / mean[0], 2.0);
}

TEST(Wall, PartitionsThatOverlapAgreeBitForBit) {
  WallParameters wall;
  wall.dead_fraction = 0.01;
  const PartRecord first = {30, 40, 100, 90, 320, 180};
  const PartRecord second = {75, 58, 130, 70, 320, 180};
  const cv::Rect a(first.x, first.y, first.w, first.h);
  const cv::Rect b(second.x, second.y, second.w, second.h);
  const PartitionTruth one = MakePartition(wall, first);
  const PartitionTruth two = MakePartition(wall, second);
  for (size_t primary = 0; primary < 3; ++primary) {
    for (const auto member :
         {&PrimaryTruth::luminance, &PrimaryTruth::wavelength_shift, &PrimaryTruth::turn_on,
          &PrimaryTruth::droop_shift, &PrimaryTruth::dead}) {
      EXPECT_TRUE(SameBits((one.primaries[primary].*member)((a & b) - a.tl()),
                           (two.primaries[primary].*member)((a & b) - b.tl())));
    }
  }
  wall.seed = 2;
  EXPECT_FALSE(
      SameBits(MakePartition(wall, first).primaries[0].luminance, one.primaries[0].luminance));
}

TEST(Wall, LuminanceSpreadIsTheSumOfItsParts) {
  const WallParameters wall;
  const PartitionTruth truth = MakePartition(wall, kScreen);
  for (size_t primary = 0; primary < 3; ++primary) {
    const double slope = wall.luminance_slope[primary];
    const double variance =
        std::pow(wall.led_luminance, 2) + std::pow(slope * wall.led_wavelength, 2) +
        std::pow(slope * wall.module_wavelength, 2) + std::pow(wall.module_luminance, 2) +
        std::pow(wall.chip_luminance, 2) + std::pow(wall.channel_luminance, 2);
    const cv::Mat& luminance = truth.primaries[primary].luminance;
    // The offsets of 48 modules estimate their own variance to 20 %.
    EXPECT_NEAR(RelativeVariance(luminance), variance, 0.15 * variance);
    EXPECT_GT(RelativeVariance(luminance), 0.04 * 0.04);
    EXPECT_NEAR(cv::mean(luminance)[0], wall.full_scale[primary], 0.01 * wall.full_scale[primary]);
    const double dead = cv::mean(truth.primaries[primary].dead)[0];
    EXPECT_NEAR(dead, wall.dead_fraction, 5.0 * std::sqrt(wall.dead_fraction / (640.0 * 360.0)));
  }
}

// Every cause is shared by the LEDs of its group, and by no others: as many values as groups.
TEST(Wall, EveryCauseVariesBetweenItsGroupsOnly) {
  struct Cause {
    const char* name;
    double WallParameters::*spread;
    cv::Mat PrimaryTruth::*shown;
    cv::Size group;  // LEDs that share it
  };
  const Cause causes[] = {
      {"LED", &WallParameters::led_luminance, &PrimaryTruth::luminance, {1, 1}},
      {"LED colour", &WallParameters::led_wavelength, &PrimaryTruth::wavelength_shift, {1, 1}},
      {"LED droop", &WallParameters::droop_spread, &PrimaryTruth::droop_shift, {1, 1}},
      {"channel", &WallParameters::channel_luminance, &PrimaryTruth::luminance, {1, 15}},
      {"turn-on", &WallParameters::turn_on_spread, &PrimaryTruth::turn_on, {1, 15}},
      {"chip", &WallParameters::chip_luminance, &PrimaryTruth::luminance, {16, 15}},
      {"module", &WallParameters::module_luminance, &PrimaryTruth::luminance, {80, 60}},
      {"reel", &WallParameters::module_wavelength, &PrimaryTruth::wavelength_shift, {80, 60}},
  };
  for (const Cause& cause : causes) {
    SCOPED_TRACE(cause.name);
    WallParameters wall = EvenWall();
    wall.*cause.spread = WallParameters().*cause.spread;
    for (const PrimaryTruth& primary : MakePartition(wall, {0, 0, 160, 120, 160, 120}).primaries) {
      const cv::Mat& values = primary.*cause.shown;
      std::set<double> distinct;
      for (int32_t row = 0; row < values.rows; ++row) {
        for (int32_t col = 0; col < values.cols; ++col) {
          const cv::Point first(col / cause.group.width * cause.group.width,
                                row / cause.group.height * cause.group.height);
          ASSERT_EQ(values.at<double>(row, col), values.at<double>(first));
          distinct.insert(values.at<double>(row, col));
        }
      }
      const size_t groups = values.total() / static_cast<size_t>(cause.group.area());
      EXPECT_EQ(distinct.size(), groups);
    }
  }
}

TEST(Wall, DriverGroupsStartAnewAtEveryModule) {
  WallParameters wall = EvenWall();
  wall.chip_luminance = 0.02;
  wall.module_w = 24;  // one whole chip and half a chip
  wall.module_h = 20;  // one whole group of rows and a third
  const cv::Mat luminance = MakePartition(wall, {0, 0, 48, 40, 48, 40}).primaries[1].luminance;
  for (const int32_t edge : {16, 24, 40}) {
    EXPECT_NE(luminance.at<double>(0, edge - 1), luminance.at<double>(0, edge));
    EXPECT_EQ(luminance.at<double>(0, edge), luminance.at<double>(0, edge + 1));
  }
  for (const int32_t edge : {15, 20, 35}) {
    EXPECT_NE(luminance.at<double>(edge - 1, 0), luminance.at<double>(edge, 0));
    EXPECT_EQ(luminance.at<double>(edge, 0), luminance.at<double>(edge + 1, 0));
  }
}

// Regression of relative luminance on wavelength. Modules' luminances are left out: a few dozen of
// them correlate with the modules' wavelengths by chance.
TEST(Wall, LuminanceFollowsWavelength) {
  WallParameters wall;
  wall.module_luminance = 0.0;
  const PartitionTruth truth = MakePartition(wall, kScreen);
  for (size_t primary = 0; primary < 3; ++primary) {
    const cv::Mat luminance = truth.primaries[primary].luminance / wall.full_scale[primary];
    const cv::Mat& shift = truth.primaries[primary].wavelength_shift;
    const cv::Mat centred = shift - cv::mean(shift)[0];
    const double slope = centred.dot(luminance) / centred.dot(centred);
    EXPECT_NEAR(slope, wall.luminance_slope[primary], 0.001);
  }
}

TEST(Emit, FollowsTheResponseLaw) {
  WallParameters wall = EvenWall();
  wall.droop = 0.02;
  PrimaryTruth led = {cv::Mat(1, 6, CV_64FC1, cv::Scalar(100.0)), cv::Mat(),
                      cv::Mat(1, 6, CV_64FC1, cv::Scalar(0.2)),
                      cv::Mat(1, 6, CV_64FC1, cv::Scalar(0.08)), cv::Mat::zeros(1, 6, CV_8UC1)};
  led.dead.at<uint8_t>(0, 5) = 1;
  const cv::Mat drive = (cv::Mat_<double>(1, 6) << 0.0, 0.2, 0.4, 0.6, 1.0, 1.0);
  const cv::Mat emitted = Emit(wall, led, drive);
  EXPECT_EQ(emitted.at<double>(0), 0.0);
  EXPECT_EQ(emitted.at<double>(1), 0.0);  // at turn-on
  // 100 x (0.2 / 0.8) x (1 - 0.1 x 0.4) / 0.9, and 100 x (0.4 / 0.8) x 0.94 / 0.9.
  EXPECT_DOUBLE_EQ(emitted.at<double>(2), 25.0 * 0.96 / 0.9);
  EXPECT_DOUBLE_EQ(emitted.at<double>(3), 50.0 * 0.94 / 0.9);
  EXPECT_DOUBLE_EQ(emitted.at<double>(4), 100.0);  // at full drive
  EXPECT_EQ(emitted.at<double>(5), 0.0);           // dead
}

}  // namespace
}  // namespace multilayer::simulation
