// The Norm computation: closed forms. norm_kernel_test.cpp holds the tiles to the plain definition.
#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float kFullScale[3] = {100, 200, 50};
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

int32_t Compute(MultiLayerCoeff& engine, const MeterSet& set) {
  return engine.Compute(&set.red, &set.green, &set.blue);
}

std::array<const std::vector<cv::Mat>*, 3> Coefs(const MultiLayerCoeff& engine) {
  return {&engine.coef_r, &engine.coef_g, &engine.coef_b};
}

class Norm : public ::testing::Test {
 protected:
  // One LED whose red response is `measured` at four layers.
  float RedCoefficient(const std::vector<float>& measured, size_t layer) {
    MeterSet set = MakeIdealSet({1, 1}, parameters_.Layers(), kFullScale);
    for (size_t l = 0; l < measured.size(); ++l) {
      set.red[l]->chroma.at<float>(0, 0) = measured[l];
    }
    EXPECT_EQ(parameters_.Set(engine_), 0);
    EXPECT_EQ(Compute(engine_, set), 0);
    return engine_.coef_r[layer].at<float>(0, 0);
  }
  // Target luminance of red at a coefficient layer, after RedCoefficient.
  double Target(size_t layer) const {
    return engine_.pos_hardware.at<int32_t>(0, static_cast<int>(layer)) / 65535.0 * 100;
  }
  std::vector<double> Drives() const {
    std::vector<double> drives;
    for (const LayerRecord& layer : parameters_.Layers()) {
      drives.push_back(static_cast<double>(layer.linear_norms));
    }
    return drives;
  }

  LumParameters parameters_;
  MultiLayerCoeff engine_;
};

TEST_F(Norm, AnIdealLedIsLoweredByTheRatioAlone) {
  parameters_.ratios = {0.0, 0.25, 0.5};
  ASSERT_EQ(parameters_.Set(engine_), 0);
  const MeterSet set = MakeIdealSet({5, 3}, parameters_.Layers(), kFullScale);
  LogRecorder log;
  ASSERT_EQ(Compute(engine_, set), 0);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_THAT(log.TakeInfos(), ::testing::Contains("MultiLayerCoeff::Compute Norm"));
  for (size_t c = 0; c < 3; ++c) {
    ASSERT_THAT(*Coefs(engine_)[c], SizeIs(6));
    for (const cv::Mat& coef : *Coefs(engine_)[c]) {
      ASSERT_EQ(coef.size(), cv::Size(5, 3));
      EXPECT_NEAR(cv::mean(coef)[0], 1 - parameters_.ratios[c], 1e-6);
    }
  }
  EXPECT_EQ(engine_.input_r, nullptr) << "measurements are borrowed for the call only";
}

// Matrices are written over from one computation to the next, unless a host keeps one.
TEST_F(Norm, ResultsThatAreHeldStay) {
  ASSERT_EQ(parameters_.Set(engine_), 0);
  const MeterSet set = MakeIdealSet({5, 3}, parameters_.Layers(), kFullScale);
  ASSERT_EQ(Compute(engine_, set), 0);
  const cv::Mat held = engine_.coef_r[0];
  const uint8_t* free = engine_.coef_r[1].data;
  for (LedMeter* meter : set.red) {
    meter->chroma *= 2;
  }
  ASSERT_EQ(Compute(engine_, set), 0);
  EXPECT_NEAR(held.at<float>(0, 0), 1, 1e-6);
  EXPECT_NEAR(engine_.coef_r[0].at<float>(0, 0), 0.5, 1e-6);
  EXPECT_EQ(engine_.coef_r[1].data, free);
}

// Twice as bright needs half the drive, on every segment and beyond the last.
TEST_F(Norm, DriveIsInverseToGain) {
  std::vector<float> bright;
  for (const double drive : Drives()) {
    bright.push_back(static_cast<float>(200 * drive));
  }
  for (size_t layer = 0; layer < 6; ++layer) {
    EXPECT_NEAR(RedCoefficient(bright, layer), 0.5, 1e-6);
  }
}

// L = 100 (u - 0.01) / 0.99: between captured layers the response is known exactly, and the drive
// that reaches 100 g is 0.99 g + 0.01; below the first layer the segment runs through the origin.
TEST_F(Norm, ALateTurnOnIsMadeUpFor) {
  std::vector<float> measured;
  for (const double drive : Drives()) {
    measured.push_back(static_cast<float>(100 * (drive - 0.01) / 0.99));
  }
  RedCoefficient(measured, 0);
  for (size_t layer = 1; layer < 4; ++layer) {
    const double g = Target(layer) / 100;
    EXPECT_NEAR(RedCoefficient(measured, layer), (0.99 * g + 0.01) / g, 1e-5) << layer;
  }
  // Position 0 is layer 0 itself, whose target the LED misses: the next segment serves it.
  const double g = Target(0) / 100;
  EXPECT_NEAR(RedCoefficient(measured, 0), (0.99 * g + 0.01) / g, 1e-5);
}

