// The measuring camera: its noise, its judgement of LEDs, its record.
#include "simulation/camera.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::simulation {
namespace {

using multilayer::testing::SameBits;

constexpr PartRecord kPart = {50, 30, 300, 200, 640, 360};
constexpr LayerRecord kLayer = {2, 0.5F, 128};

class CameraTest : public ::testing::Test {
 protected:
  LedMeter Shoot(const CameraParameters& parameters, const cv::Mat& luminance,
                 uint64_t shot = 0) const {
    return Camera(parameters).Photograph({wall_, kPart, 1, kLayer, luminance}, shot);
  }

  WallParameters wall_;
  PartitionTruth partition_ = MakePartition(wall_, kPart);
  const cv::Size size_ = {kPart.w, kPart.h};
};

// Half of the LEDs give a quarter of the others' light: 0.4 and 1.6 times the mean's electrons.
TEST_F(CameraTest, NoiseIsThatOfItsElectrons) {
  for (const double read_noise : {5.0, 400.0}) {
    CameraParameters parameters;
    parameters.read_noise = read_noise;
    cv::Mat truth(size_, CV_64FC1, cv::Scalar(20.0));
    truth.colRange(0, kPart.w / 2).setTo(80.0);
    cv::Mat error;
    Shoot(parameters, truth).chroma.convertTo(error, CV_64F);
    error = error / truth - 1.0;
    for (const bool bright : {true, false}) {
      const double signal = parameters.electrons * (bright ? 1.6 : 0.4);
      const double expected = std::sqrt(signal + read_noise * read_noise) / signal;
      cv::Scalar mean;
      cv::Scalar deviation;
      cv::meanStdDev(error.colRange(bright ? 0 : kPart.w / 2, bright ? kPart.w / 2 : kPart.w), mean,
                     deviation);
      EXPECT_NEAR(mean[0], 0.0, 5.0 * expected / std::sqrt(30000.0));
      EXPECT_NEAR(deviation[0], expected, 0.03 * expected);
    }
  }
  EXPECT_NEAR(Camera({}).RelativeNoise(), std::sqrt(250025.0) / 250000.0, 1e-12);
}

TEST_F(CameraTest, EveryShotHasItsOwnNoiseAndIsRepeatable) {
  const cv::Mat truth(size_, CV_64FC1, cv::Scalar(50.0));
  CameraParameters other;
  other.seed = 2;
  const LedMeter first = Shoot({}, truth, 7);
  EXPECT_TRUE(SameBits(first.chroma, Shoot({}, truth, 7).chroma));
  EXPECT_FALSE(SameBits(first.chroma, Shoot({}, truth, 8).chroma));
  EXPECT_FALSE(SameBits(first.chroma, Shoot(other, truth, 7).chroma));
}

TEST_F(CameraTest, FindsTheDeadLedsInItsImage) {
  wall_.dead_fraction = 0.01;
  partition_ = MakePartition(wall_, kPart);
  const PrimaryTruth& green = partition_.primaries[1];
  for (const double drive : {0.01, 1.0}) {
    const cv::Mat luminance = Emit(wall_, green, cv::Mat(size_, CV_64FC1, cv::Scalar(drive)));
    const LedMeter meter = Shoot({}, luminance);
    EXPECT_GT(cv::countNonZero(green.dead), 400);
    EXPECT_EQ(cv::countNonZero((meter.state == LED_DEAD) != (green.dead != 0)), 0);
    EXPECT_EQ(cv::countNonZero((meter.state == LED_USABLE) != (green.dead == 0)), 0);
    EXPECT_EQ(cv::countNonZero(meter.chroma < 0.0), 0);
  }
}

TEST_F(CameraTest, SeesNoLivingLedOnADarkWall) {
  const LedMeter meter = Shoot({}, cv::Mat::zeros(size_, CV_64FC1));
  EXPECT_EQ(cv::countNonZero(meter.state == LED_DEAD), size_.area());
  EXPECT_EQ(cv::countNonZero(meter.chroma < 0.0), 0);
  EXPECT_EQ(meter.capture->exposure, 60000000);
}

TEST_F(CameraTest, ExposesDarkerLayersLonger) {
  const CameraParameters parameters;
  const auto exposure = [&](double luminance) {
    return Shoot(parameters, cv::Mat(size_, CV_64FC1, cv::Scalar(luminance))).capture->exposure;
  };
  EXPECT_EQ(exposure(wall_.full_scale[1]), 16667);
  EXPECT_EQ(exposure(wall_.full_scale[1] / 100.0), 1666667);
}

TEST_F(CameraTest, MakesACompleteRecord) {
  const testing::LogRecorder log;
  const LedMeter meter = Shoot({}, cv::Mat(size_, CV_64FC1, cv::Scalar(50.0)));
  constexpr uint32_t kAll = CHECK_NOT_NULL | CHECK_CHROMA | CHECK_TYPE | CHECK_COLOR | CHECK_STATE |
                            CHECK_POS | CHECK_PART | CHECK_LAYER;
  EXPECT_EQ(LedMeter::Check(kAll, &meter), 0);
  EXPECT_EQ(meter.color, COLOR_GREEN);
  EXPECT_EQ(meter.type, CIE_Y);
  EXPECT_EQ(meter.part->x, kPart.x);
  EXPECT_EQ(meter.part->screen_h, kPart.screen_h);
  EXPECT_EQ(meter.layer->value, kLayer.value);
  EXPECT_EQ(meter.panel->w, wall_.module_w);
  EXPECT_EQ(meter.chroma.type(), CV_32FC1);
  EXPECT_EQ(meter.state.type(), CV_8UC1);
  ASSERT_EQ(meter.pos.type(), CV_32FC2);
  ASSERT_EQ(meter.pos.size(), size_);
}

// Neighbours stay a pitch apart (2 % of perspective, and misplacements of 0.1 pixels), and the
// image holds all of them.
TEST_F(CameraTest, PlacesTheLedsOnTheirGrid) {
  const cv::Mat pos = Shoot({}, cv::Mat(size_, CV_64FC1, cv::Scalar(50.0))).pos;
  for (int32_t row = 1; row < pos.rows; ++row) {
    for (int32_t col = 1; col < pos.cols; ++col) {
      const auto& here = pos.at<cv::Vec2f>(row, col);
      ASSERT_NEAR(here[0] - pos.at<cv::Vec2f>(row, col - 1)[0], 4.5, 1.0);
      ASSERT_NEAR(here[1] - pos.at<cv::Vec2f>(row - 1, col)[1], 4.5, 1.0);
    }
  }
  const cv::Vec2f first = pos.at<cv::Vec2f>(0, 0);
  const cv::Vec2f last = pos.at<cv::Vec2f>(pos.rows - 1, pos.cols - 1);
  EXPECT_GT(std::min(first[0], first[1]), 0.0F);
  EXPECT_LT(last[0], 4.5F * static_cast<float>(kPart.w) + 40.0F);
  EXPECT_LT(last[1], 4.5F * static_cast<float>(kPart.h) + 40.0F);
}

}  // namespace
}  // namespace multilayer::simulation
