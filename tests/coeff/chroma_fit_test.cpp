// The chroma fit: against its dense definition, bit for bit against its plain form, and where the
// equations have no single solution.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "multilayer/coeff/chroma_coeff.h"
#include "multilayer/coeff/chroma_plain.h"
#include "tests/support/kernel_test.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ChromaFit = testing::KernelTest;
using testing::LogRecorder;
using testing::SameBits;

// X, Y, Z of red, of green, of blue of a nominal LED, cd/m^2.
constexpr LedPrimaries kNominal = {
    {{609.0F, 270.0F, 0.3F}, {164.0F, 660.0F, 94.0F}, {140.0F, 70.0F, 850.0F}}};
// (Y, x, y) of red, green, blue, white: inside the gamut, the white near the sum of the primaries.
constexpr float kTargets[12] = {220.0F, 0.67F, 0.31F,  560.0F, 0.20F,   0.69F,
                                60.0F,  0.14F, 0.075F, 840.0F, 0.3127F, 0.329F};
const cv::Mat kOnes(4, 3, CV_32FC1, cv::Scalar(1));

struct Wall {
  explicit Wall(cv::Size size) {
    for (ChromaXYZ& primary : primaries) {
      primary = {cv::Mat_<float>(size), cv::Mat_<float>(size), cv::Mat_<float>(size)};
    }
  }
  void Set(int row, int col, const LedPrimaries& led) {
    for (size_t p = 0; p < 3; ++p) {
      primaries[p].X(row, col) = led[p][0];
      primaries[p].Y(row, col) = led[p][1];
      primaries[p].Z(row, col) = led[p][2];
    }
  }
  LedPrimaries At(int row, int col) const {
    LedPrimaries led;
    for (size_t p = 0; p < 3; ++p) {
      led[p] = {primaries[p].X(row, col), primaries[p].Y(row, col), primaries[p].Z(row, col)};
    }
    return led;
  }
  int32_t Fit(ChromaCoeff& set, const float* targets = kTargets) const {
    const cv::Size size = primaries[0].X.size();
    return set.Compute(targets, primaries[0], primaries[1], primaries[2],
                       {0, 0, size.width, size.height, size.width, size.height});
  }
  std::array<ChromaXYZ, 3> primaries;
};

LedPrimaries Scaled(const LedPrimaries& led, std::array<float, 3> factors) {
  LedPrimaries scaled = led;
  for (size_t p = 0; p < 3; ++p) {
    for (float& value : scaled[p]) {
      value *= factors[p];
    }
  }
  return scaled;
}

std::array<float, 9> SharesAt(const ChromaCoeff& set, int row, int col) {
  std::array<float, 9> shares;
  for (size_t k = 0; k < 9; ++k) {
    shares[k] = set.coef[k].at<float>(row, col);
  }
  return shares;
}

Wall RandomWall(cv::Size size, uint64_t seed) {
  Wall wall(size);
  cv::RNG random(seed);
  for (int row = 0; row < size.height; ++row) {
    for (int col = 0; col < size.width; ++col) {
      LedPrimaries led = kNominal;
      for (auto& xyz : led) {
        for (float& value : xyz) {
          value *= static_cast<float>(random.uniform(0.7, 1.3));
        }
      }
      wall.Set(row, col, led);
    }
  }
  return wall;
}

TEST_F(ChromaFit, SolvesTheDenseEquations) {
  const Wall wall = RandomWall({16, 8}, 1);
  const std::vector<cv::Mat> all_weights = {
      kOnes, (cv::Mat_<float>(4, 3) << 1, 300, 300, 1, 250, 400, 2, 100, 100, 0.5, 700, 700),
      (cv::Mat_<float>(4, 3) << 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1),  // blue's Y from white only
      (cv::Mat_<float>(4, 3) << 3, 1, 0.2, 1, 2, 1, 1, 1, 5, 0, 0, 0)};
  for (const cv::Mat& weights : all_weights) {
    SCOPED_TRACE(::testing::Message() << weights);
    ChromaCoeff set;
    set.weights = weights;
    ASSERT_EQ(wall.Fit(set), 0);
    for (int row = 0; row < 8; ++row) {
      for (int col = 0; col < 16; ++col) {
        const auto expected = ChromaByMatrixLibrary(kTargets, weights, wall.At(row, col));
        const auto shares = SharesAt(set, row, col);
        for (size_t k = 0; k < 9; ++k) {
          EXPECT_NEAR(shares[k], expected[k], 2e-7) << "share " << k;
        }
      }
    }
  }
}

