// Division by a constant gives the bits of the division, or says that it cannot.
#include "multilayer/cpu/divisor.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace multilayer::testing {
namespace {

bool SameBits(double a, double b) {
  return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

bool DividesAlike(double numerator, const Divisor& divisor) {
  return SameBits(Divide<true>(numerator, divisor), numerator / divisor.value);
}

// The significand of a divisor as an odd number.
uint64_t OddPart(double value) {
  int exponent = 0;
  const auto bits = static_cast<uint64_t>(std::ldexp(std::frexp(std::abs(value), &exponent), 53));
  return bits >> std::countr_zero(bits);
}

// The numerators that come nearest to a midpoint between two quotients: A 2^k = M C +- 1 for the
// midpoint M, odd and of 54 bits, and the odd part C of the divisor. M is a root modulo 2^k.
bool DividesAlikeNearMidpoints(const Divisor& divisor, std::mt19937_64& random, int count) {
  const uint64_t c = OddPart(divisor.value);
  const int k = static_cast<int>(std::bit_width(c)) + 1;
  uint64_t inverse = c;
  for (int i = 0; i < 5; ++i) {
    inverse *= 2 - c * inverse;
  }
  for (int i = 0; i < count; ++i) {
    const uint64_t residue = i % 2 == 0 ? inverse : uint64_t{0} - inverse;
    const uint64_t low_bits = (uint64_t{1} << k) - 1;
    const uint64_t high_bits = (random() >> 11) | (uint64_t{1} << 53);
    const uint64_t midpoint = (high_bits & ~low_bits) | (residue & low_bits);
    const auto product = static_cast<unsigned __int128>(midpoint) * c;
    const auto numerator = static_cast<double>(static_cast<uint64_t>((product + 1) >> k));
    if (!DividesAlike(numerator, divisor) || !DividesAlike(-numerator, divisor)) {
      ADD_FAILURE() << std::hexfloat << numerator << " / " << divisor.value;
      return false;
    }
  }
  return true;
}

bool DividesAlikeAtRandom(const Divisor& divisor, std::mt19937_64& random, int count) {
  for (int i = 0; i < count; ++i) {
    const double numerator = std::ldexp(static_cast<double>(random() >> 11), -60);
    if (!DividesAlike(numerator, divisor)) {
      ADD_FAILURE() << std::hexfloat << numerator << " / " << divisor.value;
      return false;
    }
  }
  return true;
}

TEST(Divisor, GivesTheBitsOfTheDivisionForEveryGrayPosition) {
  std::mt19937_64 random(1);
  for (int position = 1; position <= 65535; ++position) {
    const Divisor divisor = MakeDivisor(position);
    ASSERT_TRUE(divisor.by_product);
    ASSERT_TRUE(DividesAlikeNearMidpoints(divisor, random, 16));
    ASSERT_TRUE(DividesAlikeAtRandom(divisor, random, 16));
  }
}

// Steps between drives, the widest that are proven, powers of two, and both signs.
TEST(Divisor, GivesTheBitsOfTheDivisionForDriveSteps) {
  std::mt19937_64 random(2);
  std::uniform_real_distribution<float> drive(0.0F, 1.0F);
  std::vector<double> steps = {
      1, -1, 0.5, 0x1p-100, 0x1p100, 3, -7, 0x1.FFFFFFFFFFFEp0, 0x1.000000000002p-20};
  for (int i = 0; i < 4000; ++i) {
    steps.push_back(static_cast<double>(drive(random)) - static_cast<double>(drive(random)));
    steps.push_back(std::ldexp(static_cast<double>((random() >> 16) | 1), -47));
  }
  for (const double step : steps) {
    const Divisor divisor = MakeDivisor(step);
    ASSERT_TRUE(divisor.by_product) << std::hexfloat << step;
    ASSERT_TRUE(DividesAlikeNearMidpoints(divisor, random, 100));
    ASSERT_TRUE(DividesAlikeAtRandom(divisor, random, 100));
  }
}

TEST(Divisor, KeepsZerosInfinitiesNansAndTheEndsOfItsRange) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const double nan = std::nan("7");
  for (const double value : {0.1015625, 3.0, -3.0, 1.0, -0.25, 65535.0, 0x1p100, 0x1p-100}) {
    const Divisor divisor = MakeDivisor(value);
    ASSERT_TRUE(divisor.by_product);
    for (const double numerator :
         {0.0, -0.0, kInf, -kInf, nan, -nan, 0x1p-500, -0x1.8p-500, 0x1.7p500, 1e-45, -3.4e38}) {
      EXPECT_TRUE(DividesAlike(numerator, divisor)) << numerator << " / " << value;
    }
  }
}

TEST(Divisor, LeavesTheRestToDivision) {
  const double nan = std::nan("");
  for (const double value : {0.0, -0.0, nan, std::numeric_limits<double>::infinity(), 1e-300, 1e300,
                             0.1, 1 / 3.0, 0x1.FFFFFFFFFFFFp0}) {
    EXPECT_FALSE(MakeDivisor(value).by_product) << value;
  }
}

}  // namespace
}  // namespace multilayer::testing
