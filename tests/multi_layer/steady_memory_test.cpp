// What computations hold beyond their inputs: their results and a constant, however large the wall.
#include <functional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/engines.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

const cv::Size kSize(512, 400);
constexpr PartRecord kPart = {0, 0, 512, 400, 512, 400};
constexpr size_t kPlane = sizeof(float) * 512 * 400;

// What does not grow with the wall: lists, tiles, messages.
constexpr size_t kConstant = 32768;

// That a run succeeds and holds at most `planes` new planes and the constant.
void ExpectToHold(size_t planes, const std::function<int32_t()>& run) {
  const AllocationMeter memory;
  EXPECT_EQ(run(), 0);
  EXPECT_LE(memory.peak(), planes * kPlane + kConstant);
}

ChromaXYZ Colour(float x, float y, float z) {
  return {cv::Mat_<float>(kSize, x), cv::Mat_<float>(kSize, y), cv::Mat_<float>(kSize, z)};
}

TEST(SteadyMemory, NormHoldsItsResults) {
  LumParameters parameters;
  const MeterSet set = MakeIdealSet(kSize, parameters.Layers(), {100, 200, 50});
  MultiLayerCoeff engine;
  engine.keep_response_segments = false;
  ASSERT_EQ(parameters.Set(engine), 0);
  const auto compute = [&] { return engine.Compute(&set.red, &set.green, &set.blue); };
  ExpectToHold(18, compute);
  ExpectToHold(0, compute);
}

TEST(SteadyMemory, StepsOfAnIterationTakeNoMore) {
  LumParameters parameters;
  parameters.iterate = 0;
  const MeterSet set = MakeIdealSet(kSize, parameters.Layers(), {100, 200, 50});
  MultiLayerCoeff engine;
  ASSERT_EQ(parameters.Set(engine), 0);
  for (size_t step = 0; step < 4; ++step) {
    const std::vector<LedMeter*> lists[] = {{set.red[step]}, {set.green[step]}, {set.blue[step]}};
    ExpectToHold(step == 0 ? 18 : 0,
                 [&] { return engine.Compute(&lists[0], &lists[1], &lists[2]); });
  }
}

TEST(SteadyMemory, WhiteStepsTakeNoMore) {
  constexpr float kXyz[9] = {40, 20, 1, 35, 70, 10, 18, 7, 95};
  constexpr float kWhite[3] = {90, 95, 100};
  for (const bool measured : {false, true}) {
    const ChromaXYZ white = Colour(93, 97, 106);
    MultiLayerCoeff engine;
    ASSERT_EQ(engine.SetParamWhite(LinearGamma(), kXyz, kWhite, {64, 128, 255}, 6, 0, 16), 0);
    if (measured) {
      ASSERT_EQ(engine.SetRGBXYZ(Colour(40, 20, 1), Colour(35, 70, 10), Colour(18, 7, 95)), 0);
    }
    for (size_t step = 0; step < 3; ++step) {
      ExpectToHold(step == 0 ? 18 : 0, [&] { return engine.ComputeWhite(white, kPart); });
    }
    ExpectToHold(0, [&] { return engine.ComputeWhiteSingle(white, 128); });
  }
}

TEST(SteadyMemory, ChromaFitHoldsItsResults) {
  constexpr float kTargets[12] = {220.0F, 0.67F, 0.31F,  560.0F, 0.20F,   0.69F,
                                  60.0F,  0.14F, 0.075F, 840.0F, 0.3127F, 0.329F};
  const ChromaXYZ red = Colour(450, 220, 10);
  const ChromaXYZ green = Colour(180, 600, 90);
  const ChromaXYZ blue = Colour(120, 60, 640);
  ChromaCoeff set;
  ASSERT_EQ(set.SetPara(cv::Mat(4, 3, CV_32FC1, cv::Scalar(1)), 0, 0, 0), 0);
  const auto compute = [&] { return set.Compute(kTargets, red, green, blue, kPart); };
  ExpectToHold(9, compute);
  ExpectToHold(0, compute);
}

}  // namespace
}  // namespace multilayer::testing
