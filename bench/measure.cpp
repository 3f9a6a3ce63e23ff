// Timing by Google Benchmark, on the clock of the thread's processor time: everything runs on one
// thread, and what else the machine does must not count.
#include "bench/measure.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <functional>

#include <benchmark/benchmark.h>

#include "bench/footprint.h"
#include "bench/instruction_sets.h"

namespace multilayer::bench {
namespace {

double ProcessorSeconds() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Prints nothing and keeps the time of a run, one for each repetition.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) {
        seconds_.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
      }
    }
  }
  Time Median() {
    std::sort(seconds_.begin(), seconds_.end());
    const double median = seconds_[seconds_.size() / 2];
    return {median, (seconds_.back() - seconds_.front()) / median};
  }

 private:
  std::vector<double> seconds_;
};

Time TimeOf(Computation& computation, const std::function<void()>& run,
            const Repetitions& repetitions) {
  benchmark::RegisterBenchmark("run",
                               [&](benchmark::State& state) {
                                 while (state.KeepRunning()) {
                                   computation.Start();
                                   const double begin = ProcessorSeconds();
                                   run();
                                   state.SetIterationTime(ProcessorSeconds() - begin);
                                 }
                               })
      ->UseManualTime()
      ->MinTime(repetitions.seconds)
      ->Repetitions(repetitions.count);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::ClearRegisteredBenchmarks();
  return collector.Median();
}

// Beyond a 4K wall a definition takes too long, and its results too much memory beside the others.
bool RunsPlain(const Computation& computation) {
  constexpr int kLargest = 3840 * 2160;
  return computation.HasPlain() && computation.size().area() <= kLargest;
}

// A definition may take minutes on a large wall, where its time does not vary much: run once there.
Time TimeOfPlain(Computation& computation, const Repetitions& repetitions) {
  constexpr int kLarge = 512 * 512;
  if (computation.size().area() <= kLarge) {
    return TimeOf(
        computation, [&] { computation.Plain(); }, repetitions);
  }
  computation.Start();
  const double begin = ProcessorSeconds();
  computation.Plain();
  return {ProcessorSeconds() - begin, 0};
}

Mats CloneResults(Computation& computation) {
  const Touched memory = computation.Memory();
  Mats results;
  for (const Mats* list : {&memory.updated, &memory.written}) {
    for (const cv::Mat& mat : *list) {
      results.push_back(mat.clone());
    }
  }
  return results;
}

bool SameBytes(const Mats& a, const Mats& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const cv::Mat& x, const cv::Mat& y) {
    const size_t bytes = x.total() * x.elemSize();
    return bytes == y.total() * y.elemSize() && std::memcmp(x.data, y.data, bytes) == 0;
  });
}

}  // namespace

std::vector<Measurement> Measure(const Case& which, cv::Size size,
                                 const std::vector<std::string>& sets,
                                 const Repetitions& repetitions) {
  const std::unique_ptr<Computation> computation = which.make(size);
  Measurement common;
  common.computation = which.name;
  common.size = size;
  common.moved_bytes = computation->MovedBytes();
  Mats defined;
  const bool has_plain = RunsPlain(*computation);
  if (has_plain) {
    common.plain = TimeOfPlain(*computation, repetitions);
    if (computation->HasOtherDefinition()) {
      computation->Start();
      computation->Definition();
    }
    defined = CloneResults(*computation);
  }
  std::vector<Measurement> all;
  for (const std::string& set : which.has_kernels ? sets : NoSet()) {
    const ForcedSet forced(set);
    Measurement& one = all.emplace_back(common);
    one.instruction_set = set;
    computation->Start();
    computation->Shipped();
    if (has_plain) {
      one.same_as_defined = SameBytes(CloneResults(*computation), defined);
    }
    one.shipped = TimeOf(
        *computation, [&] { computation->Shipped(); }, repetitions);
  }
  const Time floor = TimeOf(
      *computation, [&] { computation->Floor(); }, repetitions);
  defined.clear();
  for (Measurement& one : all) {
    const ForcedSet forced(one.instruction_set);
    one.floor = floor;
    one.footprint = FootprintOf(*computation);
  }
  return all;
}

}  // namespace multilayer::bench
