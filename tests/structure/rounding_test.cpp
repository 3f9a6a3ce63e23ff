// A product and a sum round twice: compiled for a processor with fused multiply-add, and optimised.
#include <cmath>

#include <gtest/gtest.h>

namespace {

template <class Real>
[[gnu::noinline]] Real MultiplySubtract(Real a, Real b, Real c) {
  return a * b - c;
}
template <class Real>
[[gnu::noinline]] Real SubtractProduct(Real a, Real b, Real c) {
  return c - a * b;
}

// (1 + e)(1 - e) = 1 - e^2 rounds to 1 when e^2 is below half an ulp; fused, the e^2 survives. The
// values are volatile, so that nothing is computed when this is compiled.
template <class Real>
void ExpectTwoRoundings(int half_precision) {
  const Real e = std::ldexp(Real{1}, -half_precision);
  const volatile Real up = 1 + e;
  const volatile Real down = 1 - e;
  const volatile Real one = 1;
  EXPECT_EQ(MultiplySubtract<Real>(up, down, one), 0);
  EXPECT_EQ(SubtractProduct<Real>(up, down, one), 0);
  EXPECT_EQ(std::fma<Real>(up, down, -one), -e * e);
}

TEST(Rounding, MultiplyAddIsNotFused) {
#if defined(__x86_64__)
  if (!__builtin_cpu_supports("fma")) {
    GTEST_SKIP() << "this processor has no fused multiply-add";
  }
#endif
  ExpectTwoRoundings<float>(13);
  ExpectTwoRoundings<double>(27);
}

}  // namespace
