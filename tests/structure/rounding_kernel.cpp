// Where a compiler that may would fuse.
#include "tests/structure/rounding_kernel.h"

#include "multilayer/cpu/kernel_target.h"

namespace multilayer::testing {

template <>
Products<float> Multiply<kKernelTarget>(float a, float b, float c) {
  return {a * b - c, c - a * b};
}

template <>
Products<double> Multiply<kKernelTarget>(double a, double b, double c) {
  return {a * b - c, c - a * b};
}

}  // namespace multilayer::testing
