// Which instruction sets the kernels can be made to use here.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "multilayer/cpu/instruction_set.h"

namespace multilayer::bench {

inline std::vector<std::string> AvailableSets() {
  std::vector<std::string> names;
  for (const InstructionSet set : kInstructionSets) {
    if (IsAvailable(set)) {
      names.emplace_back(NameOf(set));
    }
  }
  return names;
}

// In place of the above, for what has no kernels.
inline std::vector<std::string> NoSet() { return {""}; }

// Has the library's computations use `set`, or choose for themselves if that is empty, as long as
// this lives.
class ForcedSet {
 public:
  explicit ForcedSet(const std::string& set) {
    if (!set.empty()) {
      setenv(kVariable, set.c_str(), 1);
    }
  }
  ~ForcedSet() { unsetenv(kVariable); }
  ForcedSet(const ForcedSet&) = delete;
  ForcedSet& operator=(const ForcedSet&) = delete;

 private:
  static constexpr const char* kVariable = "MULTILAYER_INSTRUCTION_SET";
};

}  // namespace multilayer::bench
