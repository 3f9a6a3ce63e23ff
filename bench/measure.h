// Runs one computation at one size in all its forms.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bench/computation.h"

namespace multilayer::bench {

// Seconds of processor time of one run: the median of the repetitions, and how far they lie apart,
// as a fraction of it.
struct Time {
  double median = 0;
  double spread = 0;
};

// Bytes that a computation holds: its inputs; these and the results of an earlier run; and what a
// run takes at most beyond them.
struct Footprint {
  uint64_t inputs = 0;
  uint64_t held = 0;
  uint64_t beyond = 0;
};

struct Measurement {
  std::string computation;
  cv::Size size;
  std::string instruction_set;  // empty without kernels
  Time shipped;
  std::optional<Time> plain;
  Time floor;
  uint64_t moved_bytes = 0;
  std::optional<Footprint> footprint;   // none without the kernel's help
  std::optional<bool> same_as_defined;  // bytes of the results; none without a plain definition
};

struct Repetitions {
  int count = 5;
  double seconds = 0.05;  // of each at least, in as many runs as that takes
};

// One measurement for each instruction set of `sets` if there are kernels, or a single one.
std::vector<Measurement> Measure(const Case& which, cv::Size size,
                                 const std::vector<std::string>& sets,
                                 const Repetitions& repetitions);

}  // namespace multilayer::bench
