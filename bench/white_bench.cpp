// The white step, with one matrix and with measured primaries: as shipped, LED by LED with the
// matrix library, and the floor (read the inputs once, write the layers of the step once), on one
// thread, in one run. The step is one in the middle of a run: it adds to every layer.
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include "bench/harness.h"
#include "multilayer/color/white_plain.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "simulation/display.h"

namespace multilayer {
namespace {

using bench::CountLeds;
using bench::ReadAll;

constexpr int32_t kCoefLayers = 10;
const std::vector<int32_t> kLevels = {32, 48, 64, 96, 128, 160, 192, 255};
constexpr float kTarget[3] = {0.95F, 1.0F, 1.09F};
constexpr float kPrimaries[9] = {0.69F, 0.31F, 0.01F, 0.18F, 0.72F, 0.1F, 0.135F, 0.06F, 0.8F};

// Measured white and primaries, each LED with a spread of 5 % to either side.
struct Wall {
  Wall(cv::Size wall_size, bool with_primaries) : size(wall_size), measured(with_primaries) {
    cv::RNG random(1);
    const auto plane = [&](float value) {
      cv::Mat_<float> mat(size);
      random.fill(mat, cv::RNG::UNIFORM, 0.95 * static_cast<double>(value),
                  1.05 * static_cast<double>(value));
      return mat;
    };
    white = {plane(kTarget[0]), plane(kTarget[1]), plane(kTarget[2])};
    for (size_t c = 0; c < 3 && measured; ++c) {
      primaries[c] = {plane(kPrimaries[3 * c]), plane(kPrimaries[3 * c + 1]),
                      plane(kPrimaries[3 * c + 2])};
    }
  }

  // An engine that stands before step 1.
  void Prepare(MultiLayerCoeff& engine) const {
    const cv::Mat gamma = simulation::MakeGammaTable(256, 16, 2.2);
    const bool ready =
        engine.SetParamWhite(gamma, kPrimaries, kTarget, kLevels, kCoefLayers, 0, 16) == 0 &&
        (!measured || engine.SetRGBXYZ(primaries[0], primaries[1], primaries[2]) == 0) &&
        engine.ComputeWhite(white, Part()) == 0;
    if (!ready) {
      std::abort();
    }
  }
  PartRecord Part() const { return {0, 0, size.width, size.height, size.width, size.height}; }

  Matrix3 MatrixAt(int row, int col) const {
    Matrix3 m;
    for (size_t c = 0; c < 3; ++c) {
      m[0][c] = measured ? primaries[c].X(row, col) : kPrimaries[3 * c];
      m[1][c] = measured ? primaries[c].Y(row, col) : kPrimaries[3 * c + 1];
      m[2][c] = measured ? primaries[c].Z(row, col) : kPrimaries[3 * c + 2];
    }
    return m;
  }

  cv::Size size;
  bool measured;
  ChromaXYZ white;
  std::array<ChromaXYZ, 3> primaries;
};

void Shipped(benchmark::State& state, const Wall& wall) {
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  while (state.KeepRunning()) {
    engine.iterate_count = 1;
    if (engine.ComputeWhite(wall.white, wall.Part()) != 0) {
      state.SkipWithError("refused");
    }
  }
  CountLeds(state, wall.size);
}

// One step on the layers of `engine`, LED by LED, with the increments of `solve`.
template <class Solve>
void StepByLed(const Wall& wall, MultiLayerCoeff& engine, const Solve& solve) {
  std::vector<cv::Mat>* const lists[] = {&engine.coef_r, &engine.coef_g, &engine.coef_b};
  for (int row = 0; row < wall.size.height; ++row) {
    for (int col = 0; col < wall.size.width; ++col) {
      const std::array<float, 3> difference = {kTarget[0] - wall.white.X(row, col),
                                               kTarget[1] - wall.white.Y(row, col),
                                               kTarget[2] - wall.white.Z(row, col)};
      const auto increments = solve(wall.MatrixAt(row, col), difference);
      for (size_t c = 0; c < 3; ++c) {
        const float gain = static_cast<float>(1.0 + static_cast<double>(increments[c]));
        for (cv::Mat& coef : *lists[c]) {
          coef.at<float>(row, col) += gain - 1.0F;
        }
      }
    }
  }
}

void MatrixLibrary(benchmark::State& state, const Wall& wall) {
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  while (state.KeepRunning()) {
    StepByLed(wall, engine, WhiteByMatrixLibrary);
  }
  CountLeds(state, wall.size);
}

void Floor(benchmark::State& state, const Wall& wall) {
  MultiLayerCoeff engine;
  wall.Prepare(engine);
  while (state.KeepRunning()) {
    uint64_t sum = ReadAll(wall.white.X) + ReadAll(wall.white.Y) + ReadAll(wall.white.Z);
    for (const ChromaXYZ& primary : wall.primaries) {
      sum += ReadAll(primary.X) + ReadAll(primary.Y) + ReadAll(primary.Z);
    }
    const float value = sum == 1 ? 2.0F : 1.0F;
    for (std::vector<cv::Mat>* list : {&engine.coef_r, &engine.coef_g, &engine.coef_b}) {
      for (cv::Mat& coef : *list) {
        auto* element = coef.ptr<float>(0);
        const size_t count = coef.total();
        for (size_t i = 0; i < count; ++i) {
          element[i] += value;
        }
      }
    }
    benchmark::ClobberMemory();
  }
  CountLeds(state, wall.size);
}

bool SameBytes(const Wall& wall) {
  MultiLayerCoeff shipped;
  MultiLayerCoeff plain;
  wall.Prepare(shipped);
  wall.Prepare(plain);
  shipped.ComputeWhite(wall.white, wall.Part());
  StepByLed(wall, plain, WhitePlain);
  return bench::SameBytes(shipped.coef_r, plain.coef_r) &&
         bench::SameBytes(shipped.coef_g, plain.coef_g) &&
         bench::SameBytes(shipped.coef_b, plain.coef_b);
}

int Run() {
  bool all_same = true;
  std::string lines;
  for (const bool measured : {false, true}) {
    const Wall wall({1920, 1080}, measured);
    const std::string suffix = measured ? "/measured" : "/fixed";
    bench::Medians medians;
    bench::RunAll<Wall>(
        wall, suffix, {{"floor", Floor}, {"white", Shipped}, {"library", MatrixLibrary}}, medians);
    const bool same = SameBytes(wall);
    all_same &= same;
    char line[160];
    std::snprintf(line, sizeof line, "%-20s %8.1f x faster %8.1f x      %s\n",
                  measured ? "measured primaries" : "one matrix",
                  medians.Ratio("library" + suffix, "white" + suffix),
                  medians.Ratio("white" + suffix, "floor" + suffix), same ? "equal" : "DIFFERENT");
    lines += line;
  }
  std::printf("\nWhite step, 1920 x 1080 LEDs, %zu captured and %d coefficient layers\n",
              kLevels.size(), kCoefLayers);
  std::printf("                    against library     against floor   bytes, against plain\n%s",
              lines.c_str());
  return all_same ? 0 : 1;
}

}  // namespace
}  // namespace multilayer

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  return benchmark::ReportUnrecognizedArguments(argc, argv) ? 2 : multilayer::Run();
}
