// What the benchmark programs share: medians by name, and one table of ratios at the end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

namespace multilayer::bench {

// Prints as usual and keeps the medians of the processor time: everything runs on one thread, and
// what else the machine does must not count.
class Medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        seconds_[run.run_name.function_name] =
            run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double Seconds(const std::string& name) { return seconds_[name]; }
  double Ratio(const std::string& a, const std::string& b) { return seconds_[a] / seconds_[b]; }

 private:
  std::map<std::string, double> seconds_;
};

template <class Subject>
using Function = void (*)(benchmark::State&, const Subject&);

// Runs every function on `subject` five times; the medians are kept under "name/WIDTHxHEIGHT".
template <class Subject>
void RunAll(const Subject& subject, const std::string& suffix,
            const std::vector<std::pair<std::string, Function<Subject>>>& functions,
            Medians& medians) {
  for (const auto& [name, function] : functions) {
    benchmark::RegisterBenchmark(
        (name + suffix).c_str(),
        [run = function, &subject](benchmark::State& state) { run(state, subject); })
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(5)
        ->ReportAggregatesOnly();
  }
  benchmark::RunSpecifiedBenchmarks(&medians);
  benchmark::ClearRegisteredBenchmarks();
}

inline std::string SizeSuffix(cv::Size size) {
  std::string suffix = "/";
  suffix += std::to_string(size.width) + "x" + std::to_string(size.height);
  return suffix;
}

inline void CountLeds(benchmark::State& state, cv::Size size) {
  state.counters["LEDs"] = benchmark::Counter(static_cast<double>(size.area()),
                                              benchmark::Counter::kIsIterationInvariantRate);
}

// Reads all elements of a continuous matrix.
inline uint64_t ReadAll(const cv::Mat& mat) {
  uint64_t sum = 0;
  const auto* words = reinterpret_cast<const uint32_t*>(mat.data);
  const size_t count = mat.total() * mat.elemSize() / sizeof(uint32_t);
  for (size_t i = 0; i < count; ++i) {
    sum += words[i];
  }
  return sum;
}

inline bool SameBytes(const std::vector<cv::Mat>& a, const std::vector<cv::Mat>& b) {
  for (size_t k = 0; k < a.size() && a.size() == b.size(); ++k) {
    if (std::memcmp(a[k].data, b[k].data, b[k].total() * b[k].elemSize()) != 0) {
      return false;
    }
  }
  return a.size() == b.size();
}

}  // namespace multilayer::bench
