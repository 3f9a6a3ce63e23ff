// The Norm kernel against the plain definition, bit for bit, under the instruction set that the
// environment names.
#include <cmath>
#include <cstdlib>
#include <limits>

#include <gmock/gmock.h>

#include "multilayer/multi_layer/norm_plain.h"
#include "multilayer/multi_layer/norm_solver.h"
#include "tests/support/engines.h"
#include "tests/support/kernel_test.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::SizeIs;

constexpr float kFullScale[3] = {100, 200, 50};
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using NormKernel = KernelTest;

int32_t Compute(MultiLayerCoeff& engine, const MeterSet& set) {
  return engine.Compute(&set.red, &set.green, &set.blue);
}

std::array<const std::vector<cv::Mat>*, 3> Coefs(const MultiLayerCoeff& engine) {
  return {&engine.coef_r, &engine.coef_g, &engine.coef_b};
}

// Responses that mostly rise, with noise, and special values: those of odd LEDs, of which tiles keep
// their order, or all of them.
enum class Kind { kOrderly, kWild };
MeterSet NoisySet(cv::Size size, const std::vector<LayerRecord>& layers, uint64_t seed, Kind kind) {
  MeterSet set = MakeIdealSet(size, layers, kFullScale);
  cv::RNG random(seed);
  const float special[] = {
      0.0F, -0.0F, 1e-44F, -1.0F, 1e-30F, 1e38F, std::numeric_limits<float>::max(),
      kNaN, kInf,  -kInf};
  const int specials = kind == Kind::kWild ? 10 : 7;
  for (const auto& meter : set.owned) {
    for (int row = 0; row < size.height; ++row) {
      for (int col = 0; col < size.width; ++col) {
        auto& value = meter->chroma.at<float>(row, col);
        value *= random.uniform(0.8F, 1.2F);
        if (random.uniform(0, 40) == 0) {
          value = special[random.uniform(0, specials)];
        }
        if (random.uniform(0, 60) == 0) {
          meter->state.at<uint8_t>(row, col) = static_cast<uint8_t>(random.uniform(0, 256));
        }
      }
    }
  }
  return set;
}

void ExpectSameAsPlain(const LumParameters& parameters, const MeterSet& set, bool keep,
                       const std::vector<int32_t>& positions = {}) {
  MultiLayerCoeff tiled;
  MultiLayerCoeff plain;
  tiled.keep_response_segments = keep;
  ASSERT_EQ(parameters.Set(tiled), 0);
  ASSERT_EQ(parameters.Set(plain), 0);
  for (size_t k = 0; k < positions.size(); ++k) {
    for (MultiLayerCoeff* engine : {&tiled, &plain}) {
      engine->pos_hardware.at<int32_t>(0, static_cast<int>(k)) = positions[k];
    }
  }
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

TEST_F(NormKernel, RunsUnderTheSetAskedFor) {
  const float measured[] = {1, 2};
  const uint8_t state = 0;
  float coef = 0;
  NormSolver solver({{0.5, 1}, {1}, {100}, 65535}, set_);
  const InstructionSet ran =
      solver.Solve({{measured, measured + 1}, {&state, &state}, {&coef}, {}}, 1);
  EXPECT_EQ(coef, 0.5F * 65535 / 100);
  if (const char* asked = std::getenv("MULTILAYER_INSTRUCTION_SET"); asked != nullptr) {
    EXPECT_STREQ(NameOf(ran), asked);
  }
}

TEST_F(NormKernel, GivesTheBitsOfThePlainDefinition) {
  LumParameters parameters;
  parameters.ratios = {0.1, 0.0, -0.3};
  const std::vector<std::vector<int32_t>> captures = {
      {100, 255}, {16, 32, 64, 128, 255}, {255, 128, 64}, {40, 40, 200}, {0, 100, 255}};
  uint64_t seed = 1;
  for (const std::vector<int32_t>& levels : captures) {
    parameters.capture_layers = levels;
    for (const int cols : {1, 3, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 129, 200}) {
      for (const Kind kind : {Kind::kOrderly, Kind::kWild}) {
        SCOPED_TRACE(::testing::PrintToString(levels) + " x " + std::to_string(cols));
        const MeterSet set = NoisySet({cols, 2}, parameters.Layers(), ++seed, kind);
        ExpectSameAsPlain(parameters, set, cols % 2 == 0);
      }
    }
  }
}

TEST_F(NormKernel, TakesRegionsOfLargerMatrices) {
  LumParameters parameters;
  for (const int cols : {37, 64, 65, 200}) {
    SCOPED_TRACE(cols);
    MeterSet set = NoisySet({cols, 5}, parameters.Layers(), 99, Kind::kOrderly);
    for (const auto& meter : set.owned) {
      MakeDiscontinuous(meter->chroma);
      MakeDiscontinuous(meter->state);
    }
    ASSERT_FALSE(set.red[0]->chroma.isContinuous());
    ExpectSameAsPlain(parameters, set, true);
  }
}

// Targets that no float holds exactly, infinite and NaN: ratios reach any value.
TEST_F(NormKernel, AgreesOnExtremeTargets) {
  const MeterSet set = NoisySet({300, 1}, LumParameters().Layers(), 5, Kind::kOrderly);
  for (const double ratio : {1.0, 1e300, -1e300, -1e40, 0.1, std::nan(""), 1 - 1e-60}) {
    SCOPED_TRACE(ratio);
    LumParameters parameters;
    parameters.ratios = {ratio, ratio, ratio};
    ExpectSameAsPlain(parameters, set, false);
  }
}

TEST_F(NormKernel, AgreesOnAnyPosition) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const LumParameters parameters;
  for (const Kind kind : {Kind::kOrderly, Kind::kWild}) {
    const MeterSet set = NoisySet({300, 1}, parameters.Layers(), 6, kind);
    ExpectSameAsPlain(parameters, set, false, {0, 1, -3, kMax, -kMax - 1, 65535});
  }
}

// An LED's coefficient depends on its own measurements alone.
TEST_F(NormKernel, PermutingLedsPermutesCoefficients) {
  LumParameters parameters;
  MultiLayerCoeff straight;
  MultiLayerCoeff flipped;
  ASSERT_EQ(parameters.Set(straight), 0);
  ASSERT_EQ(parameters.Set(flipped), 0);
  MeterSet set = NoisySet({701, 3}, parameters.Layers(), 8, Kind::kWild);
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