// The response 10, 20, 40, 80 has kinks at every layer, so the coefficient tells the segment.
TEST_F(Norm, TheFirstSegmentThatReachesTheTargetServesIt) {
  parameters_.capture_layers = {51, 102, 153, 204};
  const std::vector<double> x = Drives();
  const std::vector<float> measured = {10, 20, 40, 80};
  RedCoefficient(measured, 0);
  const auto drive_on = [&](size_t j, double target) {
    const double below = j == 0 ? 0 : static_cast<double>(measured[j - 1]);
    const double from = j == 0 ? 0 : x[j - 1];
    return from + (target - below) * (x[j] - from) / (static_cast<double>(measured[j]) - below);
  };
  for (size_t layer = 0; layer < 6; ++layer) {
    const double target = Target(layer);
    size_t j = 0;
    while (j < 3 && static_cast<double>(measured[j]) < target) {
      ++j;
    }
    EXPECT_NEAR(RedCoefficient(measured, layer), drive_on(j, target) / (target / 100), 1e-5);
  }
}

TEST_F(Norm, UnusableLedsAreNotCorrected) {
  const std::vector<std::vector<float>> responses = {
      {10, 20, 20, 80},  // does not rise
      {10, 20, 19, 80},  // falls
      {0, 20, 40, 80},   // dark at the first layer
      {-1, 20, 40, 80},
  };
  for (const std::vector<float>& response : responses) {
    for (size_t layer = 0; layer < 6; ++layer) {
      EXPECT_EQ(RedCoefficient(response, layer), 1.0F) << ::testing::PrintToString(response);
    }
  }
}

// A NaN makes no LED bad by itself: what the layers below reach is corrected, the rest is not.
TEST_F(Norm, ANanOnTopReachesNothing) {
  EXPECT_NEAR(RedCoefficient({10, 20, 40, kNaN}, 0), 1.2549, 1e-4);
  EXPECT_EQ(RedCoefficient({10, 20, 40, kNaN}, 3), 1.0F);
}

TEST_F(Norm, ADeadFlagInAnyOneLayerSparesThatLedOnly) {
  ASSERT_EQ(parameters_.Set(engine_), 0);
  for (size_t layer = 0; layer < 4; ++layer) {
    MeterSet set = MakeIdealSet({3, 1}, parameters_.Layers(), kFullScale);
    for (auto* list : {&set.red, &set.green, &set.blue}) {
      for (LedMeter* meter : *list) {
        meter->chroma *= 2;
      }
    }
    set.green[layer]->state.at<uint8_t>(0, 1) = LED_DEAD | LED_USABLE;
    ASSERT_EQ(Compute(engine_, set), 0);
    for (const cv::Mat& coef : engine_.coef_g) {
      EXPECT_NEAR(coef.at<float>(0, 0), 0.5, 1e-6);
      EXPECT_EQ(coef.at<float>(0, 1), 1.0F);
      EXPECT_NEAR(coef.at<float>(0, 2), 0.5, 1e-6);
    }
    EXPECT_NEAR(engine_.coef_r[0].at<float>(0, 1), 0.5, 1e-6);
  }
}

// Only the red row of the linear norms is an axis; the record check lets -0.0 and 0.0 pass as
// equal.
TEST_F(Norm, EveryColourUsesTheRedAxis) {
  ASSERT_EQ(parameters_.Set(engine_), 0);
  engine_.pos_hardware.row(1).setTo(0);
  engine_.pos_hardware.row(2).setTo(7);
  const MeterSet set = MakeIdealSet({2, 2}, parameters_.Layers(), kFullScale);
  ASSERT_EQ(Compute(engine_, set), 0);
  EXPECT_NEAR(engine_.coef_g[0].at<float>(0, 0), 1, 1e-6);
  EXPECT_NEAR(engine_.coef_b[5].at<float>(1, 1), 1, 1e-6);
}

TEST_F(Norm, NeedsParametersAndMoreThanOneLayer) {
  MeterSet set = MakeIdealSet({2, 2}, parameters_.Layers(), kFullScale);
  set.red[0] = nullptr;
  LogRecorder log;
  EXPECT_EQ(Compute(engine_, set), 706);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::Compute--Error ::  Please SetParam before comput."));
  parameters_.capture_layers = {255};
  ASSERT_EQ(parameters_.Set(engine_), 0);
  set = MakeIdealSet({2, 2}, parameters_.Layers(), kFullScale);
  EXPECT_EQ(Compute(engine_, set), 701);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::SetInput--Error ::  Input data size not same."));
  EXPECT_EQ(engine_.part_x_y_w_h.w, -1);
  EXPECT_EQ(engine_.Compute(&set.red, nullptr, &set.blue), 1);
}

}  // namespace
}  // namespace multilayer::testing
