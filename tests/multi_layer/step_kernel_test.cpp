// The kernels of an iteration step against their definition, LED by LED, in every instruction set.
#include "multilayer/multi_layer/step_kernel.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include "multilayer/color/white_plain.h"
#include "multilayer/meter/led_meter.h"
#include "multilayer/multi_layer/iteration_plain.h"
#include "tests/support/engines.h"
#include "tests/support/kernel_test.h"
#include "tests/support/meters.h"

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

bool SameFloats(const std::vector<float>& a, const std::vector<float>& b) {
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
      EXPECT_TRUE(SameFloats(layers[0], expected[0]) && SameFloats(layers[1], expected[1]) &&
                  SameFloats(layers[2], expected[2]));
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
    EXPECT_TRUE(SameFloats(coef, expected));
  }
}

// More LEDs in a row than go through the caches together, rows that follow each other, and rows that
// stand apart in every matrix that a step reads or writes.
struct Walls {
  cv::Size size;
  bool apart;
};
const Walls kWalls[] = {{{4100, 3}, false}, {{70, 5}, true}, {{4100, 2}, true}};

std::array<std::vector<cv::Mat>*, 3> Coefs(MultiLayerCoeff& engine) {
  return {&engine.coef_r, &engine.coef_g, &engine.coef_b};
}

void SetApart(MultiLayerCoeff& engine) {
  for (std::vector<cv::Mat>* list : Coefs(engine)) {
    std::for_each(list->begin(), list->end(), MakeDiscontinuous);
  }
}

void ExpectSameCoefs(MultiLayerCoeff& engine, MultiLayerCoeff& expected) {
  for (size_t c = 0; c < 3; ++c) {
    ASSERT_EQ(Coefs(engine)[c]->size(), Coefs(expected)[c]->size());
    for (size_t k = 0; k < Coefs(expected)[c]->size(); ++k) {
      EXPECT_TRUE(SameBits((*Coefs(engine)[c])[k], (*Coefs(expected)[c])[k])) << c << " " << k;
    }
  }
}

TEST_F(StepKernel, LuminanceStepsOfAnEngineGiveTheBitsOfTheDefinition) {
  LumParameters parameters;
  parameters.iterate = 0;
  for (const Walls& wall : kWalls) {
    SCOPED_TRACE(::testing::Message() << wall.size << wall.apart);
    cv::RNG random(7);
    MultiLayerCoeff engine;
    MultiLayerCoeff plain;
    ASSERT_EQ(parameters.Set(engine), 0);
    ASSERT_EQ(parameters.Set(plain), 0);
    for (int step = 0; step < 3; ++step) {
      std::vector<LedMeter> records;
      for (const int32_t color : {COLOR_RED, COLOR_GREEN, COLOR_BLUE}) {
        records.push_back(MakeMeter(wall.size, color, parameters.Layers()[0], 1.0F));
        random.fill(records.back().chroma, cv::RNG::UNIFORM, 90, 110);
        random.fill(records.back().state, cv::RNG::UNIFORM, 0, 4);
        if (wall.apart) {
          MakeDiscontinuous(records.back().chroma);
          MakeDiscontinuous(records.back().state);
        }
      }
      const std::vector<LedMeter*> lists[] = {{&records[0]}, {&records[1]}, {&records[2]}};
      ASSERT_EQ(plain.SetInput(&lists[0], &lists[1], &lists[2]), 0);
      if (step == 0) {
        ASSERT_EQ(engine.Compute(&lists[0], &lists[1], &lists[2]), 0);
        for (size_t c = 0; c < 3; ++c) {
          Coefs(plain)[c]->resize(Coefs(engine)[c]->size());
          for (cv::Mat& coef : *Coefs(plain)[c]) {
            coef = cv::Mat(wall.size, CV_32FC1, cv::Scalar(1.0));
          }
        }
      } else {
        if (wall.apart) {
          SetApart(engine);
        }
        ASSERT_EQ(engine.Compute(&lists[0], &lists[1], &lists[2]), 0);
      }
      IterationPlain(plain);
      ExpectSameCoefs(engine, plain);
    }
  }
}

TEST_F(StepKernel, WhiteStepsOfAnEngineGiveTheBitsOfTheDefinition) {
  constexpr float kNine[9] = {0.69F, 0.31F, 0.01F, 0.18F, 0.72F, 0.1F, 0.13F, 0.06F, 0.8F};
  constexpr float kTarget[3] = {0.95F, 1.0F, 1.09F};
  const Matrix3 matrix = {{{0.69F, 0.18F, 0.13F}, {0.31F, 0.72F, 0.06F}, {0.01F, 0.1F, 0.8F}}};
  for (const Walls& wall : kWalls) {
    SCOPED_TRACE(::testing::Message() << wall.size << wall.apart);
    cv::RNG random(8);
    MultiLayerCoeff engine;
    ASSERT_EQ(engine.SetParamWhite(LinearGamma(), kNine, kTarget, {100, 50, 200}, 5, 0, 16), 0);
    const PartRecord part = {0, 0, wall.size.width, wall.size.height, 0, 0};
    MultiLayerCoeff expected;
    for (int step = 0; step < 2; ++step) {
      ChromaXYZ white;
      for (cv::Mat_<float>* plane : {&white.X, &white.Y, &white.Z}) {
        plane->create(wall.size);
        random.fill(*plane, cv::RNG::UNIFORM, 0.9, 1.1);
        if (wall.apart) {
          MakeDiscontinuous(*plane);
        }
      }
      if (step == 1 && wall.apart) {
        SetApart(engine);
      }
      ASSERT_EQ(engine.ComputeWhite(white, part), 0);
      for (size_t c = 0; c < 3; ++c) {
        Coefs(expected)[c]->resize(5);
        for (cv::Mat& coef : *Coefs(expected)[c]) {
          coef = coef.empty() ? cv::Mat(wall.size, CV_32FC1, cv::Scalar(1.0)) : coef;
          for (int row = 0; row < coef.rows; ++row) {
            for (int col = 0; col < coef.cols; ++col) {
              const auto increments = WhitePlain(
                  matrix, {kTarget[0] - white.X(row, col), kTarget[1] - white.Y(row, col),
                           kTarget[2] - white.Z(row, col)});
              const auto gain = static_cast<float>(1.0 + increments[c]);
              auto& value = coef.at<float>(row, col);
              value = step == 0 ? gain : value + (gain - 1.0F);
            }
          }
        }
      }
      ExpectSameCoefs(engine, expected);
    }
  }
}

}  // namespace
}  // namespace multilayer::testing
