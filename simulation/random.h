// Random numbers by counter: a number depends on what it is for and on nothing drawn before it.
#pragma once

#include <bit>
#include <cstdint>

namespace multilayer::simulation {

// The finaliser of the splitmix64 generator: every bit of the result depends on every bit of x.
constexpr uint64_t Mix(uint64_t x) {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
  return x ^ (x >> 31);
}

// An unlimited table of random numbers, one for every (x, y). Integer arithmetic and one rounding
// each: the same bits on every machine and with every library, which neither
// std::normal_distribution nor log and cos promise.
class RandomField {
 public:
  // Fields of another seed, purpose or index are independent.
  constexpr RandomField(uint64_t seed, uint64_t purpose, uint64_t index)
      : key_(Mix(Mix(Mix(seed + kStep) + purpose * kStep) + index * kStep)) {}

  constexpr uint64_t Bits(int32_t x, int32_t y) const {
    const uint64_t place = (uint64_t{static_cast<uint32_t>(y)} << 32) | static_cast<uint32_t>(x);
    return Mix(key_ + place * kStep);
  }

  // Evenly distributed in [0, 1).
  constexpr double Uniform(int32_t x, int32_t y) const {
    return static_cast<double>(Bits(x, y) >> 11) * 0x1p-53;
  }

  // Mean 0, variance 1. The number of ones in 64 bits is binomial (variance 16); the sum of two
  // uniform numbers (variance 1/6) fills the gaps between the whole numbers. The distribution is
  // normal up to an excess kurtosis of -0.03, and ends at 8.2 sigma.
  constexpr double Normal(int32_t x, int32_t y) const {
    const uint64_t bits = Bits(x, y);
    const uint64_t fill = Mix(bits + kStep);
    const double ones = std::popcount(bits) - 33;  // -32 for its mean, -1 for the fill's
    const double sum = static_cast<double>((fill >> 32) + (fill & 0xFFFFFFFF)) * 0x1p-32;
    return (ones + sum) * kInverseSigma;
  }

 private:
  static constexpr uint64_t kStep = 0x9E3779B97F4A7C15;         // 2^64 / golden ratio, odd
  static constexpr double kInverseSigma = 0.24870800168690346;  // 1 / sqrt(16 + 1/6)

  uint64_t key_;
};

}  // namespace multilayer::simulation
