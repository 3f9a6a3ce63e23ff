// The figures of verify, against values worked out by hand.
#include "tool/statistics.h"

#include <cmath>

#include <gmock/gmock.h>

#include "tool/table.h"
#include "tool/white_statistics.h"

namespace multilayer::tool {
namespace {

TEST(Statistics, EvennessOfKnownValues) {
  // Mean 3, squared deviations 4 + 1 + 0 + 1 + 4: standard deviation sqrt(2).
  std::vector<double> values = {5, 1, 4, 2, 3};
  const Evenness evenness = Measure(values);
  EXPECT_EQ(evenness.count, 5U);
  EXPECT_DOUBLE_EQ(evenness.mean, 3);
  EXPECT_DOUBLE_EQ(evenness.variation, std::sqrt(2.0) / 3);
  EXPECT_DOUBLE_EQ(evenness.MaxOverMin(), 5);
  EXPECT_DOUBLE_EQ(evenness.low, 1.04);
  EXPECT_DOUBLE_EQ(evenness.high, 4.96);
}

// An LED of chromaticity u', v' and luminance 4 v' x `light`.
cv::Vec3d Led(double u, double v, double light = 1) {
  return cv::Vec3d(9 * u, 4 * v, 12 - 3 * u - 20 * v) * light;
}

// Two modules of 2 x 2, the second cut to one column. One LED does not count.
TEST(Statistics, WhiteOfAKnownWall) {
  constexpr double kU = 0.2;
  constexpr double kV = 0.45;
  cv::Mat xyz(2, 3, CV_64FC3);
  xyz.at<cv::Vec3d>(0, 0) = Led(kU, kV);
  xyz.at<cv::Vec3d>(1, 0) = Led(kU + 0.003, kV);
  xyz.at<cv::Vec3d>(0, 1) = Led(kU, kV + 0.004);
  xyz.at<cv::Vec3d>(1, 1) = {0, 0, 0};
  xyz.at<cv::Vec3d>(0, 2) = Led(kU - 0.006, kV);
  xyz.at<cv::Vec3d>(1, 2) = Led(kU - 0.006, kV, 2);
  const cv::Vec3d white = Led(kU, kV) * 50;
  const WhiteEvenness even = MeasureWhite(xyz, {2, 2}, {white[0], white[1], white[2]});
  EXPECT_NEAR(even.mean, (0 + 0.003 + 0.004 + 0.006 + 0.006) / 5, 1e-12);
  EXPECT_NEAR(even.worst, 0.006, 1e-12);
  EXPECT_NEAR(even.p95, 0.006, 1e-12);
  // Right: 0.004 and (0.006, 0.004) apart; below: 0.003 and none.
  EXPECT_NEAR(even.neighbour_mean, (0.004 + std::hypot(0.006, 0.004) + 0.003 + 0) / 4, 1e-12);
  EXPECT_NEAR(even.module_to_target, 0.006, 1e-12);
  EXPECT_NEAR(even.module_to_module, std::hypot(0.007, 0.004 / 3), 1e-7);
  EXPECT_NEAR(even.luminance, 4 * (6 * kV + 0.004) / 5, 1e-12);
}

TEST(Statistics, VariationDoesNotDependOnTheScale) {
  // A variance from sums of squares in float would drown in the mean here.
  std::vector<double> values = {1e6 + 1, 1e6 - 1, 1e6 + 1, 1e6 - 1};
  EXPECT_NEAR(Measure(values).variation, 1e-6, 1e-15);
}

TEST(Statistics, OneValueIsItsOwnPercentile) {
  std::vector<double> values = {7};
  EXPECT_EQ(Percentile(values, 0), 7);
  EXPECT_EQ(Percentile(values, 1), 7);
  EXPECT_EQ(ReachedBy(values, 0.999), 7);
}

TEST(Statistics, ReachedByIsReachedByAtLeastTheShare) {
  std::vector<double> values;
  for (int i = 1; i <= 1000; ++i) {
    values.push_back(i);
  }
  for (const auto& [share, reached] : std::vector<std::pair<double, double>>{
           {1.0, 1}, {0.999, 2}, {0.9991, 1}, {0.5, 501}, {0.001, 1000}, {0.0, 1000}}) {
    EXPECT_EQ(ReachedBy(values, share), reached) << share;
  }
}

TEST(Table, AlignsColumns) {
  Table table({"name", "x"}, 1);
  table.Add({"a", "10.5"});
  table.Add({"longer", "7"});
  EXPECT_EQ(table.Text(),
            "name       x\n"
            "------  ----\n"
            "a       10.5\n"
            "longer     7\n");
}

TEST(Table, FormatsPercent) {
  EXPECT_EQ(Percent(0.0123, 1), "1.2 %");
  EXPECT_EQ(Percent(0.0123, 2, true), "+1.23 %");
}

}  // namespace
}  // namespace multilayer::tool
