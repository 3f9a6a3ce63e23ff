// The chroma fit: as shipped, LED by LED with the matrix library, and the floor (read the nine
// measured planes once, write the nine planes of shares once), on one thread, in one run.
#include <array>
#include <cstdio>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include "bench/harness.h"
#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/chroma_plain.h"

namespace multilayer {
namespace {

// X, Y, Z of red, green, blue of a nominal LED, and (Y, x, y) of red, green, blue, white.
constexpr float kPrimaries[9] = {609.0F, 270.0F, 0.3F,  164.0F, 660.0F,
                                 94.0F,  140.0F, 70.0F, 850.0F};
constexpr float kTargets[12] = {220.0F, 0.67F, 0.31F,  560.0F, 0.20F,   0.69F,
                                60.0F,  0.14F, 0.075F, 840.0F, 0.3127F, 0.329F};

// Every value with a spread of 5 % to either side.
struct Wall {
  explicit Wall(cv::Size wall_size) : size(wall_size) {
    cv::RNG random(1);
    const auto plane = [&](float value) {
      cv::Mat_<float> mat(size);
      random.fill(mat, cv::RNG::UNIFORM, 0.95 * static_cast<double>(value),
                  1.05 * static_cast<double>(value));
      return mat;
    };
    for (size_t p = 0; p < 3; ++p) {
      primaries[p] = {plane(kPrimaries[3 * p]), plane(kPrimaries[3 * p + 1]),
                      plane(kPrimaries[3 * p + 2])};
    }
  }
  int32_t Fit(ChromaCoeff& set) const {
    return set.Compute(kTargets, primaries[0], primaries[1], primaries[2],
                       {0, 0, size.width, size.height, size.width, size.height});
  }
  LedPrimaries At(int row, int col) const {
    LedPrimaries led;
    for (size_t p = 0; p < 3; ++p) {
      led[p] = {primaries[p].X(row, col), primaries[p].Y(row, col), primaries[p].Z(row, col)};
    }
    return led;
  }
  cv::Size size;
  std::array<ChromaXYZ, 3> primaries;
};

const cv::Mat kWeights(4, 3, CV_32FC1, cv::Scalar(1));

ChromaCoeff Fitted(const Wall& wall) {
  ChromaCoeff set;
  if (set.SetPara(kWeights, 0, 0, 0) != 0 || wall.Fit(set) != 0) {
    std::abort();
  }
  return set;
}

void Shipped(benchmark::State& state, const Wall& wall) {
  ChromaCoeff set = Fitted(wall);
  while (state.KeepRunning()) {
    if (wall.Fit(set) != 0) {
      state.SkipWithError("refused");
    }
  }
  bench::CountLeds(state, wall.size);
}

// The shares of `solve`, LED by LED.
template <class Solve>
void FitByLed(const Wall& wall, ChromaCoeff& set, const Solve& solve) {
  for (int row = 0; row < wall.size.height; ++row) {
    for (int col = 0; col < wall.size.width; ++col) {
      const auto shares = solve(wall.At(row, col));
      for (size_t k = 0; k < shares.size(); ++k) {
        set.coef[k].at<float>(row, col) = static_cast<float>(shares[k]);
      }
    }
  }
}

void MatrixLibrary(benchmark::State& state, const Wall& wall) {
  ChromaCoeff set = Fitted(wall);
  while (state.KeepRunning()) {
    FitByLed(wall, set, [](const LedPrimaries& led) {
      return ChromaByMatrixLibrary(kTargets, kWeights, led);
    });
  }
  bench::CountLeds(state, wall.size);
}

void Floor(benchmark::State& state, const Wall& wall) {
  ChromaCoeff set = Fitted(wall);
  while (state.KeepRunning()) {
    uint64_t sum = 0;
    for (const ChromaXYZ& primary : wall.primaries) {
      sum += bench::ReadAll(primary.X) + bench::ReadAll(primary.Y) + bench::ReadAll(primary.Z);
    }
    for (cv::Mat& plane : set.coef) {
      plane.setTo(sum == 1 ? 2.0 : 1.0);
    }
    benchmark::ClobberMemory();
  }
  bench::CountLeds(state, wall.size);
}

bool SameBytes(const Wall& wall) {
  const ChromaCoeff shipped = Fitted(wall);
  ChromaCoeff plain;
  for (cv::Mat& plane : plain.coef) {
    plane = cv::Mat(wall.size, CV_32FC1);
  }
  const ReachedColours reached = FitColours(kTargets, kWeights);
  FitByLed(wall, plain, [&](const LedPrimaries& led) { return ChromaPlain(reached, led); });
  return bench::SameBytes({shipped.coef.begin(), shipped.coef.end()},
                          {plain.coef.begin(), plain.coef.end()});
}

int Run() {
  const Wall wall({1920, 1080});
  const std::string suffix = bench::SizeSuffix(wall.size);
  bench::Medians medians;
  bench::RunAll<Wall>(wall, suffix,
                      {{"floor", Floor}, {"chroma", Shipped}, {"library", MatrixLibrary}}, medians);
  const bool same = SameBytes(wall);
  std::printf(
      "\nChroma fit, 1920 x 1080 LEDs\nagainst library %.0f x faster, against floor %.1f x, "
      "bytes against plain %s\n",
      medians.Ratio("library" + suffix, "chroma" + suffix),
      medians.Ratio("chroma" + suffix, "floor" + suffix), same ? "equal" : "DIFFERENT");
  return same ? 0 : 1;
}

}  // namespace
}  // namespace multilayer

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  return benchmark::ReportUnrecognizedArguments(argc, argv) ? 2 : multilayer::Run();
}
