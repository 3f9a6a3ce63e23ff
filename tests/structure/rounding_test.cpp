// A product and a sum round twice, under every instruction set, and optimised.
#include <cmath>

#include <gtest/gtest.h>

#include "tests/structure/rounding_kernel.h"

namespace multilayer::testing {
namespace {

// (1 + e)(1 - e) = 1 - e^2 rounds to 1 when e^2 is below half an ulp; fused, the e^2 survives.
template <class Real>
void ExpectTwoRoundings(InstructionSet set, int half_precision) {
  const Real e = std::ldexp(Real{1}, -half_precision);
  const auto multiply = ForInstructionSet(set, []<InstructionSet kSet> {
    return static_cast<Products<Real> (*)(Real, Real, Real)>(&Multiply<kSet>);
  });
  const Products<Real> products = multiply(1 + e, 1 - e, 1);
  EXPECT_EQ(products.minus_c, 0) << NameOf(set);
  EXPECT_EQ(products.from_c, 0) << NameOf(set);
  EXPECT_EQ(std::fma(1 + e, 1 - e, Real{-1}), -e * e);
}

TEST(Rounding, MultiplyAddIsNotFused) {
  for (const InstructionSet set : kInstructionSets) {
    if (IsAvailable(set)) {
      ExpectTwoRoundings<float>(set, 13);
      ExpectTwoRoundings<double>(set, 27);
    }
  }
}

}  // namespace
}  // namespace multilayer::testing
