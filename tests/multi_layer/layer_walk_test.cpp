// Which layers a step corrects, for every order of up to four layers, against the rule told LED by
// LED.
#include "multilayer/multi_layer/layer_walk.h"

#include <algorithm>
#include <numeric>

#include <gmock/gmock.h>

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;

// The definition as it is told: a flag that becomes set at the previous layer, and a skip.
std::vector<int32_t> Told(const std::vector<int32_t>& order, int32_t step) {
  std::vector<int32_t> layers;
  bool reached = false;
  for (const int32_t e : order) {
    if (step == 0) {
      layers.push_back(e);
      continue;
    }
    const int32_t previous = order[static_cast<size_t>(step - 1)];
    reached = reached || e == previous;
    if (reached && !(e >= order[0] && previous < order[0])) {
      layers.push_back(e);
    }
  }
  return layers;
}

TEST(LayerWalk, FollowsTheRuleForEveryOrder) {
  for (int32_t count = 1; count <= 5; ++count) {
    std::vector<int32_t> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    do {
      for (int32_t step = 0; step <= count; ++step) {
        EXPECT_EQ(LayersOfStep(order, step), Told(order, step))
            << ::testing::PrintToString(order) << " step " << step;
      }
    } while (std::next_permutation(order.begin(), order.end()));
  }
}

TEST(LayerWalk, FromTheMiddleDownThenUp) {
  const std::vector<int32_t> order = {1, 0, 2};
  EXPECT_THAT(LayersOfStep(order, 0), ElementsAre(1, 0, 2));
  EXPECT_THAT(LayersOfStep(order, 1), ElementsAre(1, 0, 2));
  EXPECT_THAT(LayersOfStep(order, 2), ElementsAre(0));
  EXPECT_THAT(LayersOfStep(order, 3), ElementsAre(2));
}

}  // namespace
}  // namespace multilayer::testing
