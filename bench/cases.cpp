// The order of the table.
#include "bench/cases.h"

namespace multilayer::bench {

const std::vector<Case>& Cases() {
  static const std::vector<Case> cases = [] {
    std::vector<Case> list;
    AddNormCases(list);
    AddIterationCases(list);
    AddWhiteCases(list);
    AddChromaCases(list);
    AddSetCases(list);
    AddPersistenceCases(list);
    AddImageCases(list);
    AddMeterCases(list);
    return list;
  }();
  return cases;
}

}  // namespace multilayer::bench
