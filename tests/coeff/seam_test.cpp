// Seam blends, held to their plain form, and the pairs that are blended.
#include <algorithm>
#include <limits>
#include <utility>

#include <gmock/gmock.h>

#include "multilayer/coeff/coeff_set_plain.h"
#include "tests/coeff/sets.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

SetView ViewOf(const Planes& planes) { return {planes, {}}; }

template <class Set>
void ExpectPlanes(Set& set, const Planes& expected) {
  for (size_t p = 0; p < expected.size(); ++p) {
    EXPECT_TRUE(SameBits(*PlanesOf(set)[p], expected[p])) << "plane " << p;
  }
}

// Of the other set, as tall and wide as the first, shorter, larger, narrower.
const cv::Size kSizes[] = {{4, 5}, {4, 3}, {6, 7}, {2, 5}};

// The equation by hand: the first of three columns takes from the last of the other set, and so on.
TEST(Seam, PlainFormFollowsTheEquation) {
  const Planes source = {(cv::Mat_<float>(1, 3) << 3, 6, 9)};
  const Planes target = {(cv::Mat_<float>(1, 3) << 12, 15, 18)};
  BlendPlain(ViewOf(source), ViewOf(target), Lines::kColumns, 3, 3);
  EXPECT_TRUE(SameBits(target[0], (cv::Mat_<float>(1, 3) << 10, 12, 18)));
  EXPECT_TRUE(SameBits(source[0], (cv::Mat_<float>(1, 3) << 18, 12, 10)));
}

TEST(Seam, LuminanceTakesRowsInMirroredOrder) {
  for (const cv::Size& size : kSizes) {
    for (int n = -1; n <= 7; ++n) {
      SCOPED_TRACE(::testing::Message() << size << " n " << n);
      auto a = MakeSet<LumCoeff>({n - 5, 2, 4, 5, 0, 0}, 1);
      auto b = MakeSet<LumCoeff>({0, 2, 4, 5, 0, 0}, 2, size);
      const Planes plain_a = CopyOf(a);
      const Planes plain_b = CopyOf(b);
      BlendPlain(ViewOf(plain_b), ViewOf(plain_a), Lines::kRows, n, 1);
      EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
      ExpectPlanes(a, plain_a);
      ExpectPlanes(b, plain_b);
    }
  }
  // By hand, n = 2 of 3 rows: weights 1 and 1, then 0 and 2.
  LumCoeff a = MakeSet<LumCoeff>({-1, 0, 1, 3, 0, 0}, 1);
  LumCoeff b = MakeSet<LumCoeff>({0, 0, 1, 3, 0, 0}, 2);
  a.coef_g = (cv::Mat_<float>(3, 1) << 10, 20, 30);
  b.coef_g = (cv::Mat_<float>(3, 1) << 1, 2, 3);
  EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
  EXPECT_TRUE(SameBits(a.coef_g, (cv::Mat_<float>(3, 1) << 13, 40, 30)));
  EXPECT_TRUE(SameBits(b.coef_g, (cv::Mat_<float>(3, 1) << 1, 40, 13)));
}

// Values that arithmetic treats in its own way, from the first row on.
void SpoilColumn(cv::Mat& plane, int col) {
  constexpr float kValues[] = {
      std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), -0.0F,
      std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::max()};
  for (int row = 0; row < 5; ++row) {
    plane.at<float>(row, col) = kValues[row];
  }
}

// Whichever is named first, the set at the smaller place gives; at equal places, the first named.
void ExpectChromaBlend(Lines lines, bool swapped, int side, int place, cv::Size size) {
  const bool columns = lines == Lines::kColumns;
  SCOPED_TRACE(::testing::Message() << size << " place " << place << " " << columns << swapped);
  auto first = MakeSet<ChromaCoeff>({0, 0, side, side, 0, 0}, 1);
  auto second = MakeSet<ChromaCoeff>({place, 0, side, side + 4, 0, 0}, 2, size);
  if (columns) {
    second.part = {0, place, side + 4, side, 0, 0};
  }
  for (size_t p = 0; p < first.coef.size(); ++p) {
    MakeDiscontinuous(first.coef[p]);
    SpoilColumn(first.coef[p], static_cast<int>(p) % side);
  }
  Planes source = CopyOf(first);
  Planes target = CopyOf(second);
  const bool turned = swapped && place == 0;
  if (turned) {
    std::swap(source, target);
  }
  const int n = (columns ? target[0].cols : target[0].rows) - place;
  BlendPlain(ViewOf(source), ViewOf(target), lines, n, static_cast<float>(n));
  EXPECT_EQ(swapped ? ChromaCoeff::CombineDaul(&second, &first)
                    : ChromaCoeff::CombineDaul(&first, &second),
            0);
  ExpectPlanes(first, turned ? target : source);
  ExpectPlanes(second, turned ? source : target);
}

TEST(Seam, ChromaTakesRowsOrColumnsInMirroredOrder) {
  for (const Lines lines : {Lines::kRows, Lines::kColumns}) {
    for (const bool swapped : {false, true}) {
      for (const cv::Size& size : kSizes) {
        for (int place = 0; place <= 7; ++place) {
          ExpectChromaBlend(lines, swapped, 5, place, size);
        }
      }
      // Seams of more LEDs than a vector holds.
      for (const int place : {0, 1, 30}) {
        ExpectChromaBlend(lines, swapped, 37, place, {37, 37});
        ExpectChromaBlend(lines, swapped, 37, place, {33, 35});
      }
    }
  }
}