TEST_F(ChromaFit, ReachesTargetsThatAgreeWithEachOther) {
  const Wall wall = RandomWall({9, 5}, 2);
  // White = red + green + blue, so that all twelve equations hold.
  std::array<float, 12> targets;
  std::copy(kTargets, kTargets + 9, targets.begin());
  cv::Vec3d white;
  for (size_t o = 0; o < 9; o += 3) {
    const cv::Vec3d lxy(targets[o], targets[o + 1], targets[o + 2]);
    white += lxy[0] / lxy[2] * cv::Vec3d(lxy[1], lxy[2], 1 - lxy[1] - lxy[2]);
  }
  const double sum = white[0] + white[1] + white[2];
  targets[9] = static_cast<float>(white[1]);
  targets[10] = static_cast<float>(white[0] / sum);
  targets[11] = static_cast<float>(white[1] / sum);
  ChromaCoeff set;
  set.weights = kOnes;
  ASSERT_EQ(wall.Fit(set, targets.data()), 0);
  for (int col = 0; col < 9; ++col) {
    const LedPrimaries led = wall.At(3, col);
    const auto shares = SharesAt(set, 3, col);
    for (size_t o = 0; o < 3; ++o) {
      cv::Vec3d xyz;
      for (size_t i = 0; i < 3; ++i) {
        xyz += static_cast<double>(shares[3 * o + i]) * cv::Vec3d(led[i][0], led[i][1], led[i][2]);
      }
      const double s = xyz[0] + xyz[1] + xyz[2];
      EXPECT_NEAR(xyz[1], targets[3 * o], 1e-3);
      EXPECT_NEAR(xyz[0] / s, targets[3 * o + 1], 1e-6);
      EXPECT_NEAR(xyz[1] / s, targets[3 * o + 2], 1e-6);
    }
  }
}

TEST_F(ChromaFit, HasTheBitsOfThePlainForm) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const std::vector<float> kOdd = {
      0.0F, -0.0F, 1e-45F, 1e-38F, 3e38F, kInfinity, std::numeric_limits<float>::quiet_NaN()};
  const ReachedColours reached = FitColours(kTargets, kOnes);
  for (int width = 1; width <= 19; ++width) {
    SCOPED_TRACE(width);
    const Wall whole = RandomWall({width + 3, 4}, static_cast<uint64_t>(width));
    Wall wall(cv::Size(1, 1));
    const cv::Rect region(width % 4, 1, width, 3);
    for (size_t p = 0; p < 3; ++p) {
      const ChromaXYZ& from = whole.primaries[p];
      wall.primaries[p] = {from.X(region), from.Y(region), from.Z(region)};
    }
    for (size_t k = 0; k < kOdd.size(); ++k) {
      LedPrimaries led = kNominal;
      led[k % 3][(k + static_cast<size_t>(width)) % 3] = kOdd[k];
      wall.Set(static_cast<int>(k) % 3, static_cast<int>(k) % width, led);
    }
    ChromaCoeff set;
    set.weights = kOnes;
    ASSERT_EQ(wall.Fit(set), 0);
    for (int row = 0; row < 3; ++row) {
      for (int col = 0; col < width; ++col) {
        const auto shares = SharesAt(set, row, col);
        const auto plain = ChromaPlain(reached, wall.At(row, col));
        EXPECT_TRUE(SameBits(cv::Mat(1, 9, CV_32FC1, const_cast<float*>(shares.data())),
                             cv::Mat(1, 9, CV_32FC1, const_cast<float*>(plain.data()))))
            << row << ", " << col;
      }
    }
  }
}

