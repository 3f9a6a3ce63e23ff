// The kernels of an iteration step against their definition, LED by LED, in every instruction set.
#include "multilayer/multi_layer/step_kernel.h"

#include <cstring>
#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include "multilayer/meter/led_meter.h"
#include "tests/support/kernel_test.h"

namespace multilayer::testing {
namespace {

using StepKernel = KernelTest;

constexpr float kGuard = 77.0F;

// Values around 1, with everything that a float can be in between.
std::vector<float> Mixed(size_t count, size_t seed) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float odd[] = {0.0F,      -0.0F,      1e-45F,
                       -1e-39F,   3e38F,      -3e38F,
                       kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN()};
  std::vector<float> values(count);
  for (size_t i = 0; i < count; ++i) {
    const size_t n = i * 7 + seed * 13;
    values[i] = n % 5 == 0 ? odd[n / 5 % 9] : 0.75F + 0.001F * static_cast<float>(n % 500);
  }
  return values;
}

bool SameBits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

// Sizes around every lane count, from addresses that are aligned to nothing; a guard stands behind.
TEST_F(StepKernel, FoldsEachValueIntoEveryLayer) {
  const auto fold_into =
      ForInstructionSet(set_, []<InstructionSet kSet> { return &FoldIntoLayers<kSet>; });
  for (size_t count = 1; count <= 150; ++count) {
    for (const Fold fold : {Fold::kSet, Fold::kMultiply, Fold::kAdd}) {
      SCOPED_TRACE(::testing::Message() << count << " LEDs, fold " << static_cast<int>(fold));
      const size_t offset = count % 4;
      const std::vector<float> values = Mixed(count + offset, 1);
      std::vector<std::vector<float>> layers = {Mixed(count + offset + 1, 2),
                                                Mixed(count + offset + 1, 3),
                                                std::vector<float>(count + offset + 1, 5.0F)};
      std::vector<std::vector<float>> expected = layers;
      for (size_t i = offset; i < count + offset; ++i) {
        for (size_t layer = 0; layer < 2; ++layer) {
          float& coef = expected[layer][i];
          coef = fold == Fold::kSet        ? values[i]
                 : fold == Fold::kMultiply ? coef * values[i]
                                           : coef + (values[i] - 1.0F);
        }
        expected[2][i] = expected[1][i];
      }
      for (size_t layer = 0; layer < 3; ++layer) {
        layers[layer].back() = expected[layer].back() = kGuard;
      }
      float* const corrected[] = {&layers[0][offset], &layers[1][offset]};
      float* const follower = &layers[2][offset];
      fold_into({fold, corrected, 2, &follower, 1, corrected[1]}, &values[offset], count);
      EXPECT_TRUE(SameBits(layers[0], expected[0]) && SameBits(layers[1], expected[1]) &&
                  SameBits(layers[2], expected[2]));
    }
  }
}

TEST_F(StepKernel, DividesTheTargetByUsableMeasurements) {
  const auto refine =
      ForInstructionSet(set_, []<InstructionSet kSet> { return &RefineLayers<kSet>; });
  for (size_t count = 1; count <= 150; ++count) {
    SCOPED_TRACE(count);
    const size_t offset = count % 4;
    const std::vector<float> measured = Mixed(count + offset, count);
    std::vector<uint8_t> state(count + offset);
    std::vector<float> coef = Mixed(count + offset + 1, 4);
    coef.back() = kGuard;
    std::vector<float> expected = coef;
    for (size_t i = offset; i < count + offset; ++i) {
      state[i] = static_cast<uint8_t>(i * 3 % 4);
      expected[i] *= (state[i] & LED_USABLE) != 0
                         ? static_cast<float>(229.5 / static_cast<double>(measured[i]))
                         : 1.0F;
    }
    float* const corrected = &coef[offset];
    refine({Fold::kMultiply, &corrected, 1, nullptr, 0, nullptr},
           {229.5, &measured[offset], &state[offset]}, count);
    EXPECT_TRUE(SameBits(coef, expected));
  }
}

}  // namespace
}  // namespace multilayer::testing
