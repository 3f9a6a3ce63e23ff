// The definition of white balance for one LED, in two plain forms: what the kernel must equal bit
// for bit, and what a matrix library does, whose last bits are its own.
#pragma once

#include <array>

#include "multilayer/color/white_matrices.h"

namespace multilayer {

// M^-1 d, cofactor by cofactor; zeros for a singular matrix. `d`: target - measured, X, Y, Z.
std::array<double, 3> WhitePlain(const Matrix3& m, const std::array<float, 3>& d);

// The same by determinant, inversion and product of 32-bit matrices.
std::array<float, 3> WhiteByMatrixLibrary(const Matrix3& m, const std::array<float, 3>& d);

}  // namespace multilayer