// Dependent are: equal primaries, one that is a multiple of another (rounded), a mixture of the two
// others (rounded), a dark one. Scale is no matter: not of all, not of one.
TEST_F(ChromaFit, JudgesDependenceByTheSystemsOwnScale) {
  LedPrimaries equal = kNominal;
  equal[2] = equal[0];
  LedPrimaries multiple = kNominal;
  LedPrimaries mixture = kNominal;
  for (size_t k = 0; k < 3; ++k) {
    multiple[1][k] = 0.3F * multiple[0][k];
    mixture[2][k] = 0.3F * mixture[0][k] + 0.7F * mixture[1][k];
  }
  const std::vector<LedPrimaries> dependent = {equal, multiple, mixture,
                                               Scaled(kNominal, {1, 0, 1})};
  const std::vector<std::array<float, 3>> scales = {
      {1, 1, 1}, {1e-20F, 1e-20F, 1e-20F}, {1e20F, 1e20F, 1e20F}, {1e-12F, 1, 1}, {1, 1e8F, 1e-8F}};
  Wall wall({static_cast<int>(scales.size()), 5});
  for (int col = 0; col < static_cast<int>(scales.size()); ++col) {
    const auto& scale = scales[static_cast<size_t>(col)];
    for (int row = 0; row < 4; ++row) {
      wall.Set(row, col, Scaled(dependent[static_cast<size_t>(row)], scale));
    }
    wall.Set(4, col, Scaled(kNominal, scale));
  }
  ChromaCoeff set;
  set.weights = kOnes;
  ASSERT_EQ(wall.Fit(set), 0);
  const auto nominal = SharesAt(set, 4, 0);
  for (int col = 0; col < static_cast<int>(scales.size()); ++col) {
    SCOPED_TRACE(col);
    for (int row = 0; row < 4; ++row) {
      EXPECT_THAT(SharesAt(set, row, col), ::testing::Each(0.0F)) << "row " << row;
    }
    const auto shares = SharesAt(set, 4, col);
    for (size_t k = 0; k < 9; ++k) {
      const float scale = scales[static_cast<size_t>(col)][k % 3];
      EXPECT_NEAR(shares[k] * scale / nominal[k], 1.0F, 1e-5F);
    }
  }
}

TEST_F(ChromaFit, GivesZerosWhenWeightsOrTargetsLeaveAColourOpen) {
  const Wall wall = RandomWall({3, 2}, 3);
  std::array<float, 12> flat;
  std::copy(kTargets, kTargets + 12, flat.begin());
  flat[2] = flat[11] = 0.0F;  // y = 0 asks for Y = 0 and leaves S open
  const cv::Mat zeros(4, 3, CV_32FC1, cv::Scalar(0));
  const cv::Mat white_only = (cv::Mat_<float>(4, 3) << 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1);
  const cv::Mat no_chroma = (cv::Mat_<float>(4, 3) << 1, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0);
  for (const cv::Mat& weights : {zeros, white_only, no_chroma}) {
    ChromaCoeff set;
    set.weights = weights;
    ASSERT_EQ(wall.Fit(set), 0);
    EXPECT_THAT(SharesAt(set, 1, 2), ::testing::Each(0.0F)) << weights;
  }
  // Weights small or large are weights.
  for (const double scale : {1e-10, 1e10}) {
    ChromaCoeff set;
    set.weights = cv::Mat(4, 3, CV_32FC1, cv::Scalar(scale));
    ASSERT_EQ(wall.Fit(set), 0);
    EXPECT_GT(std::abs(SharesAt(set, 1, 2)[0]), 0.0F);
  }
}

TEST_F(ChromaFit, RefusesAndLeavesTheSetAsItWas) {
  const Wall wall = RandomWall({3, 2}, 4);
  const Wall other = RandomWall({2, 3}, 4);
  ChromaCoeff set;
  LogRecorder log;
  EXPECT_EQ(wall.Fit(set), 601);
  EXPECT_EQ(log.TakeErrors().size(), 1U);
  set.weights = kOnes;
  ASSERT_EQ(wall.Fit(set), 0);
  log.TakeErrors();
  const ChromaCoeff copy = set;  // shares the planes
  const cv::Mat before = set.coef[4].clone();
  EXPECT_EQ(wall.Fit(set, nullptr), 1);
  const auto& [r, g, b] = wall.primaries;
  EXPECT_EQ(set.Compute(kTargets, r, other.primaries[1], b, {}), 9);
  EXPECT_EQ(log.TakeErrors().size(), 2U);
  EXPECT_EQ(set.Compute(kTargets, r, g, ChromaXYZ(), {}), 5);
  EXPECT_EQ(set.part.w, 3);
  const Wall third = RandomWall({3, 2}, 5);
  const int sizes[] = {2, 3, 4};
  set.coef[0] = cv::Mat(3, sizes, CV_32FC1, cv::Scalar(7));
  ASSERT_EQ(third.Fit(set), 0);
  EXPECT_TRUE(SameBits(copy.coef[4], before)) << "written through to a copy";
  EXPECT_FALSE(SameBits(set.coef[4], before));
  EXPECT_EQ(set.coef[0].dims, 2) << "what is no plane of the size is not filled again";
}

}  // namespace
}  // namespace multilayer
