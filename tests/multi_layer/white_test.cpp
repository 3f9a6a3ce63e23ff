// White steps: closed forms, the walk, and what is refused.
#include <algorithm>

#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::IsEmpty;

constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr float kWhite[3] = {1, 1, 1};
const PartRecord kPart = {4, 5, 3, 2, 60, 70};

ChromaXYZ Bundle(float x, float y, float z, cv::Size size = {3, 2}) {
  const auto plane = [&](float value) { return cv::Mat_<float>(size, value); };
  return {plane(x), plane(y), plane(z)};
}

class White : public ::testing::Test {
 protected:
  White() { Set(0, 5); }

  void Set(int32_t iterate, int32_t coef_layers) {
    ASSERT_EQ(engine_.SetParamWhite(LinearGamma(), kIdentity, kWhite, {100, 50, 200}, coef_layers,
                                    iterate, 16),
              0);
  }
  int32_t Step(float value) { return engine_.ComputeWhite(Bundle(value, value, value), kPart); }
  std::vector<float> At(const std::vector<cv::Mat>& list) const {
    std::vector<float> values;
    for (const cv::Mat& coef : list) {
      values.push_back(coef.at<float>(1, 2));
    }
    return values;
  }

  MultiLayerCoeff engine_;
  LogRecorder log_;
};

TEST_F(White, WalksAsTheLuminanceIterationAndAdds) {
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_EQ(engine_.part_x_y_w_h.screen_h, 70);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(1.5, 1.5, 1.5, 1.5, 1.5));
  ASSERT_EQ(Step(0.75F), 0);
  EXPECT_THAT(At(engine_.coef_g), ElementsAre(1.75, 1.75, 1.75, 1.75, 1.75));
  ASSERT_EQ(Step(1.5F), 0);
  EXPECT_THAT(At(engine_.coef_b), ElementsAre(1.25, 1.75, 1.75, 1.75, 1.75));
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(1.25, 1.75, 2.25, 2.25, 2.25));
  log_.TakeErrors();
  EXPECT_EQ(Step(0.5F), 705);
  EXPECT_THAT(log_.TakeErrors(),
              ElementsAre("MultiLayerWhiteCoeff::Compute--Error ::  max number iterations has been "
                          "reached."));
  EXPECT_EQ(engine_.iterate_count, 4);
}

TEST_F(White, ATargetThatIsReachedChangesNothing) {
  ASSERT_EQ(Step(0.7F), 0);
  const std::vector<float> before = At(engine_.coef_r);
  ASSERT_EQ(Step(1.0F), 0);
  EXPECT_EQ(At(engine_.coef_r), before);
  EXPECT_THAT(log_.TakeInfos(), ::testing::Contains("MultiLayerWhiteCoeff::Compute"));
}

TEST_F(White, MeasuredPrimariesWinOverTheMatrix) {
  ASSERT_EQ(engine_.SetRGBXYZ(Bundle(2, 0, 0), Bundle(0, 4, 0), Bundle(0, 0, 8)), 0);
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_THAT(At(engine_.coef_r), Each(FloatEq(1.25)));
  EXPECT_THAT(At(engine_.coef_g), Each(FloatEq(1.125)));
  EXPECT_THAT(At(engine_.coef_b), Each(FloatEq(1.0625)));
}

TEST_F(White, LedsWithDependentPrimariesAreLeftAloneAndCounted) {
  ChromaXYZ red = Bundle(2, 1, 0.5);
  const ChromaXYZ green = Bundle(0.3F, 4, 0.7F);
  red.X(0, 1) = 0.3F;
  red.Y(0, 1) = 4;
  red.Z(0, 1) = 0.7F;
  ASSERT_EQ(engine_.SetRGBXYZ(red, green, Bundle(0.1F, 0.2F, 8)), 0);
  ASSERT_EQ(Step(0.5F), 0);
  EXPECT_EQ(engine_.singular_total, 0) << "-1 and one LED";
  EXPECT_EQ(engine_.coef_r[0].at<float>(0, 1), 1.0F);
  EXPECT_NE(engine_.coef_r[0].at<float>(0, 0), 1.0F);
}

