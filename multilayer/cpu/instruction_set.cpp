// Asks the processor, and the environment. Nothing is kept between computations.
#include "multilayer/cpu/instruction_set.h"

#include <cstdlib>
#include <cstring>

#include "pellix/pellix.h"

namespace multilayer {

const char* NameOf(InstructionSet set) {
  switch (set) {
    case InstructionSet::kAvx512:
      return "avx512";
    case InstructionSet::kAvx2:
      return "avx2";
    case InstructionSet::kBase:
      break;
  }
  return "base";
}

bool IsAvailable(InstructionSet set) {
#if defined(MULTILAYER_X86_KERNELS)
  // The compiler's query also asks whether the operating system saves the wide registers.
  switch (set) {
    case InstructionSet::kAvx512:
      return IsAvailable(InstructionSet::kAvx2) && __builtin_cpu_supports("avx512f") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512vl");
    case InstructionSet::kAvx2:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    case InstructionSet::kBase:
      break;
  }
#endif
  return set == InstructionSet::kBase;
}

InstructionSet ChooseInstructionSet() {
  const char* forced = std::getenv("MULTILAYER_INSTRUCTION_SET");
  InstructionSet best = InstructionSet::kBase;
  for (const InstructionSet set : kInstructionSets) {
    if (!IsAvailable(set)) {
      continue;
    }
    if (forced != nullptr && std::strcmp(forced, NameOf(set)) == 0) {
      return set;
    }
    best = set;
  }
  if (forced != nullptr) {
    PellixError("MULTILAYER_INSTRUCTION_SET = %s is not available, taking %s.", forced,
                NameOf(best));
  }
  return best;
}

}  // namespace multilayer
