// Hardware positions: powers of two between neighbouring layers.
#include <limits>

#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<int32_t> Row(const cv::Mat& matrix, int row) {
  return {matrix.ptr<int32_t>(row), matrix.ptr<int32_t>(row) + matrix.cols};
}

// A table whose first columns are `outputs` and whose last output is `last`; columns 0, 1, 2 ...
// are then captured.
MultiLayerCoeff EngineWith(const std::vector<int32_t>& outputs, int32_t last, int32_t bits,
                           int32_t coef_layers) {
  LumParameters parameters;
  parameters.gamma_table.at<int32_t>(0, 255) = last;
  parameters.capture_layers.clear();
  for (int i = 0; i < static_cast<int>(outputs.size()); ++i) {
    parameters.gamma_table.at<int32_t>(0, i) = outputs[static_cast<size_t>(i)];
    parameters.capture_layers.push_back(i);
  }
  parameters.bits = bits;
  parameters.coef_layers = coef_layers;
  MultiLayerCoeff engine;
  EXPECT_EQ(parameters.Set(engine), 0);
  return engine;
}

struct Case {
  std::vector<int32_t> outputs;
  int32_t last;
  int32_t bits;
  std::vector<int32_t> positions;
  std::vector<int32_t> gaps;
};

TEST(LayerPositions, StepsSnapToTheNearestPowerOfTwo) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  const Case cases[] = {
      // Distances 1, 2, 3 (tie, up), 5, 6 (tie, up), 11, 12 (tie, up), each from a fresh start.
      {{100, 101}, 65535, 16, {100, 101}, {0, 0}},
      {{100, 102}, 65535, 16, {100, 102}, {0, 1}},
      {{100, 103}, 65535, 16, {100, 104}, {0, 2}},
      {{100, 105}, 65535, 16, {100, 104}, {0, 2}},
      {{100, 106}, 65535, 16, {100, 108}, {0, 3}},
      {{100, 111}, 65535, 16, {100, 108}, {0, 3}},
      {{100, 112}, 65535, 16, {100, 116}, {0, 4}},
      // Distances count from the snapped position, so rounding carries forward.
      {{100, 111, 122}, 65535, 16, {100, 108, 124}, {0, 3, 4}},
      // Equal or falling levels step by one.
      {{100, 100, 50}, 65535, 16, {100, 101, 102}, {0, 0, 0}},
      // Layers beyond the captured ones follow one apart with gap 0.
      {{100, 200}, 65535, 16, {100, 228, 229, 230}, {0, 7, 0, 0}},
      // 20-bit table to 16 bits: shift 4. The depth is rounded: 2^19.5 and more counts as 20.
      {{1600, 3200}, 1048575, 16, {100, 228}, {0, 7}},
      {{1600, 3200}, 800000, 16, {100, 228}, {0, 7}},
      {{1600, 3200}, 700000, 16, {200, 456}, {0, 8}},
      // A table of fewer bits than the coefficients: a shift of -2 is one of 30.
      {{1000, 2000, 3000}, 65535, 18, {0, 1, 2}, {0, 0, 0}},
      // Negative outputs shift arithmetically; no table overflows.
      {{-1600, 0}, 1048575, 16, {-100, 28}, {0, 7}},
      {{kMin, kMax}, 65535, 16, {kMin, kMin + 1}, {0, 0}},
      {{-1, kMax - 1}, 65535, 16, {-1, kMax}, {0, 31}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.outputs));
    const MultiLayerCoeff engine =
        EngineWith(c.outputs, c.last, c.bits, static_cast<int32_t>(c.positions.size()));
    for (int row = 0; row < 3; ++row) {
      EXPECT_THAT(Row(engine.pos_hardware, row), ElementsAreArray(c.positions));
      EXPECT_THAT(Row(engine.gap_hardware, row), ElementsAreArray(c.gaps));
    }
  }
}

// The table is read as 32-bit words whatever it was declared as.
TEST(LayerPositions, WordsOfAWiderTypeAreReadAsInt32) {
  LumParameters parameters;
  parameters.gamma_table = cv::Mat::zeros(3, 256, CV_64FC1);
  const cv::Mat words = LinearGamma();
  std::copy_n(words.ptr<int32_t>(0), 256, parameters.gamma_table.ptr<int32_t>(0));
  MultiLayerCoeff engine;
  MultiLayerCoeff expected;
  ASSERT_EQ(parameters.Set(engine), 0);
  ASSERT_EQ(LumParameters().Set(expected), 0);
  EXPECT_EQ(Row(engine.pos_hardware, 0), Row(expected.pos_hardware, 0));
}

TEST(LayerPositions, GettersShareTheElementsOrSayThatThereAreNone) {
  MultiLayerCoeff engine;
  LogRecorder log;
  EXPECT_TRUE(engine.GetPosForHardware().empty());
  EXPECT_EQ(engine.GetGapForHardware().type(), CV_32SC1);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::GetPosForHardware--Error ::  Data is EMPTY!!!.",
                          "MultiLayerCoeff::GetGapForHardware--Error ::  Data is EMPTY!!!."));
  ASSERT_EQ(LumParameters().Set(engine), 0);
  EXPECT_EQ(engine.GetPosForHardware().data, engine.pos_hardware.data);
  EXPECT_EQ(engine.GetGapForHardware().data, engine.gap_hardware.data);
}

}  // namespace
}  // namespace multilayer::testing
