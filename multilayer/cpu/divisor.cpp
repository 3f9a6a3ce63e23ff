// The two parts of a reciprocal.
#include "multilayer/cpu/divisor.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace multilayer {
namespace {

// Bits from the first to the last that is set of a normal number's significand.
int SignificantBits(double value) {
  constexpr int kStoredBits = 52;
  const auto stored = std::bit_cast<uint64_t>(value) & ((uint64_t{1} << kStoredBits) - 1);
  return stored == 0 ? 1 : kStoredBits + 1 - std::countr_zero(stored);
}

}  // namespace

Divisor MakeDivisor(double value) {
  constexpr int kProvenBits = 48;
  Divisor divisor;
  divisor.value = value;
  const double size = std::abs(value);
  divisor.by_product = size >= 0x1p-100 && size <= 0x1p100 && SignificantBits(value) <= kProvenBits;
  if (!divisor.by_product) {
    return divisor;
  }
  // The remainder 1 - size * high is exact. It is made positive, so that `low` has the sign of
  // `high`: then zeros keep their sign and infinities meet no opposite.
  double high = 1 / size;
  if (std::fma(-size, high, 1.0) <= 0) {
    high = std::nextafter(high, 0.0);
  }
  const double low = std::fma(-size, high, 1.0) / size;
  divisor.high = std::copysign(high, value);
  divisor.low = std::copysign(low, value);
  return divisor;
}

}  // namespace multilayer
