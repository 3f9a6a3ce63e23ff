// How even a wall is: the figures that verify prints, over all live LEDs.
#pragma once

#include <cstddef>
#include <vector>

namespace multilayer::tool {

struct Evenness {
  size_t count = 0;
  double mean = 0;
  double variation = 0;  // coefficient of variation: standard deviation / mean
  double min = 0;
  double max = 0;
  double low = 0;   // 1st percentile
  double high = 0;  // 99th percentile

  double MaxOverMin() const { return max / min; }
  double Spread() const { return (high - low) / mean; }
};

// Of at least one value; reorders them. Everything in double.
Evenness Measure(std::vector<double>& values);

// The value below which `share` (0..1) of the values lie, interpolated between neighbours. Of at
// least one value; reorders them.
double Percentile(std::vector<double>& values, double share);

// The largest value that at least `share` (0..1) of the values reach. Of at least one value;
// reorders them.
double ReachedBy(std::vector<double>& values, double share);

}  // namespace multilayer::tool
