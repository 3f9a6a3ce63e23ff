// Linear least squares by orthogonal transformations, once for all LEDs.
#include "multilayer/coeff/chroma_targets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <utility>

namespace multilayer {
namespace {

constexpr size_t kEquations = 12;
constexpr size_t kUnknowns = 9;
using Column = std::array<double, kEquations>;
using Solution = std::array<double, kUnknowns>;

struct System {
  std::array<Column, kUnknowns> columns = {};
  Column right = {};
};

// A target colour asks three things of X, Y and S = X + Y + Z: Y is the target's, x S = X, y S = Y.
// `first`: X of the colour that is meant, as a column.
struct Rows {
  size_t luminance, x, y;
};

void AskFor(const float* target, const float* weights, const Rows& rows, size_t first,
            System& system) {
  const double for_luminance = weights[0];
  const double for_x = weights[1];
  const double for_y = weights[2];
  system.columns[first][rows.x] = -for_x;
  system.columns[first + 1][rows.luminance] = for_luminance;
  system.columns[first + 1][rows.y] = -for_y;
  system.columns[first + 2][rows.x] = for_x * static_cast<double>(target[1]);
  system.columns[first + 2][rows.y] = for_y * static_cast<double>(target[2]);
  // By definition the right-hand side is not weighted.
  system.right[rows.luminance] = target[0];
}

System Equations(const float* targets, const cv::Mat& weights) {
  System system;
  for (size_t o = 0; o < 3; ++o) {
    AskFor(targets + 3 * o, weights.ptr<float>(static_cast<int>(o)), {3 * o, 3 * o + 1, 3 * o + 2},
           3 * o, system);
    AskFor(targets + 9, weights.ptr<float>(3), {10, 9, 11}, 3 * o, system);
  }
  return system;
}

double Dot(const Column& a, const Column& b, size_t from) {
  return std::inner_product(a.begin() + static_cast<std::ptrdiff_t>(from), a.end(),
                            b.begin() + static_cast<std::ptrdiff_t>(from), 0.0);
}

// Reflects `column`, from row `from` on, at the plane across `normal`.
void Reflect(const Column& normal, double normal_square, size_t from, Column& column) {
  const double scale = 2.0 * Dot(normal, column, from) / normal_square;
  for (size_t row = from; row < kEquations; ++row) {
    column[row] -= scale * normal[row];
  }
}

// Householder's reflections, the longest remaining column first. Returns false if a column is, but
// for rounding, a combination of those before it.
bool SolveLeastSquares(System system, Solution& solution) {
  auto& [columns, right] = system;
  std::array<size_t, kUnknowns> unknown;
  std::iota(unknown.begin(), unknown.end(), size_t{0});
  std::array<double, kUnknowns> diagonal = {};
  for (size_t k = 0; k < kUnknowns; ++k) {
    size_t longest = k;
    for (size_t j = k + 1; j < kUnknowns; ++j) {
      if (Dot(columns[j], columns[j], k) > Dot(columns[longest], columns[longest], k)) {
        longest = j;
      }
    }
    std::swap(columns[k], columns[longest]);
    std::swap(unknown[k], unknown[longest]);
    const double length = std::sqrt(Dot(columns[k], columns[k], k));
    constexpr double kRounding = kEquations * std::numeric_limits<double>::epsilon();
    if (length <= kRounding * std::abs(diagonal[0])) {
      return false;
    }
    diagonal[k] = columns[k][k] > 0.0 ? -length : length;
    columns[k][k] -= diagonal[k];
    const double square = Dot(columns[k], columns[k], k);
    for (size_t j = k + 1; j < kUnknowns; ++j) {
      Reflect(columns[k], square, k, columns[j]);
    }
    Reflect(columns[k], square, k, right);
  }
  for (size_t k = kUnknowns; k-- > 0;) {
    double rest = right[k];
    for (size_t j = k + 1; j < kUnknowns; ++j) {
      rest -= columns[j][k] * solution[unknown[j]];
    }
    solution[unknown[k]] = rest / diagonal[k];
  }
  return true;
}

}  // namespace

ReachedColours FitColours(const float* targets, const cv::Mat& weights) {
  ReachedColours reached;
  Solution solution = {};
  reached.determined = SolveLeastSquares(Equations(targets, weights), solution);
  for (size_t o = 0; o < 3; ++o) {
    reached.primaries[o] = {solution[3 * o], solution[3 * o + 1], solution[3 * o + 2]};
  }
  return reached;
}

}  // namespace multilayer
