// Single-layer sets: their computation, products, assembly and refusals.
#include <cmath>
#include <numeric>
#include <type_traits>

#include <gmock/gmock.h>

#include "multilayer/coeff/coeff_set_plain.h"
#include "tests/coeff/sets.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float kFullScale[9] = {100, 0, 0, 700, 0, 0, 90, 0, 0};

LedMeter Measured(int32_t color, float value) {
  return MakeMeter({17, 3}, color, {0, 1.0F, 255}, value);
}

TEST(LumCoeff, IsFullScaleOverMeasuredRoundedOnce) {
  LedMeter red = Measured(COLOR_RED, 50);
  const LedMeter green = Measured(COLOR_GREEN, 1);
  const LedMeter blue = Measured(COLOR_BLUE, 0);
  cv::RNG random(7);
  for (float& value : cv::Mat_<float>(green.chroma)) {  // near the ends of the range too
    value = std::ldexp(random.uniform(1.0F, 2.0F), random.uniform(-149, 127));
  }
  red.part->screen_h = 77;
  LumCoeff set;
  ASSERT_EQ(set.Compute(kFullScale, &red, &green, &blue), 0);
  EXPECT_EQ(set.part.screen_h, 77);
  for (int i = 0; i < 51; ++i) {
    EXPECT_EQ(set.coef_r.at<float>(i / 17, i % 17), 2.0F);
    EXPECT_EQ(set.coef_g.at<float>(i / 17, i % 17),
              700.0F / green.chroma.at<float>(i / 17, i % 17));
    EXPECT_EQ(set.coef_b.at<float>(i / 17, i % 17), INFINITY);
  }
  const LumCoeff copy = set;
  const float dark[9] = {};
  ASSERT_EQ(set.Compute(dark, &red, &green, &blue), 0);
  EXPECT_TRUE(std::isnan(set.coef_b.at<float>(0, 0)));
  EXPECT_EQ(copy.coef_r.at<float>(0, 0), 2.0F) << "a copy keeps its factors";
}

TEST(LumCoeff, ComputeRefusesAndStaysAsItWas) {
  const LedMeter red = Measured(COLOR_RED, 1);
  const LedMeter green = Measured(COLOR_GREEN, 1);
  const LedMeter blue = Measured(COLOR_BLUE, 1);
  LedMeter tristimulus = Measured(COLOR_BLUE, 1);
  tristimulus.type = CIE_X;
  LedMeter nowhere = Measured(COLOR_BLUE, 1);
  nowhere.part.reset();
  LedMeter empty = Measured(COLOR_BLUE, 1);
  empty.chroma.release();
  LedMeter narrow = Measured(COLOR_BLUE, 1);
  narrow.chroma = narrow.chroma.colRange(0, 4);
  LedMeter wide = Measured(COLOR_BLUE, 1);
  wide.chroma.convertTo(wide.chroma, CV_64F);
  const std::string check = "LedMeter::Check--Error in LedMeter ";
  const struct {
    const float* init_y;
    const LedMeter* blue;
    int32_t status;
    std::string message;
  } cases[] = {
      {kFullScale, nullptr, 1, check + "input is nullptr"},
      {kFullScale, &nowhere, 9, check + "part is nullptr"},
      {kFullScale, &empty, 12, check + "chroma is empty"},
      {kFullScale, &narrow, 9, check + "input chroma size different"},
      {kFullScale, &green, 9, check + "input color same"},
      {kFullScale, &tristimulus, 9, check + "input type not CIE_Y"},
      {nullptr, &blue, 1, "LumCoeff::Compute--Error :: Input is nullptr."},
      {kFullScale, &wide, 9,
       "LumCoeff::Compute--Error :: chroma is not a matrix of 32-bit floats."},
  };
  LumCoeff set;
  for (const auto& [init_y, other, status, message] : cases) {
    LogRecorder log;
    EXPECT_EQ(set.Compute(init_y, &red, &green, other), status);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(message));
    EXPECT_TRUE(set.coef_r.empty() && set.part.w == 0);
  }
}

TEST(ChromaCoeff, SetReadsMatricesColumnByColumn) {
  float data[54];
  std::iota(data, data + 54, 0.0F);
  ChromaCoeff set;
  set.part = {1, 2, 9, 9, 5, 6};
  LogRecorder log;
  EXPECT_EQ(set.Set(2, 3, data, 53), 600);
  EXPECT_EQ(set.Set(INT32_MAX, INT32_MAX, data, 54), 600);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(set.Set(2, 3, nullptr, 54), 1);
  EXPECT_EQ(set.Set(-2, -3, data, 54), 9);
  EXPECT_THAT(log.TakeErrors(), SizeIs(2));
  EXPECT_EQ(set.Set(0, 3, data, 0), 0) << "an empty set";
  EXPECT_TRUE(set.coef[0].empty() && set.part.w == 3 && set.part.h == 0);
  ASSERT_EQ(set.Set(2, 3, data, 54), 0);
  EXPECT_TRUE(set.part.x == 1 && set.part.w == 3 && set.part.h == 2 && set.part.screen_h == 6);
  const int order[9] = {0, 3, 6, 1, 4, 7, 2, 5, 8};
  for (size_t k = 0; k < 9; ++k) {
    EXPECT_EQ(set.coef[k].at<float>(0, 0), order[k]);
    EXPECT_EQ(set.coef[k].at<float>(1, 2), 45 + order[k]);
  }
}