TEST_F(White, EveryEntryHasItsOwnBuffer) {
  Set(1, 5);
  ASSERT_EQ(Step(0.5F), 0);
  for (const auto* list : {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b}) {
    std::vector<const void*> data;
    for (const cv::Mat& coef : *list) {
      data.push_back(coef.data);
    }
    std::sort(data.begin(), data.end());
    EXPECT_EQ(std::adjacent_find(data.begin(), data.end()), data.end());
  }
  EXPECT_THAT(At(engine_.coef_r), ElementsAre(1.5, 1.5, 1.5, 1.5, 1.5)) << "from 1.0";
}

TEST_F(White, Refusals) {
  EXPECT_EQ(engine_.ComputeWhite(ChromaXYZ(), kPart), 9);
  EXPECT_TRUE(engine_.part_x_y_w_h.w == -1 && engine_.coef_r.empty());
  ASSERT_EQ(Step(0.5F), 0);
  const std::vector<float> before = At(engine_.coef_r);
  log_.TakeErrors();
  EXPECT_EQ(engine_.ComputeWhite(Bundle(1, 1, 1, {2, 3}), {0, 0, 2, 3, 2, 3}), 9);
  EXPECT_THAT(log_.TakeErrors(),
              ElementsAre("MultiLayerWhiteCoeff::Compute--Error :: partition mismatched"));
  EXPECT_EQ(engine_.ComputeWhite(Bundle(1, 1, 1, {2, 2}), kPart), 9);
  EXPECT_THAT(log_.TakeErrors(), ElementsAre("WhiteCoeff::Compute-- W XYZ data size mismatched"));
  engine_.target_white = nullptr;
  EXPECT_EQ(Step(0.5F), 1);
  engine_.target_white = kWhite;
  engine_.rgb_to_xyz = nullptr;
  EXPECT_EQ(Step(0.5F), 9);
  engine_.rgb_to_xyz = kIdentity;
  EXPECT_EQ(At(engine_.coef_r), before);
  EXPECT_EQ(engine_.iterate_count, 1);
  ASSERT_EQ(LumParameters().Set(engine_), 0);
  EXPECT_EQ(Step(0.5F), 9) << "luminance parameters";
  Set(2, 6);
  EXPECT_EQ(Step(0.5F), 706) << "five matrices for six layers";
}

TEST_F(White, SingleCorrectsOneCapturedLayer) {
  const ChromaXYZ half = Bundle(0.5, 0.5, 0.5);
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 100), 706);
  ASSERT_EQ(Step(1.0F), 0);
  log_.TakeErrors();
  ASSERT_EQ(engine_.ComputeWhiteSingle(half, 200), 0);
  EXPECT_THAT(At(engine_.coef_g), ElementsAre(1, 1, 1.5, 1, 1)) << "upper layers do not follow";
  EXPECT_EQ(engine_.iterate_count, 1);
  ASSERT_EQ(engine_.ComputeWhiteSingle(Bundle(1, 1, 1), 200), 0);
  EXPECT_THAT(At(engine_.coef_g), ElementsAre(1, 1, 1.5, 1, 1));
  EXPECT_THAT(log_.TakeErrors(), IsEmpty());
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 150), 707);
  EXPECT_THAT(log_.TakeErrors(),
              ElementsAre("MultiLayerCoeff::ComputeWhiteSingle--Error :: cur_gray_value not exist "
                          "!!"));
  EXPECT_EQ(engine_.ComputeWhiteSingle(Bundle(1, 1, 1, {1, 1}), 200), 9);
  engine_.coef_r[4] = cv::Mat();
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 200), 0) << "only its own layer counts";
  engine_.coef_b.resize(2);
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 200), 706);
  engine_.coef_b = engine_.coef_g;
  EXPECT_EQ(engine_.SetParamWhite(LinearGamma(), kIdentity, kWhite, {100, 50, 200}, 5, 0, 99), 9);
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 200), 706) << "after a refused setter";
  engine_.Reset();
  EXPECT_EQ(engine_.ComputeWhiteSingle(half, 200), 706);
}

}  // namespace
}  // namespace multilayer::testing