// Planes that two sets share, or two planes of one, change in the order of the equation.
TEST(Seam, SharedPlanesChangeInTheStatedOrder) {
  auto a = MakeSet<LumCoeff>({-1, 0, 4, 5, 0, 0}, 1);
  auto b = MakeSet<LumCoeff>({0, 0, 4, 5, 0, 0}, 2);
  a.coef_g = a.coef_r;
  b.coef_b = a.coef_r;
  const cv::Mat shared = a.coef_r.clone();
  const Planes plain_a = {shared, shared, a.coef_b.clone()};
  const Planes plain_b = {b.coef_r.clone(), b.coef_g.clone(), shared};
  BlendPlain(ViewOf(plain_b), ViewOf(plain_a), Lines::kRows, 4, 1);
  EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
  ExpectPlanes(a, plain_a);
  ExpectPlanes(b, plain_b);
  BlendPlain(ViewOf(plain_b), ViewOf(plain_b), Lines::kRows, 5, 1);
  EXPECT_EQ(LumCoeff::CombineDaul(&b, &b), 0) << "with itself";
  ExpectPlanes(b, plain_b);
}

// Both are regions of one wall, so that a line that is mixed is read again as another one.
TEST(Seam, OverlappingRegionsChangeInTheStatedOrder) {
  for (const bool columns : {false, true}) {
    SCOPED_TRACE(columns);
    auto wall = MakeSet<ChromaCoeff>({0, 0, 9, 9, 0, 0}, 1);
    ChromaCoeff first = wall;
    ChromaCoeff second = wall;
    Planes source;
    Planes target;
    for (size_t p = 0; p < wall.coef.size(); ++p) {
      first.coef[p] = wall.coef[p](cv::Rect(0, 0, 8, 8));
      second.coef[p] = wall.coef[p](cv::Rect(1, 1, 8, 8));
      const cv::Mat copy = wall.coef[p].clone();
      source.push_back(copy(cv::Rect(0, 0, 8, 8)));
      target.push_back(copy(cv::Rect(1, 1, 8, 8)));
    }
    first.part = {0, 0, 8, 8, 0, 0};
    second.part = {columns ? 0 : 2, columns ? 2 : 0, 8, 8, 0, 0};
    BlendPlain(ViewOf(source), ViewOf(target), columns ? Lines::kColumns : Lines::kRows, 6, 6);
    EXPECT_EQ(ChromaCoeff::CombineDaul(&first, &second), 0);
    ExpectPlanes(first, source);
    ExpectPlanes(second, target);
  }
}

TEST(Seam, PlacesAtTheEndsOfTheirRange) {
  for (const int32_t x : {INT32_MIN, INT32_MAX}) {
    auto a = MakeSet<LumCoeff>({x, 0, 2, 2, 0, 0}, 1);
    auto b = MakeSet<LumCoeff>({x < 0 ? INT32_MAX : INT32_MIN, 0, 2, 2, 0, 0}, 2);
    const Planes plain_a = CopyOf(a);
    const Planes plain_b = CopyOf(b);
    BlendPlain(ViewOf(plain_b), ViewOf(plain_a), Lines::kRows, int64_t{x} - b.part.x + 2, 1);
    EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
    ExpectPlanes(a, plain_a);
    ExpectPlanes(b, plain_b);
  }
}

template <class Set>
class Pairs : public ::testing::Test {};
using Sets = ::testing::Types<LumCoeff, ChromaCoeff>;
TYPED_TEST_SUITE(Pairs, Sets);

TYPED_TEST(Pairs, AreBlendedInOrderAndTheLastNever) {
  const std::vector<std::pair<size_t, size_t>> kPairs[] = {
      {},
      {},
      {},
      {{0, 1}},
      {{0, 1}, {0, 2}},
      {{0, 1}, {0, 2}, {0, 3}, {1, 2}},
      {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {1, 2}, {1, 3}},
      {{0, 1}, {0, 2}, {0, 3}, {0, 4}, {0, 5}, {1, 2}, {1, 3}, {1, 4}, {2, 3}},
  };
  for (size_t n = 1; n <= 7; ++n) {
    SCOPED_TRACE(n);
    std::vector<TypeParam> sets;
    std::vector<TypeParam> expected;
    for (size_t i = 0; i < n; ++i) {
      // The third fits no other: its refusals stop nothing.
      const PartRecord part = {static_cast<int32_t>(i), i == 2 ? 9 : 0, 3, 4, 0, 0};
      sets.push_back(MakeSet<TypeParam>(part, i));
      expected.push_back(MakeSet<TypeParam>(part, i));
    }
    std::vector<TypeParam*> list(n);
    std::transform(sets.begin(), sets.end(), list.begin(), [](TypeParam& set) { return &set; });
    for (const auto& [i, j] : kPairs[n]) {
      TypeParam::CombineDaul(&expected[i], &expected[j]);
    }
    EXPECT_EQ(TypeParam::CombineAll(list), 0);
    for (size_t i = 0; i < n; ++i) {
      ExpectPlanes(sets[i], CopyOf(expected[i]));
    }
  }
}

}  // namespace
}  // namespace multilayer::testing
