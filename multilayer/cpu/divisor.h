// Division by a constant as two products that give the same bits: see "Division by a constant" in
// docs/numerics.md. Used by kernel sources, so nothing here may become a symbol of its own.
#pragma once

namespace multilayer {

// Valid for every numerator that is 0, infinite, NaN or of a magnitude from 2^-500 to 2^500.
struct Divisor {
  double value = 1;
  // 1 / value, rounded towards 0, and what is missing.
  double high = 1;
  double low = 0;
  // Whether the products are proven to give the bits of the division.
  bool by_product = false;
};

Divisor MakeDivisor(double value);

// `by_product` must not be set unless the divisor's is. Fast only where there is an instruction for
// the fused multiply-add.
template <bool by_product>
[[gnu::always_inline]] inline double Divide(double numerator, const Divisor& by) {
  if constexpr (by_product) {
    return __builtin_fma(numerator, by.high, numerator * by.low);
  } else {
    return numerator / by.value;
  }
}

}  // namespace multilayer
