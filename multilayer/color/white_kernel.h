// The 3 x 3 systems of white balance: gain += M^-1 d for one LED after the other.
// docs/numerics.md has the equations; WhitePlain has their plain form, whose bits this gives.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace multilayer {

// Rows X, Y, Z; columns R, G, B.
using Matrix3 = std::array<std::array<float, 3>, 3>;

// M^-1 = adjugate / determinant, in double from the float entries of M, whose products are exact.
struct Inverse3 {
  explicit Inverse3(const Matrix3& m);

  std::array<std::array<double, 3>, 3> adjugate;
  double determinant;
  // By definition the determinant is judged as a float: exactly 0 is singular, tiny or NaN is not.
  bool singular;
};

// One row of LEDs.
struct WhiteRow {
  std::array<const float*, 3> delta;  // X, Y, Z: target - measured
  std::array<float*, 3> gain;         // R, G, B: in and out
};

// The planes of the primaries: [X, Y, Z][R, G, B].
using PrimaryRows = std::array<std::array<const float*, 3>, 3>;

// Adds the increments of `count` LEDs that share one matrix; does nothing when it is singular.
void AddIncrements(const Inverse3& inverse, const WhiteRow& row, size_t count);

// Adds the increments of `count` LEDs, each with its own matrix. Returns how many were singular and
// kept their gains.
int32_t AddIncrements(const PrimaryRows& primaries, const WhiteRow& row, size_t count);

}  // namespace multilayer
