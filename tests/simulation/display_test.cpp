// The display controller against values worked out by hand.
#include "simulation/display.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace multilayer::simulation {
namespace {

// A gamma table whose outputs are what the test wants to see.
cv::Mat TableOf(const std::vector<int32_t>& outputs) {
  cv::Mat table(3, static_cast<int32_t>(outputs.size()), CV_32SC1);
  for (int32_t row = 0; row < 3; ++row) {
    std::copy(outputs.begin(), outputs.end(), table.ptr<int32_t>(row));
  }
  return table;
}

cv::Mat Coef(float value) { return cv::Mat(1, 1, CV_32FC1, cv::Scalar(value)); }

TEST(GammaTable, IsThePowerLawRoundedToWholeSteps) {
  const cv::Mat table = MakeGammaTable(256, 16, 2.2);
  ASSERT_EQ(table.type(), CV_32SC1);
  ASSERT_EQ(table.size(), cv::Size(256, 3));
  for (int32_t row = 0; row < 3; ++row) {
    EXPECT_EQ(table.at<int32_t>(row, 0), 0);
    EXPECT_EQ(table.at<int32_t>(row, 32), 681);     // 65535 x (32 / 255)^2.2 = 681.37
    EXPECT_EQ(table.at<int32_t>(row, 128), 14386);  // 14386.45
    EXPECT_EQ(table.at<int32_t>(row, 255), 65535);
  }
  EXPECT_EQ(MakeGammaTable(1024, 18, 1.0).at<int32_t>(2, 1023), 262143);
}

TEST(Controller, ShiftsGammaOutputsToItsBitWidth) {
  struct Case {
    int32_t table_bits;
    int32_t bit_width;
    int32_t output;
    int32_t position;
  };
  const Case cases[] = {{16, 16, 1001, 1001},
                        {18, 16, 1001, 250},  // 1001 / 4 rounded down
                        {18, 16, 1003, 250},
                        {16, 18, 1001, 4004},
                        {12, 24, 4095, 16773120}};
  for (const Case& c : cases) {
    const int32_t largest = (1 << c.table_bits) - 1;
    const Controller controller(TableOf({0, c.output, largest}), c.bit_width);
    EXPECT_EQ(controller.Position(1), c.position);
    EXPECT_EQ(controller.LinearNorm(1), static_cast<float>(1.0 * c.output / largest));
    EXPECT_EQ(controller.LinearNorm(2), 1.0F);
  }
}

TEST(Controller, InterpolatesRoundsAndClips) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct Case {
    const char* rule;
    int32_t position;
    float at_1000;
    float at_3000;
    int32_t steps;
  };
  const Case cases[] = {
      {"at a layer", 1000, 0.75F, 9.0F, 750},
      {"at the upper layer", 3000, 9.0F, 0.75F, 2250},
      {"a quarter of the way", 1500, 0.5F, 1.5F, 1125},  // 0.75 x 1500
      {"held below", 100, 0.5F, 1.5F, 50},
      {"held above", 4000, 0.5F, 1.5F, 6000},
      {"rounded to the nearest", 1001, 0.75F, 0.75F, 751},  // 750.75
      {"rounded down", 1003, 0.75F, 0.75F, 752},            // 752.25
      {"a half goes up", 1002, 0.75F, 0.75F, 752},          // 751.5
      {"clipped at full scale", 65535, 1.0F, 1.001F, 65535},
      {"clipped at 0", 1000, -0.5F, 1.0F, 0},
      {"no number, no light", 1000, nan, nan, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rule);
    const Controller controller(TableOf({0, c.position, 65535}), 16);
    const cv::Mat drive =
        controller.Show(1, {1, 1}, {{1000, 3000}, {Coef(c.at_1000), Coef(c.at_3000)}});
    EXPECT_EQ(drive.at<double>(0, 0), c.steps / 65535.0);
  }
}

TEST(Controller, ShowsTheLevelItselfWithoutCoefficients) {
  const Controller controller(TableOf({0, 1234, 65535}), 16);
  const cv::Mat drive = controller.Show(1, {3, 2}, {});
  ASSERT_EQ(drive.size(), cv::Size(3, 2));
  for (auto it = drive.begin<double>(); it != drive.end<double>(); ++it) {
    EXPECT_EQ(*it, 1234 / 65535.0);
  }
}

}  // namespace
}  // namespace multilayer::simulation