TEST(SetPara, RefusesInSilence) {
  const cv::Mat ones = cv::Mat::ones(4, 3, CV_32FC1);
  cv::Mat negative = ones.clone();
  negative.at<float>(3, 2) = -0.5F;
  ChromaCoeff chroma;
  LumCoeff lum;
  LogRecorder log;
  EXPECT_EQ(chroma.SetPara(cv::Mat::ones(3, 3, CV_32FC1), 1, 2, 3), 601);
  EXPECT_EQ(chroma.SetPara(cv::Mat::ones(4, 3, CV_64FC1), 1, 2, 3), 601);
  EXPECT_EQ(chroma.SetPara(cv::Mat(), 1, 2, 3), 601);
  EXPECT_EQ(chroma.SetPara(negative, 1, 2, 3), 602);
  EXPECT_EQ(chroma.SetPara(ones, 1, 2, -1), 603);
  EXPECT_EQ(lum.SetPara(-1, 0, 0), 603);
  EXPECT_TRUE(chroma.weights.empty() && chroma.para[0] == 0);
  EXPECT_EQ(chroma.SetPara(ones, 1, 2, 3), 0);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(chroma.weights.data, ones.data) << "shared";
  EXPECT_THAT(chroma.para, ElementsAre(1, 2, 3));
}

TEST(Merge, MultipliesTheColumnsOfThePrimaries) {
  const PartRecord part = {0, 0, 3, 2, 3, 2};
  auto chroma = MakeSet<ChromaCoeff>(part, 1);
  auto lum = MakeSet<LumCoeff>(part, 2);
  const Planes before = CopyOf(chroma);
  const Planes factors = CopyOf(lum);
  ASSERT_EQ(chroma.Merge(&lum), 0);
  for (size_t k = 0; k < 9; ++k) {
    EXPECT_TRUE(SameBits(chroma.coef[k], before[k].mul(factors[k % 3]))) << k;
  }
  lum.coef_b = cv::Mat(5, 5, CV_32FC1, cv::Scalar(2))(cv::Rect(1, 1, 4, 4));
  ASSERT_EQ(chroma.Merge(&lum), 0) << "only green need be of the size";
  lum.coef_b = factors[2].clone();
  ASSERT_EQ(lum.Merge(&lum), 0) << "with itself it squares";
  for (size_t p = 0; p < 3; ++p) {
    EXPECT_TRUE(SameBits(*PlanesOf(lum)[p], factors[p].mul(factors[p]))) << p;
  }
}

template <class Set>
class CoeffSet : public ::testing::Test {
 protected:
  // `line`: of the log, behind the class name.
  void ExpectRefused(int32_t status, int32_t expected, const std::string& line) {
    const std::string name = std::is_same_v<Set, LumCoeff> ? "LumCoeff::" : "ChromaCoeff::";
    EXPECT_EQ(status, expected);
    EXPECT_THAT(log_.TakeErrors(), ElementsAre(name + line));
  }
  void ExpectNotAssembled(const std::vector<Set*>& list, int32_t expected,
                          const std::string& line) {
    Set out;
    ExpectRefused(Set::Assemble(list, out), expected, line);
    EXPECT_TRUE(PlanesOf(out)[0]->empty() && out.part.w == 0);
  }

 private:
  LogRecorder log_;
};
using Sets = ::testing::Types<LumCoeff, ChromaCoeff>;
TYPED_TEST_SUITE(CoeffSet, Sets);

