// The Norm computation: as shipped under every instruction set, as defined, and the floor (read the
// inputs once, write the outputs once, into matrices that are there), on one thread, in one run.
// Ends with the ratios and a comparison of the bytes.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include "bench/harness.h"
#include "multilayer/cpu/instruction_set.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "multilayer/multi_layer/norm_plain.h"
#include "simulation/measure.h"

namespace multilayer {
namespace {

using bench::CountLeds;
using bench::ReadAll;

constexpr int32_t kCoefLayers = 10;
const std::vector<int32_t> kLevels = {32, 48, 64, 96, 128, 160, 192, 255};

// A measured partition and the parameters to calibrate it.
struct Wall {
  explicit Wall(cv::Size wall_size) : size(wall_size) {
    simulation::WallParameters parameters;
    parameters.screen_w = size.width;
    parameters.screen_h = size.height;
    gamma_table = simulation::MakeGammaTable(256, 16, 2.2);
    const simulation::Scene scene = {parameters, simulation::Controller(gamma_table, 16),
                                     simulation::Camera({})};
    measured = scene.Measure(
        simulation::MakePartition(parameters, simulation::WholeScreen(parameters)), kLevels);
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

  cv::Size size;
  cv::Mat gamma_table;
  simulation::MeasuredLayers measured;
  std::array<std::vector<LedMeter*>, 3> meters;
  std::array<float, 9> rgb_to_y = {};
};

void Force(InstructionSet set) { setenv("MULTILAYER_INSTRUCTION_SET", NameOf(set), 1); }

int32_t Compute(MultiLayerCoeff& engine, const Wall& wall) {
  return engine.Compute(&wall.meters[0], &wall.meters[1], &wall.meters[2]);
}

// From the second computation on, as a wall is calibrated partition by partition: the first one
// fetches the pages of memory for its results.
template <InstructionSet kSet>
void Shipped(benchmark::State& state, const Wall& wall) {
  Force(kSet);
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  Compute(engine, wall);
  while (state.KeepRunning()) {
    if (Compute(engine, wall) != 0) {
      state.SkipWithError("refused");
    }
  }
  CountLeds(state, wall.size);
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
  CountLeds(state, wall.size);
}

// Sums the measurements and writes a value into the coefficients.
void Floor(benchmark::State& state, const Wall& wall) {
  std::vector<cv::Mat> coefs(3 * kCoefLayers);
  for (cv::Mat& coef : coefs) {
    coef = cv::Mat(wall.size, CV_32FC1, cv::Scalar::all(1.0));
  }
  while (state.KeepRunning()) {
    auto coef = coefs.begin();
    for (const std::vector<LedMeter*>& meters : wall.meters) {
      uint64_t sum = 0;
      for (const LedMeter* meter : meters) {
        sum += ReadAll(meter->chroma) + ReadAll(meter->state);
      }
      for (int32_t k = 0; k < kCoefLayers; ++k, ++coef) {
        std::fill_n(coef->ptr<float>(0), coef->total(), static_cast<float>(sum));
      }
    }
    benchmark::ClobberMemory();
  }
  CountLeds(state, wall.size);
}

bool SameBytes(const Wall& wall, InstructionSet set) {
  Force(set);
  MultiLayerCoeff shipped;
  MultiLayerCoeff plain;
  wall.Prepare(shipped);
  wall.Prepare(plain);
  Compute(shipped, wall);
  plain.SetInput(&wall.meters[0], &wall.meters[1], &wall.meters[2]);
  NormPlain(plain);
  return bench::SameBytes(shipped.coef_r, plain.coef_r) &&
         bench::SameBytes(shipped.coef_g, plain.coef_g) &&
         bench::SameBytes(shipped.coef_b, plain.coef_b);
}

int Run() {
  bool all_same = true;
  std::string lines;
  for (const cv::Size size : {cv::Size(256, 256), cv::Size(1920, 1080), cv::Size(3840, 2160)}) {
    const Wall wall(size);
    const std::string suffix = bench::SizeSuffix(size);
    std::vector<std::pair<std::string, bench::Function<Wall>>> functions = {{"floor", Floor},
                                                                            {"plain", Plain}};
    for (const InstructionSet set : kInstructionSets) {
      if (IsAvailable(set)) {
        functions.emplace_back(NameOf(set), ForInstructionSet(set, []<InstructionSet kSet> {
                                 return &Shipped<kSet>;
                               }));
      }
    }
    bench::Medians medians;
    bench::RunAll<Wall>(wall, suffix, functions, medians);
    for (const InstructionSet set : kInstructionSets) {
      if (!IsAvailable(set)) {
        continue;
      }
      const bool same = SameBytes(wall, set);
      all_same &= same;
      const std::string name = NameOf(set) + suffix;
      char line[160];
      std::snprintf(line, sizeof line, "%5d x %-5d %-8s %8.1f ns %8.1f x faster %8.2f x      %s\n",
                    size.width, size.height, NameOf(set), medians.Seconds(name) * 1e9 / size.area(),
                    medians.Ratio("plain" + suffix, name), medians.Ratio(name, "floor" + suffix),
                    same ? "equal" : "DIFFERENT");
      lines += line;
    }
  }
  std::printf("\nNorm, %zu captured and %d coefficient layers, medians of 5\n", kLevels.size(),
              kCoefLayers);
  std::printf("     LEDs     kernels       an LED    against plain    against floor  bytes\n%s",
              lines.c_str());
  return all_same ? 0 : 1;
}

}  // namespace
}  // namespace multilayer

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  return benchmark::ReportUnrecognizedArguments(argc, argv) ? 2 : multilayer::Run();
}
