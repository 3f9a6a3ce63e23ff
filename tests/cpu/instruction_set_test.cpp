// The choice of the instruction set: the best by default, what the environment names, else a line.
#include "multilayer/cpu/instruction_set.h"

#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/support/log_recorder.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kVariable[] = "MULTILAYER_INSTRUCTION_SET";

TEST(InstructionSet, TheEnvironmentTakesPrecedenceAndIsReadEachTime) {
  LogRecorder log;
  InstructionSet best = InstructionSet::kBase;
  for (const InstructionSet set : kInstructionSets) {
    setenv(kVariable, NameOf(set), 1);
    if (IsAvailable(set)) {
      best = set;
      EXPECT_EQ(ChooseInstructionSet(), set);
      EXPECT_THAT(log.TakeErrors(), IsEmpty());
    }
  }
  unsetenv(kVariable);
  EXPECT_EQ(ChooseInstructionSet(), best);
  for (const char* unknown : {"avx1024", "", "AVX2"}) {
    setenv(kVariable, unknown, 1);
    EXPECT_EQ(ChooseInstructionSet(), best);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(HasSubstr("is not available")));
  }
  unsetenv(kVariable);
}

}  // namespace
}  // namespace multilayer::testing