TYPED_TEST(CoeffSet, RefusesMissingEmptyAndStrangers) {
  using Set = TypeParam;
  const PartRecord part = {0, 0, 3, 2, 3, 2};
  auto set = MakeSet<Set>(part, 1);
  auto lum = MakeSet<LumCoeff>(part, 3);
  auto stranger = MakeSet<Set>({1, 1, 4, 3, 0, 0}, 4);
  Set hollow = set;
  PlanesOf(hollow).back()->release();
  LumCoeff hollow_lum = lum;
  hollow_lum.coef_b.release();
  const std::string null = "--Error :: Input is nullptr.";
  const std::string empty = "--Error :: Input is empty.";
  this->ExpectRefused(Set::CombineDaul(nullptr, &hollow), 1, "CombineDaul" + null);
  this->ExpectRefused(Set::CombineDaul(&set, nullptr), 1, "CombineDaul" + null);
  this->ExpectRefused(Set::CombineDaul(&set, &hollow), 12, "CombineDaul" + empty);
  this->ExpectRefused(Set::CombineDaul(&set, &stranger), 604,
                      "CombineDaul--Error :: Input part data don't match.");
  this->ExpectRefused(Set::CombineAll({}), 12, "CombineAll" + empty);
  this->ExpectRefused(Set::CombineAll({&hollow, nullptr}), 1, "CombineAll" + null);
  this->ExpectRefused(Set::CombineAll({&set, &set, &hollow}), 12, "CombineAll" + empty);
  this->ExpectNotAssembled({}, 12, "CombineAll" + empty);
  this->ExpectNotAssembled({&set, nullptr}, 1, "CombineAll" + null);
  this->ExpectNotAssembled({&set, &hollow}, 12, "CombineAll" + empty);
  this->ExpectRefused(set.Merge(nullptr), 1, "Merge" + null);
  this->ExpectRefused(set.Merge(&hollow_lum), 12, "Merge--Error :: Input OR itself is empty.");
  this->ExpectRefused(hollow.Merge(&lum), 12, "Merge--Error :: Input OR itself is empty.");
}

// As a strange file may leave them behind.
TYPED_TEST(CoeffSet, RefusesPlanesOfOtherSizesAndTypes) {
  using Set = TypeParam;
  const PartRecord part = {0, 0, 3, 2, 3, 2};
  const std::string strange = "--Error :: Input planes are no 32-bit float matrices of one size.";
  const std::string no_floats = "--Error :: Input planes are no 32-bit float matrices.";
  const std::string mismatch = "--Error :: Input matrix size mismatches the origin one.";
  auto set = MakeSet<Set>(part, 1);
  for (const int type : {CV_32FC1, CV_64FC1}) {
    const bool other_type = type != CV_32FC1;
    const cv::Mat plane(other_type ? 2 : 1, 3, type, cv::Scalar(1));
    auto odd = MakeSet<Set>(part, 2);
    *PlanesOf(odd).back() = plane;
    auto odd_lum = MakeSet<LumCoeff>(part, 2);
    odd_lum.coef_b = plane;
    this->ExpectRefused(Set::CombineDaul(&set, &odd), 9, "CombineDaul" + strange);
    this->ExpectNotAssembled({&set, &odd}, 9, "Assemble" + strange);
    this->ExpectRefused(set.Merge(&odd_lum), 9, "Merge" + (other_type ? no_floats : mismatch));
  }
}

TYPED_TEST(CoeffSet, AssemblesHalvesIntoAWhole) {
  auto left = MakeSet<TypeParam>({0, 0, 4, 2, 16, 9}, 1);
  auto right = MakeSet<TypeParam>({4, 0, 4, 2, 0, 0}, 2);
  TypeParam out;
  ASSERT_EQ(TypeParam::Assemble({&left, &right}, out), 0);
  EXPECT_TRUE(out.part.x == 0 && out.part.y == 0 && out.part.w == 8 && out.part.h == 2);
  EXPECT_TRUE(out.part.screen_w == 16 && out.part.screen_h == 9);
  for (size_t p = 0; p < PlanesOf(out).size(); ++p) {
    cv::Mat whole;
    cv::hconcat(*PlanesOf(left)[p], *PlanesOf(right)[p], whole);
    EXPECT_TRUE(SameBits(*PlanesOf(out)[p], whole));
  }
}

// Around the origin, later over earlier, neutral where none is, from planes larger than their
// partition, into one of the sets.
TYPED_TEST(CoeffSet, AssemblesRelativeToTheBoxIntoAnEntry) {
  auto first = MakeSet<TypeParam>({-3, -2, 2, 2, 16, 9}, 1);
  auto second = MakeSet<TypeParam>({-2, -1, 2, 3, 0, 0}, 2, {5, 5});
  auto nothing = MakeSet<TypeParam>({3, 0, 0, 1, 0, 0}, 3, {1, 1});
  const size_t count = PlanesOf(first).size();
  Planes planes;
  for (size_t p = 0; p < count; ++p) {
    cv::Mat plane(4, 6, CV_32FC1, cv::Scalar(count == 3 || p % 4 == 0 ? 1 : 0));
    PlanesOf(first)[p]->copyTo(plane(cv::Rect(0, 0, 2, 2)));
    (*PlanesOf(second)[p])(cv::Rect(0, 0, 2, 3)).copyTo(plane(cv::Rect(1, 1, 2, 3)));
    planes.push_back(plane);
  }
  ASSERT_EQ(TypeParam::Assemble({&first, &second, &nothing}, second), 0);
  EXPECT_TRUE(second.part.x == -3 && second.part.y == -2);
  EXPECT_TRUE(second.part.w == 6 && second.part.h == 4 && second.part.screen_w == 16);
  for (size_t p = 0; p < count; ++p) {
    EXPECT_TRUE(SameBits(*PlanesOf(second)[p], planes[p])) << *PlanesOf(second)[p];
  }
}

