// Seam blends, held to a plain transcription of their equations, and the pairs that are blended.
#include <algorithm>
#include <utility>

#include <gmock/gmock.h>

#include "tests/coeff/sets.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

bool Holds(const cv::Mat& mat, int row, int col) {
  return row >= 0 && row < mat.rows && col >= 0 && col < mat.cols;
}

// The first rows of `t` take, the last rows of `s` give.
void PlainBlend(Planes t, Planes s, int n, bool divide) {
  const int rows = t[0].rows;
  for (int k = 0; k < n; ++k) {
    const int m = rows - 1 - k;
    for (int j = 0; j < t[0].cols; ++j) {
      for (size_t p = 0; p < t.size(); ++p) {
        if (Holds(t[p], k, j) && Holds(s[p], m, j)) {
          const float sum = static_cast<float>(n - 1 - k) * s[p].at<float>(m, j) +
                            static_cast<float>(k + 1) * t[p].at<float>(k, j);
          t[p].at<float>(k, j) = divide ? sum / static_cast<float>(n) : sum;
          s[p].at<float>(m, j) = t[p].at<float>(k, j);
        }
      }
    }
  }
}

template <class Set>
void ExpectPlanes(Set& set, const Planes& expected, bool transposed = false) {
  for (size_t p = 0; p < expected.size(); ++p) {
    const cv::Mat plane = transposed ? cv::Mat(expected[p].t()) : expected[p];
    EXPECT_TRUE(SameBits(*PlanesOf(set)[p], plane)) << "plane " << p;
  }
}

// Of the other set, as tall and wide as the first, shorter, larger, narrower.
const cv::Size kSizes[] = {{4, 5}, {4, 3}, {6, 7}, {2, 5}};

TEST(Seam, LuminanceTakesRowsInMirroredOrder) {
  for (const cv::Size& size : kSizes) {
    for (int n = -1; n <= 7; ++n) {
      SCOPED_TRACE(::testing::Message() << size << " n " << n);
      auto a = MakeSet<LumCoeff>({n - 5, 2, 4, 5, 0, 0}, 1);
      auto b = MakeSet<LumCoeff>({0, 2, 4, 5, 0, 0}, 2, size);
      const Planes plain_a = CopyOf(a);
      const Planes plain_b = CopyOf(b);
      PlainBlend(plain_a, plain_b, n, false);
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

// Whichever is named first, the set at the smaller place gives; at equal places, the first named.
void ExpectChromaBlend(bool columns, bool swapped, int place, cv::Size size) {
  SCOPED_TRACE(::testing::Message() << size << " place " << place << " " << columns << swapped);
  auto first = MakeSet<ChromaCoeff>({0, 0, 5, 5, 0, 0}, 1);
  auto second = MakeSet<ChromaCoeff>({place, 0, 5, 9, 0, 0}, 2, size);
  if (columns) {
    second.part = {0, place, 9, 5, 0, 0};
  }
  Planes source = CopyOf(first);
  Planes target = CopyOf(second);
  for (size_t p = 0; p < 9 && columns; ++p) {
    source[p] = source[p].t();
    target[p] = target[p].t();
  }
  const bool turned = swapped && place == 0;
  if (turned) {
    std::swap(source, target);
  }
  PlainBlend(target, source, target[0].rows - place, true);
  EXPECT_EQ(swapped ? ChromaCoeff::CombineDaul(&second, &first)
                    : ChromaCoeff::CombineDaul(&first, &second),
            0);
  ExpectPlanes(first, turned ? target : source, columns);
  ExpectPlanes(second, turned ? source : target, columns);
}

TEST(Seam, ChromaTakesRowsOrColumnsInMirroredOrder) {
  for (const cv::Size& size : kSizes) {
    for (int place = 0; place <= 7; ++place) {
      for (const bool columns : {false, true}) {
        ExpectChromaBlend(columns, false, place, size);
        ExpectChromaBlend(columns, true, place, size);
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
  PlainBlend(plain_a, plain_b, 4, false);
  EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
  ExpectPlanes(a, plain_a);
  ExpectPlanes(b, plain_b);
  PlainBlend(plain_b, plain_b, 5, false);
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
      const cv::Mat copy = columns ? cv::Mat(wall.coef[p].t()) : wall.coef[p].clone();
      source.push_back(copy(cv::Rect(0, 0, 8, 8)));
      target.push_back(copy(cv::Rect(1, 1, 8, 8)));
    }
    first.part = {0, 0, 8, 8, 0, 0};
    second.part = {columns ? 0 : 2, columns ? 2 : 0, 8, 8, 0, 0};
    PlainBlend(target, source, 6, true);
    EXPECT_EQ(ChromaCoeff::CombineDaul(&first, &second), 0);
    ExpectPlanes(first, source, columns);
    ExpectPlanes(second, target, columns);
  }
}

TEST(Seam, PlacesAtTheEndsOfTheirRange) {
  for (const int32_t x : {INT32_MIN, INT32_MAX}) {
    auto a = MakeSet<LumCoeff>({x, 0, 2, 2, 0, 0}, 1);
    auto b = MakeSet<LumCoeff>({x < 0 ? INT32_MAX : INT32_MIN, 0, 2, 2, 0, 0}, 2);
    const Planes before = CopyOf(a);
    EXPECT_EQ(LumCoeff::CombineDaul(&a, &b), 0);
    EXPECT_EQ(SameBits(a.coef_r, before[0]), x < 0) << "far apart, none is shared";
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
