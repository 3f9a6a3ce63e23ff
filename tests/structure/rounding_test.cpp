// A product and a sum round twice: compiled for a processor with fused multiply-add, and optimised.
#include <cmath>

#include <gtest/gtest.h>

namespace {

// In functions of their own, so that nothing is known when they are compiled.
[[gnu::noinline]] float MultiplyAdd(float a, float b, float c) { return a * b + c; }
[[gnu::noinline]] double MultiplyAdd(double a, double b, double c) { return a * b + c; }
[[gnu::noinline]] double NegateMultiplyAdd(double a, double b, double c) { return c - a * b; }

// (1 + e)(1 - e) = 1 - e^2 rounds to 1 when e^2 is below half an ulp; fused, the e^2 survives.
TEST(Rounding, MultiplyAddIsNotFused) {
#if defined(__x86_64__)
  if (!__builtin_cpu_supports("fma")) {
    GTEST_SKIP() << "this processor has no fused multiply-add";
  }
#endif
  const float e = std::ldexp(1.0F, -13);
  EXPECT_EQ(MultiplyAdd(1 + e, 1 - e, -1.0F), 0.0F);
  EXPECT_NE(std::fma(1 + e, 1 - e, -1.0F), 0.0F);
  const double d = std::ldexp(1.0, -27);
  EXPECT_EQ(MultiplyAdd(1 + d, 1 - d, -1.0), 0.0);
  EXPECT_EQ(NegateMultiplyAdd(1 + d, 1 - d, 1.0), 0.0);
  EXPECT_NE(std::fma(1 + d, 1 - d, -1.0), 0.0);
}

}  // namespace
