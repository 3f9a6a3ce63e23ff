// The families of computations, each in a source of its own.
#pragma once

#include <memory>
#include <vector>

#include "bench/computation.h"

namespace multilayer::bench {

template <class Kind>
std::unique_ptr<Computation> Make(cv::Size size) {
  return std::make_unique<Kind>(size);
}

void AddNormCases(std::vector<Case>& cases);
void AddIterationCases(std::vector<Case>& cases);
void AddWhiteCases(std::vector<Case>& cases);
void AddChromaCases(std::vector<Case>& cases);
void AddSetCases(std::vector<Case>& cases);
void AddPersistenceCases(std::vector<Case>& cases);
void AddImageCases(std::vector<Case>& cases);
void AddMeterCases(std::vector<Case>& cases);

}  // namespace multilayer::bench
