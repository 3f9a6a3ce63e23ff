// The Norm computation: as shipped, as defined, and the floor (read the inputs once, write the
// outputs once), on one thread, in one run. Ends with the ratios and a comparison of the bytes.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "multilayer/multi_layer/norm_plain.h"
#include "simulation/measure.h"

namespace multilayer {
namespace {

constexpr int32_t kCoefLayers = 10;
const std::vector<int32_t> kLevels = {32, 48, 64, 96, 128, 160, 192, 255};

// A measured partition and the parameters to calibrate it.
struct Wall {
  Wall(int32_t width, int32_t height) {
    simulation::WallParameters parameters;
    parameters.screen_w = width;
    parameters.screen_h = height;
    gamma_table = simulation::MakeGammaTable(256, 16, 2.2);
    const simulation::Scene scene = {parameters, simulation::Controller(gamma_table, 16),
                                     simulation::Camera({})};
    measured = scene.Measure(
        simulation::MakePartition(parameters, {0, 0, width, height, width, height}), kLevels);
    for (size_t c = 0; c < 3; ++c) {
      meters[c] = simulation::Pointers(measured[c]);
      rgb_to_y[3 * c] = static_cast<float>(parameters.full_scale[c]);
    }
  }

  void Prepare(MultiLayerCoeff& engine) const {
    engine.keep_response_segments = false;
    if (engine.SetParam(gamma_table, {0.2, 0.2, 0.2}, rgb_to_y.data(), kLevels, kCoefLayers, 16) !=
        0) {
      std::abort();
    }
  }

  cv::Mat gamma_table;
  simulation::MeasuredLayers measured;
  std::array<std::vector<LedMeter*>, 3> meters;
  std::array<float, 9> rgb_to_y = {};
};

void CountLeds(benchmark::State& state, const Wall& wall) {
  const auto leds = static_cast<double>(wall.meters[0][0]->chroma.total());
  state.counters["LEDs"] = benchmark::Counter(leds, benchmark::Counter::kIsIterationInvariantRate);
}

void Shipped(benchmark::State& state, const Wall& wall) {
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  while (state.KeepRunning()) {
    if (engine.Compute(&wall.meters[0], &wall.meters[1], &wall.meters[2]) != 0) {
      state.SkipWithError("refused");
    }
  }
  CountLeds(state, wall);
}

// The definition with its input assembly, as a computation is called.
void Plain(benchmark::State& state, const Wall& wall) {
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  while (state.KeepRunning()) {
    if (engine.SetInput(&wall.meters[0], &wall.meters[1], &wall.meters[2]) != 0) {
      state.SkipWithError("refused");
    }
    NormPlain(engine);
  }
  CountLeds(state, wall);
}

// Sums the measurements and writes a value into fresh coefficients.
void Floor(benchmark::State& state, const Wall& wall) {
  const cv::Size size = wall.meters[0][0]->chroma.size();
  while (state.KeepRunning()) {
    std::vector<cv::Mat> coefs;
    for (size_t c = 0; c < 3; ++c) {
      uint64_t sum = 0;
      const auto add = [&sum](const cv::Mat& mat) {
        const auto* words = reinterpret_cast<const uint32_t*>(mat.data);
        const size_t count = mat.total() * mat.elemSize() / sizeof(uint32_t);
        for (size_t i = 0; i < count; ++i) {
          sum += words[i];
        }
      };
      for (const LedMeter* meter : wall.meters[c]) {
        add(meter->chroma);
        add(meter->state);
      }
      for (int32_t k = 0; k < kCoefLayers; ++k) {
        coefs.emplace_back(size, CV_32FC1);
        std::fill_n(coefs.back().ptr<float>(0), coefs.back().total(), static_cast<float>(sum));
      }
    }
    benchmark::DoNotOptimize(coefs);
  }
  CountLeds(state, wall);
}

bool SameBytes(const Wall& wall) {
  MultiLayerCoeff shipped;
  MultiLayerCoeff plain;
  wall.Prepare(shipped);
  wall.Prepare(plain);
  shipped.Compute(&wall.meters[0], &wall.meters[1], &wall.meters[2]);
  plain.SetInput(&wall.meters[0], &wall.meters[1], &wall.meters[2]);
  NormPlain(plain);
  const auto same = [](const std::vector<cv::Mat>& a, const std::vector<cv::Mat>& b) {
    for (size_t k = 0; k < b.size(); ++k) {
      if (std::memcmp(a[k].data, b[k].data, b[k].total() * b[k].elemSize()) != 0) {
        return false;
      }
    }
    return a.size() == b.size();
  };
  return same(shipped.coef_r, plain.coef_r) && same(shipped.coef_g, plain.coef_g) &&
         same(shipped.coef_b, plain.coef_b);
}

// Prints as usual and keeps the medians.
class Medians : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        seconds_[run.run_name.function_name] = run.real_accumulated_time;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double Ratio(const std::string& a, const std::string& b) { return seconds_[a] / seconds_[b]; }

 private:
  std::map<std::string, double> seconds_;
};

int Run() {
  const std::pair<int32_t, int32_t> sizes[] = {{256, 256}, {1920, 1080}};
  bool all_same = true;
  std::vector<std::string> lines;
  for (const auto& [width, height] : sizes) {
    const Wall wall(width, height);
    std::string suffix = "/";
    suffix += std::to_string(width) + "x" + std::to_string(height);
    using Function = void (*)(benchmark::State&, const Wall&);
    for (const auto& [name, function] :
         {std::pair<const char*, Function>("floor", Floor), {"norm", Shipped}, {"plain", Plain}}) {
      benchmark::RegisterBenchmark(
          (name + suffix).c_str(),
          [run = function, &wall](benchmark::State& state) { run(state, wall); })
          ->Unit(benchmark::kMillisecond)
          ->Repetitions(5)
          ->ReportAggregatesOnly();
    }
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    benchmark::ClearRegisteredBenchmarks();
    const bool same = SameBytes(wall);
    all_same &= same;
    char line[160];
    std::snprintf(line, sizeof line, "%5d x %-5d %8.1f x faster %8.1f x      %s", width, height,
                  medians.Ratio("plain" + suffix, "norm" + suffix),
                  medians.Ratio("norm" + suffix, "floor" + suffix), same ? "equal" : "DIFFERENT");
    lines.emplace_back(line);
  }
  std::printf("\nNorm, %zu captured and %d coefficient layers, medians of 5\n", kLevels.size(),
              kCoefLayers);
  std::printf("     LEDs      against plain    against floor   bytes\n");
  for (const std::string& line : lines) {
    std::printf("%s\n", line.c_str());
  }
  return all_same ? 0 : 1;
}

}  // namespace
}  // namespace multilayer

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  return benchmark::ReportUnrecognizedArguments(argc, argv) ? 2 : multilayer::Run();
}
