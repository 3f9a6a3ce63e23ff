// Sums in double, deviations from the mean in a second pass.
#include "tool/statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace multilayer::tool {
namespace {

double Ranked(std::vector<double>& values, size_t rank) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

}  // namespace

Evenness Measure(std::vector<double>& values) {
  Evenness result;
  result.count = values.size();
  const auto count = static_cast<double>(values.size());
  result.mean = std::accumulate(values.begin(), values.end(), 0.0) / count;
  double squares = 0;
  for (const double value : values) {
    squares += (value - result.mean) * (value - result.mean);
  }
  result.variation = std::sqrt(squares / count) / result.mean;
  const auto [min, max] = std::minmax_element(values.begin(), values.end());
  result.min = *min;
  result.max = *max;
  result.low = Percentile(values, 0.01);
  result.high = Percentile(values, 0.99);
  return result;
}

double Percentile(std::vector<double>& values, double share) {
  const double place = share * static_cast<double>(values.size() - 1);
  const auto rank = static_cast<size_t>(place);
  const double below = Ranked(values, rank);
  const double part = place - static_cast<double>(rank);
  return part > 0 ? below + part * (Ranked(values, rank + 1) - below) : below;
}

double ReachedBy(std::vector<double>& values, double share) {
  const auto count = static_cast<double>(values.size());
  // A share that asks for 4.0000000001 of 5 LEDs means 4.
  const double needed = std::ceil(share * count - 1e-9 * count);
  const auto rank = static_cast<size_t>(count - std::clamp(needed, 1.0, count));
  return Ranked(values, rank);
}

}  // namespace multilayer::tool
