// The luminance iteration, step by step.
#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr const char* kMaxReached =
    "MultiLayerCoeff::IterateCompute--Error ::  max number iterations has been reached.";

// Three captured and five coefficient layers; full scale 100, 200, 50.
class Iteration : public ::testing::Test {
 protected:
  Iteration() {
    parameters_.capture_layers = {100, 50, 200};
    parameters_.coef_layers = 5;
    parameters_.iterate = 0;
    EXPECT_EQ(parameters_.Set(engine_), 0);
  }

  // One step in which every LED of a colour measures `share` of its full scale.
  int32_t Step(float share, cv::Size size = {2, 2}) {
    MeterSet set = MakeIdealSet(size, {{0, 1.0F, 100}}, {100, 200, 50});
    for (const auto& meter : set.owned) {
      meter->chroma *= static_cast<double>(share);
    }
    return engine_.Compute(&set.red, &set.green, &set.blue);
  }
  std::vector<float> At(const std::vector<cv::Mat>& list, int row = 1, int col = 1) const {
    std::vector<float> values;
    for (const cv::Mat& coef : list) {
      values.push_back(coef.at<float>(row, col));
    }
    return values;
  }

  LumParameters parameters_;
  MultiLayerCoeff engine_;
  LogRecorder log_;
};

TEST_F(Iteration, WalksFromTheFirstLayerDownThenUp) {
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(2, 2, 2, 2, 2));
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_THAT(At(engine_.coef_g), ElementsAre(4, 4, 4, 4, 4));
  ASSERT_EQ(Step(2.0F), 0);
  EXPECT_THAT(At(engine_.coef_b), ElementsAre(2, 4, 4, 4, 4)) << "below the first layer";
  ASSERT_EQ(Step(0.25F), 0);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(2, 4, 16, 16, 16)) << "upper layers follow";
  EXPECT_EQ(engine_.iterate_count, 4);
  log_.TakeErrors();
  EXPECT_EQ(Step(0.5F), 705);
  EXPECT_THAT(log_.TakeErrors(), ElementsAre(kMaxReached));
  EXPECT_EQ(engine_.iterate_count, 4);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(2, 4, 16, 16, 16));
}

TEST_F(Iteration, TheDecreaseEntersOnTheFirstStepOnly) {
  parameters_.ratios = {0.25, 0.5, 0};
  ASSERT_EQ(parameters_.Set(engine_), 0);
  ASSERT_EQ(Step(1.0F), 0);
  EXPECT_EQ(engine_.coef_r[0].at<float>(0, 0), 0.75F);
  EXPECT_EQ(engine_.coef_g[4].at<float>(0, 0), 0.5F);
  ASSERT_EQ(Step(1.0F), 0);
  EXPECT_EQ(engine_.coef_r[0].at<float>(0, 0), 0.75F) << "at full scale nothing is left to do";
}

TEST_F(Iteration, OnlyUsableMeasurementsAreRead) {
  MeterSet set = MakeIdealSet({3, 1}, {{0, 1.0F, 100}}, {100, 200, 50});
  set.green[0]->state = (cv::Mat_<uint8_t>(1, 3) << LED_USABLE, LED_DEAD, LED_USABLE | LED_DEAD);
  set.green[0]->chroma = (cv::Mat_<float>(1, 3) << 400, 0, 100);
  ASSERT_EQ(engine_.Compute(&set.red, &set.green, &set.blue), 0);
  const cv::Mat& green = engine_.coef_g[0];
  EXPECT_THAT(std::vector<float>(green.begin<float>(), green.end<float>()),
              ElementsAre(0.5F, 1.0F, 2.0F));
}

TEST_F(Iteration, ARunGoesOnFromItsFile) {
  ASSERT_EQ(Step(0.5F), 0);
  uint64_t size = 0;
  ASSERT_EQ(engine_.GetBufferSize(&size), 0);
  std::vector<uint8_t> bytes(size);
  ASSERT_EQ(engine_.ToBuffer(bytes.data(), &size), 0);
  ASSERT_EQ(Step(0.75F), 0);

  MultiLayerCoeff resumed;
  ASSERT_EQ(resumed.FromBuffer(bytes.data(), size), 0);
  parameters_.iterate = 1;
  ASSERT_EQ(parameters_.Set(resumed), 0);
  std::swap(engine_, resumed);
  ASSERT_EQ(Step(0.75F), 0);
  for (size_t k = 0; k < 5; ++k) {
    EXPECT_TRUE(SameBits(engine_.coef_b[k], resumed.coef_b[k]));
  }
}

