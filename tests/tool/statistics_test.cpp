// The figures of verify, against values worked out by hand.
#include "tool/statistics.h"

#include <cmath>

#include <gmock/gmock.h>

#include "tool/table.h"

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
