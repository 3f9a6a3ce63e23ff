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
  explicit Inverse3(const Matrix3& m)
      : adjugate{{{Minor(m, 1, 1, 2, 2), Minor(m, 2, 1, 0, 2), Minor(m, 0, 1, 1, 2)},
                  {Minor(m, 1, 2, 2, 0), Minor(m, 2, 2, 0, 0), Minor(m, 0, 2, 1, 0)},
                  {Minor(m, 1, 0, 2, 1), Minor(m, 2, 0, 0, 1), Minor(m, 0, 0, 1, 1)}}},
        determinant(static_cast<double>(m[0][0]) * adjugate[0][0] +
                    static_cast<double>(m[0][1]) * adjugate[1][0] +
                    static_cast<double>(m[0][2]) * adjugate[2][0]),
        singular(static_cast<float>(determinant) == 0.0F) {}

  std::array<std::array<double, 3>, 3> adjugate;
  double determinant;
  // By definition the determinant is judged as a float: exactly 0 is singular, tiny or NaN is not.
  bool singular;

 private:
  // m(r1, c1) m(r2, c2) - m(r1, c2) m(r2, c1): rows and columns in cyclic order carry the sign.
  static double Minor(const Matrix3& m, size_t r1, size_t c1, size_t r2, size_t c2) {
    return static_cast<double>(m[r1][c1]) * static_cast<double>(m[r2][c2]) -
           static_cast<double>(m[r1][c2]) * static_cast<double>(m[r2][c1]);
  }
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
