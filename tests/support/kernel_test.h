// The fixture of kernel suites, which run once for every instruction set.
#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "multilayer/cpu/instruction_set.h"

namespace multilayer::testing {

// Skips the cases when the environment names a set that this machine lacks.
class KernelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* forced = std::getenv("MULTILAYER_INSTRUCTION_SET");
    set_ = ChooseInstructionSet();
    if (forced != nullptr && std::string(forced) != NameOf(set_)) {
      GTEST_SKIP() << "no " << forced << " here";
    }
  }

  InstructionSet set_ = InstructionSet::kBase;
};

}  // namespace multilayer::testing
