// Tiles of LEDs through all layers. Every loop over LEDs below is a plain loop over neighbouring
// floats that the compiler vectorises.
#include "multilayer/multi_layer/norm_kernel.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace multilayer {
namespace {

// m >= target for a float m is the same as m >= this, without widening m.
float SmallestFloatNotBelow(double target) {
  const auto nearest = static_cast<float>(target);
  return static_cast<double>(nearest) < target
             ? std::nextafter(nearest, std::numeric_limits<float>::infinity())
             : nearest;
}

// Segments and measurements of a tile share the first-level cache with one row of coefficients.
size_t TileFor(size_t layers) {
  constexpr size_t kFloats = 4096;
  return std::clamp<size_t>(kFloats / (2 * layers), 16, 512);
}

}  // namespace

NormSolver::NormSolver(const NormColour& colour)
    : colour_(colour),
      tile_(TileFor(colour.drive.size())),
      slope_(colour.drive.size() * tile_),
      intercept_(colour.drive.size() * tile_),
      bad_(tile_),
      found_(tile_),
      chosen_slope_(tile_),
      chosen_intercept_(tile_) {
  for (const double target : colour_.target) {
    threshold_.push_back(SmallestFloatNotBelow(target));
  }
}

void NormSolver::Solve(const NormRow& row, size_t count) {
  for (size_t begin = 0; begin < count; begin += tile_) {
    const size_t tile = std::min(tile_, count - begin);
    BuildSegments(row, begin, tile);
    for (size_t layer = 0; layer < row.coef.size(); ++layer) {
      SolveLayer(row, layer, begin, tile);
    }
  }
}

void NormSolver::BuildSegments(const NormRow& row, size_t begin, size_t count) {
  int32_t* bad = bad_.data();
  std::fill_n(bad, count, 0);
  for (size_t layer = 0; layer < colour_.drive.size(); ++layer) {
    const float* m = row.chroma[layer] + begin;
    const uint8_t* state = row.state[layer] + begin;
    float* slope = slope_.data() + layer * tile_;
    float* intercept = intercept_.data() + layer * tile_;
    const double x = colour_.drive[layer];
    if (layer == 0) {
      for (size_t i = 0; i < count; ++i) {
        slope[i] = static_cast<float>(static_cast<double>(m[i]) / x);
        intercept[i] = 0.0F;
      }
    } else {
      const float* below = row.chroma[layer - 1] + begin;
      const double step = x - colour_.drive[layer - 1];
      for (size_t i = 0; i < count; ++i) {
        const double exact = static_cast<double>(m[i] - below[i]) / step;
        slope[i] = static_cast<float>(exact);
        intercept[i] = static_cast<float>(static_cast<double>(m[i]) - exact * x);
      }
    }
    // A NaN slope is not bad by itself.
    for (size_t i = 0; i < count; ++i) {
      bad[i] |= static_cast<int32_t>(slope[i] <= 0.0F) | (state[i] & 1);
    }
    if (!row.segments.empty()) {
      float* out = row.segments[layer] + 2 * begin;
      for (size_t i = 0; i < count; ++i) {
        out[2 * i] = slope[i];
        out[2 * i + 1] = intercept[i];
      }
    }
  }
}

// The first segment from below that reaches the target wins, so the layers are laid over each other
// from above; above the highest measurement the last segment is extrapolated.
void NormSolver::SolveLayer(const NormRow& row, size_t layer, size_t begin, size_t count) {
  const float threshold = threshold_[layer];
  const size_t last = colour_.drive.size() - 1;
  float* a = chosen_slope_.data();
  float* b = chosen_intercept_.data();
  int32_t* found = found_.data();
  {
    const float* m = row.chroma[last] + begin;
    const float* slope = slope_.data() + last * tile_;
    const float* intercept = intercept_.data() + last * tile_;
    for (size_t i = 0; i < count; ++i) {
      a[i] = slope[i];
      b[i] = intercept[i];
      // Neither holds when one of the two is NaN.
      found[i] = static_cast<int32_t>(m[i] < threshold) | static_cast<int32_t>(m[i] >= threshold);
    }
  }
  for (size_t j = last; j-- > 0;) {
    const float* m = row.chroma[j] + begin;
    const float* top = row.chroma[last] + begin;
    const float* slope = slope_.data() + j * tile_;
    const float* intercept = intercept_.data() + j * tile_;
    for (size_t i = 0; i < count; ++i) {
      const bool here = (m[i] >= threshold) & !(top[i] < threshold);
      a[i] = here ? slope[i] : a[i];
      b[i] = here ? intercept[i] : b[i];
      found[i] |= static_cast<int32_t>(here);
    }
  }
  const double target = colour_.target[layer];
  const double position = colour_.position[layer];
  const double gray_max = colour_.gray_max;
  const int32_t* bad = bad_.data();
  float* out = row.coef[layer] + begin;
  for (size_t i = 0; i < count; ++i) {
    const double drive =
        (target - static_cast<double>(b[i])) / static_cast<double>(a[i]) * gray_max / position;
    const bool corrected = (bad[i] == 0) & (found[i] != 0);
    out[i] = corrected ? static_cast<float>(drive) : 1.0F;
  }
}

}  // namespace multilayer
