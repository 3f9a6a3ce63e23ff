// The Norm computation: closed forms, invariants, and the tiles against the plain definition.
#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "multilayer/multi_layer/norm_plain.h"
#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float kFullScale[3] = {100, 200, 50};
constexpr float kInf = std::numeric_limits<float>::infinity();
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

// --- The tiles against the plain definition
// --------------------------------------------------------

// Measurements of every kind: mostly responses that rise, with noise, and every special value.
MeterSet WildSet(cv::Size size, const std::vector<LayerRecord>& layers, uint64_t seed) {
  MeterSet set = MakeIdealSet(size, layers, kFullScale);
  cv::RNG random(seed);
  const float special[] = {0.0F,   -0.0F, kNaN,  kInf,   -kInf,
                           1e-44F, 1e38F, -1.0F, 1e-30F, std::numeric_limits<float>::max()};
  for (const auto& meter : set.owned) {
    for (int row = 0; row < size.height; ++row) {
      for (int col = 0; col < size.width; ++col) {
        auto& value = meter->chroma.at<float>(row, col);
        value *= random.uniform(0.8F, 1.2F);
        if (random.uniform(0, 40) == 0) {
          value = special[random.uniform(0, 10)];
        }
        if (random.uniform(0, 60) == 0) {
          meter->state.at<uint8_t>(row, col) = static_cast<uint8_t>(random.uniform(0, 256));
        }
      }
    }
  }
  return set;
}

// The same elements in a matrix whose rows stand apart in memory.
void MakeDiscontinuous(cv::Mat& matrix) {
  cv::Mat wide(matrix.rows, matrix.cols + 3, matrix.type(), cv::Scalar(77));
  cv::Mat region = wide.colRange(1, matrix.cols + 1);
  matrix.copyTo(region);
  matrix = region;
}

void ExpectSameAsPlain(const LumParameters& parameters, const MeterSet& set, bool keep) {
  MultiLayerCoeff tiled;
  MultiLayerCoeff plain;
  tiled.keep_response_segments = keep;
  ASSERT_EQ(parameters.Set(tiled), 0);
  ASSERT_EQ(parameters.Set(plain), 0);
  ASSERT_EQ(Compute(tiled, set), 0);
  ASSERT_EQ(plain.SetInput(&set.red, &set.green, &set.blue), 0);
  NormPlain(plain);
  for (size_t c = 0; c < 3; ++c) {
    for (size_t k = 0; k < Coefs(plain)[c]->size(); ++k) {
      EXPECT_TRUE(SameBits((*Coefs(tiled)[c])[k], (*Coefs(plain)[c])[k])) << c << " " << k;
    }
    ASSERT_THAT(tiled.response_segments[c], SizeIs(keep ? set.red.size() : 0));
    for (size_t l = 0; l < tiled.response_segments[c].size(); ++l) {
      EXPECT_TRUE(SameBits(tiled.response_segments[c][l], plain.response_segments[c][l]));
    }
  }
}

TEST(NormTiles, GiveTheBitsOfThePlainDefinition) {
  LumParameters parameters;
  parameters.ratios = {0.1, 0.0, -0.3};
  const std::vector<std::vector<int32_t>> captures = {
      {100, 255}, {16, 32, 64, 128, 255}, {255, 128, 64}, {40, 40, 200}, {0, 100, 255}};
  uint64_t seed = 1;
  for (const std::vector<int32_t>& levels : captures) {
    parameters.capture_layers = levels;
    for (const int cols : {1, 3, 4, 7, 8, 15, 16, 17, 31, 33, 511, 512, 513, 1100}) {
      SCOPED_TRACE(::testing::PrintToString(levels) + " x " + std::to_string(cols));
      const MeterSet set = WildSet({cols, 2}, parameters.Layers(), ++seed);
      ExpectSameAsPlain(parameters, set, cols % 2 == 0);
    }
  }
}

TEST(NormTiles, TakeRegionsOfLargerMatrices) {
  LumParameters parameters;
  MeterSet set = WildSet({37, 5}, parameters.Layers(), 99);
  for (const auto& meter : set.owned) {
    MakeDiscontinuous(meter->chroma);
    MakeDiscontinuous(meter->state);
  }
  ASSERT_FALSE(set.red[0]->chroma.isContinuous());
  ExpectSameAsPlain(parameters, set, true);
}

// Targets that no float holds exactly, infinite and NaN: ratios reach any value.
TEST(NormTiles, AgreeOnExtremeTargets) {
  const MeterSet set = WildSet({300, 1}, LumParameters().Layers(), 5);
  for (const double ratio : {1.0, 1e300, -1e300, -1e40, 0.1, std::nan(""), 1 - 1e-60}) {
    SCOPED_TRACE(ratio);
    LumParameters parameters;
    parameters.ratios = {ratio, ratio, ratio};
    ExpectSameAsPlain(parameters, set, false);
  }
}

// An LED's coefficient depends on its own measurements alone.
TEST(NormTiles, PermutingLedsPermutesCoefficients) {
  LumParameters parameters;
  MultiLayerCoeff straight;
  MultiLayerCoeff flipped;
  ASSERT_EQ(parameters.Set(straight), 0);
  ASSERT_EQ(parameters.Set(flipped), 0);
  MeterSet set = WildSet({701, 3}, parameters.Layers(), 8);
  ASSERT_EQ(Compute(straight, set), 0);
  for (const auto& meter : set.owned) {
    cv::flip(meter->chroma, meter->chroma, 1);
    cv::flip(meter->state, meter->state, 1);
  }
  ASSERT_EQ(Compute(flipped, set), 0);
  for (size_t k = 0; k < 6; ++k) {
    cv::Mat back;
    cv::flip(flipped.coef_b[k], back, 1);
    EXPECT_TRUE(SameBits(straight.coef_b[k], back));
  }
}

}  // namespace
}  // namespace multilayer::testing
