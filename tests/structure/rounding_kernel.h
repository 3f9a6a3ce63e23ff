// a b - c and c - a b, in a source that is compiled as the kernels are.
#pragma once

#include "multilayer/cpu/instruction_set.h"

namespace multilayer::testing {

template <class Real>
struct Products {
  Real minus_c;
  Real from_c;
};

template <InstructionSet set>
Products<float> Multiply(float a, float b, float c);
template <InstructionSet set>
Products<double> Multiply(double a, double b, double c);

}  // namespace multilayer::testing
