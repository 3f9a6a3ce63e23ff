// Which instruction set whole computations run under. This program defines the entries of all kernels
// itself, so that the linker leaves the library's out, and notes which are called.
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/chroma_kernel.h"
#include "multilayer/color/white_coeff.h"
#include "multilayer/color/white_kernel.h"
#include "multilayer/multi_layer/norm_kernel.h"
#include "multilayer/multi_layer/step_kernel.h"
#include "tests/support/engines.h"
#include "tests/support/kernel_test.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

std::vector<std::string> called;

void Note(const char* entry, InstructionSet set) {
  called.push_back(std::string(entry) + ' ' + NameOf(set));
}

}  // namespace

#define MULTILAYER_SPY(set)                                                              \
  template <>                                                                            \
  InstructionSet SolveNorm<InstructionSet::set>(const NormWork&) {                       \
    Note("norm", InstructionSet::set);                                                   \
    return InstructionSet::set;                                                          \
  }                                                                                      \
  template <>                                                                            \
  void FoldIntoLayers<InstructionSet::set>(const FoldLayers&, const float*, size_t) {    \
    Note("fold", InstructionSet::set);                                                   \
  }                                                                                      \
  template <>                                                                            \
  void RefineLayers<InstructionSet::set>(const FoldLayers&, const Refinement&, size_t) { \
    Note("refine", InstructionSet::set);                                                 \
  }                                                                                      \
  template <>                                                                            \
  int32_t AddIncrements<InstructionSet::set>(const WhiteWork&) {                         \
    Note("white", InstructionSet::set);                                                  \
    return 0;                                                                            \
  }                                                                                      \
  template <>                                                                            \
  void MixPrimaries<InstructionSet::set>(const ReachedColours&, const ChromaRow&) {      \
    Note("chroma", InstructionSet::set);                                                 \
  }
MULTILAYER_SPY(kBase)
#if defined(MULTILAYER_X86_KERNELS)
MULTILAYER_SPY(kAvx2)
MULTILAYER_SPY(kAvx512)
#endif
#undef MULTILAYER_SPY

namespace testing {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::Not;

class Dispatch : public KernelTest {
 protected:
  // Whether `entry` was called since the last look, and under the set asked for alone.
  void ExpectOnly(const std::string& entry) {
    const std::string expected = entry + ' ' + NameOf(set_);
    EXPECT_THAT(called, AllOf(Not(::testing::IsEmpty()), Each(expected)));
    called.clear();
  }
};

constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr float kOnes[3] = {1, 1, 1};
constexpr PartRecord kPart = {0, 0, 3, 2, 3, 2};

ChromaXYZ Ones() {
  const auto plane = [] { return cv::Mat_<float>(2, 3, 1.0F); };
  return {plane(), plane(), plane()};
}

TEST_F(Dispatch, LuminanceRunsUnderTheSetAskedFor) {
  LumParameters parameters;
  const MeterSet set = MakeIdealSet({3, 2}, parameters.Layers(), {100, 200, 50});
  MultiLayerCoeff norm;
  ASSERT_EQ(parameters.Set(norm), 0);
  ASSERT_EQ(norm.Compute(&set.red, &set.green, &set.blue), 0);
  ExpectOnly("norm");
  parameters.iterate = 0;
  MultiLayerCoeff iteration;
  ASSERT_EQ(parameters.Set(iteration), 0);
  const std::vector<LedMeter*> lists[] = {{set.red[0]}, {set.green[0]}, {set.blue[0]}};
  ASSERT_EQ(iteration.Compute(&lists[0], &lists[1], &lists[2]), 0);
  ExpectOnly("refine");
}

TEST_F(Dispatch, ColourRunsUnderTheSetAskedFor) {
  WhiteCoeff white;
  white.SetTargetWhite(kOnes);
  white.SetRGBXYZ(kIdentity);
  ASSERT_EQ(white.Compute(Ones(), kPart), 0);
  ExpectOnly("white");
  ChromaCoeff chroma;
  ASSERT_EQ(chroma.SetPara(cv::Mat(4, 3, CV_32FC1, cv::Scalar(1)), 0, 0, 0), 0);
  constexpr float kTargets[12] = {220.0F, 0.67F, 0.31F,  560.0F, 0.20F,   0.69F,
                                  60.0F,  0.14F, 0.075F, 840.0F, 0.3127F, 0.329F};
  ASSERT_EQ(chroma.Compute(kTargets, Ones(), Ones(), Ones(), kPart), 0);
  ExpectOnly("chroma");
}

TEST_F(Dispatch, WhiteStepsRunUnderTheSetAskedFor) {
  MultiLayerCoeff engine;
  ASSERT_EQ(engine.SetParamWhite(LinearGamma(), kIdentity, kOnes, {128, 255}, 3, 0, 16), 0);
  ASSERT_EQ(engine.ComputeWhite(Ones(), kPart), 0);
  std::vector<std::string> folds;
  std::copy_if(called.begin(), called.end(), std::back_inserter(folds),
               [](const std::string& call) { return call.rfind("fold", 0) == 0; });
  ASSERT_EQ(called.size(), folds.size() + 1);
  EXPECT_EQ(called.front(), std::string("white ") + NameOf(set_));
  called = folds;
  ExpectOnly("fold");
}

}  // namespace
}  // namespace testing
}  // namespace multilayer