TEST_F(Iteration, AFullListStartsFromFreshCoefficients) {
  ASSERT_EQ(Step(0.5F), 0);
  parameters_.capture_layers = {50, 100, 200};
  MeterSet set = MakeIdealSet({2, 2}, parameters_.Layers(), {100, 200, 50});
  set.red[0]->chroma.setTo(25);
  ASSERT_EQ(engine_.Compute(&set.red, &set.green, &set.blue), 0);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(4, 4, 4, 4, 4)) << "1.0 times the first record's";
}

// What C++ callers can do between the input and the step.
TEST_F(Iteration, StepsOnlyWhatFitsThePartition) {
  MeterSet set = MakeIdealSet({8, 8}, {{0, 1.0F, 100}}, {100, 200, 50});
  ASSERT_EQ(engine_.SetInput(&set.red, &set.green, &set.blue), 0);
  engine_.part_x_y_w_h.w = 2;
  EXPECT_EQ(engine_.IterateCompute(), 9) << "another partition";
  engine_.part_x_y_w_h.w = 8;
  const std::vector<LedMeter*> none;
  engine_.input_g = &none;
  EXPECT_EQ(engine_.IterateCompute(), 9) << "an empty list";
  engine_.input_g = &set.green;
  engine_.iterate_layer_order = {0, 9, 1};
  EXPECT_EQ(engine_.IterateCompute(), 9) << "layers that are not there";
  engine_.iterate_layer_order = {1, 0, 2};
  EXPECT_EQ(engine_.IterateCompute(), 0);
}

TEST_F(Iteration, AStepChangesNoMatrixThatSomebodyElseHolds) {
  ASSERT_EQ(Step(0.5F), 0);
  const MultiLayerCoeff copy = engine_;
  engine_.coef_r[4] = engine_.coef_r[0];
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_THAT(At(copy.coef_r), ElementsAre(2, 2, 2, 2, 2));
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(4, 4, 4, 4, 4));
}

TEST_F(Iteration, ARefusedFullListKeepsTheCoefficients) {
  for (int step = 0; step < 4; ++step) {
    ASSERT_EQ(Step(0.5F), 0);
  }
  const std::vector<float> before = At(engine_.coef_g);
  parameters_.capture_layers = {50, 100, 200};
  MeterSet set = MakeIdealSet({2, 2}, parameters_.Layers(), {100, 200, 50});
  EXPECT_EQ(engine_.Compute(&set.red, &set.green, &set.blue), 705);
  EXPECT_EQ(At(engine_.coef_g), before);
}

TEST_F(Iteration, Refusals) {
  EXPECT_EQ(engine_.IterateCompute(), 9) << "no measurement";
  engine_.iterate_count = 1;
  EXPECT_EQ(Step(0.5F), 706) << "no coefficients to refine";
  engine_.iterate_count = 0;
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_EQ(Step(0.5F, {3, 2}), 706) << "another partition";
  engine_.coef_b.emplace_back(2, 2, CV_32FC1);
  EXPECT_EQ(Step(0.5F), 706) << "more matrices than layers";
  engine_.coef_b.pop_back();
  engine_.iterate_count = -2;
  EXPECT_EQ(Step(0.5F), 9);
  engine_.iterate_count = 1;
  engine_.capture_layer_num = 7;
  EXPECT_EQ(Step(0.5F), 9) << "layers that are not those of the parameters";
  EXPECT_THAT(log_.TakeErrors(), SizeIs(6));
  parameters_.iterate = 4;
  ASSERT_EQ(parameters_.Set(engine_), 0);
  EXPECT_EQ(Step(0.5F), 705) << "a start beyond the last step";
}

}  // namespace
}  // namespace multilayer::testing