TYPED_TEST(CoeffSet, AssemblesAsThePlainForm) {
  constexpr int32_t kEnd = INT32_MAX;
  const std::vector<PartRecord> cases[] = {
      {{-3, -2, 2, 2, 0, 0}, {-1, -2, 3, 2, 0, 0}, {-3, 0, 5, 1, 0, 0}},  // no gap
      {{0, 0, 2, 2, 0, 0}, {0, 0, 2, 2, 0, 0}},                           // twice the same
      // As many LEDs as the whole has, but two in two sets, or none.
      {{0, 0, 2, 2, 0, 0}, {1, 0, 1, 2, 0, 0}, {3, 0, 1, 2, 0, 0}},
      {{0, 0, 2, 2, 0, 0}, {4, 2, -2, -2, 0, 0}},
      {{kEnd - 1, 0, 4, 1, 0, 0}, {kEnd - 1, 0, 4, 1, 0, 0}, {kEnd - 9, 0, 4, 1, 0, 0}},
  };
  for (const std::vector<PartRecord>& parts : cases) {
    std::vector<TypeParam> sets;
    for (const PartRecord& part : parts) {
      sets.push_back(MakeSet<TypeParam>(part, sets.size(), {6, 5}));
    }
    std::vector<TypeParam*> list;
    for (TypeParam& set : sets) {
      list.push_back(&set);
    }
    TypeParam out;
    ASSERT_EQ(TypeParam::Assemble(list, out), 0);
    TypeParam plain;
    std::vector<float> neutral;
    for (cv::Mat* plane : PlanesOf(plain)) {
      plane->create(out.part.h, out.part.w, CV_32FC1);
      neutral.push_back(PlanesOf(plain).size() == 3 || neutral.size() % 4 == 0 ? 1.0F : 0.0F);
    }
    plain.part = out.part;
    AssemblePlain(ViewsOf(list), neutral, ViewOf(&plain));
    for (size_t p = 0; p < neutral.size(); ++p) {
      EXPECT_TRUE(SameBits(*PlanesOf(out)[p], *PlanesOf(plain)[p])) << *PlanesOf(out)[p];
    }
  }
}

TYPED_TEST(CoeffSet, RefusesToAssembleWhatIsNoPartition) {
  const std::string small = "Assemble--Error :: Input matrix is smaller than its partition.";
  const std::string no_part = "Assemble--Error :: Input parts span no LED or too many.";
  const struct {
    PartRecord part;
    std::string line;
  } cases[] = {
      {{0, 0, 4, 2, 0, 0}, small},
      {{0, 0, 3, 3, 0, 0}, small},
      {{5, 5, 0, 2, 0, 0}, no_part},
      {{0, 0, 536870912, 0, 0, 0}, no_part},
      {{0, 0, -65536, 65536, 0, 0}, no_part},
      {{0, 0, INT32_MIN, INT32_MIN, 0, 0}, no_part},
      {{INT32_MIN, 0, -2, 2, 0, 0}, no_part},  // would begin below the lowest place
  };
  for (const auto& [part, line] : cases) {
    auto set = MakeSet<TypeParam>(part, 2, {3, 2});
    this->ExpectNotAssembled({&set}, 9, line);
  }
  // The corners of what a place can be: 2^64 LEDs.
  auto first = MakeSet<TypeParam>({INT32_MIN, INT32_MIN, 1, 1, 0, 0}, 1);
  auto last = MakeSet<TypeParam>({INT32_MAX, INT32_MAX, 1, 1, 0, 0}, 1);
  this->ExpectNotAssembled({&first, &last}, 9, no_part);
  // Turned upright, and of no LED that a set covers.
  auto turned = MakeSet<TypeParam>({INT32_MAX, 5, -2, 2, 0, 0}, 2, {3, 2});
  TypeParam out;
  ASSERT_EQ(TypeParam::Assemble({&turned}, out), 0);
  EXPECT_TRUE(out.part.x == INT32_MAX - 2 && out.part.w == 2 && out.part.h == 2);
  EXPECT_EQ(PlanesOf(out)[0]->template at<float>(1, 1), 1.0F);
}

}  // namespace
}  // namespace multilayer::testing
