// White balance of every LED: closed forms, the plain definition, the matrix library, and the file.
#include "multilayer/color/white_coeff.h"

#include <array>
#include <cmath>
#include <filesystem>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "multilayer/color/white_plain.h"
#include "tests/support/kernel_test.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using WhiteKernel = KernelTest;

constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr float kOnes[3] = {1, 1, 1};

PartRecord PartOf(cv::Size size) {
  return {0, 0, size.width, size.height, size.width, size.height};
}

ChromaXYZ Constant(float x, float y, float z, cv::Size size) {
  return {cv::Mat_<float>(size, x), cv::Mat_<float>(size, y), cv::Mat_<float>(size, z)};
}

ChromaXYZ Random(cv::RNG& random, cv::Size size, double x, double y, double z) {
  ChromaXYZ bundle = Constant(0, 0, 0, size);
  random.fill(bundle.X, cv::RNG::UNIFORM, 0.8 * x, 1.2 * x);
  random.fill(bundle.Y, cv::RNG::UNIFORM, 0.8 * y, 1.2 * y);
  random.fill(bundle.Z, cv::RNG::UNIFORM, 0.8 * z, 1.2 * z);
  return bundle;
}

// Within 1e-6 of the terms' magnitude, beyond the rounding of the gain itself.
void ExpectNearMatrixLibrary(const Matrix3& entries, const std::array<float, 3>& delta,
                             size_t channel, float gain) {
  cv::Mat m(3, 3, CV_64FC1);
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) {
      m.at<double>(row, col) =
          static_cast<double>(entries[static_cast<size_t>(row)][static_cast<size_t>(col)]);
    }
  }
  const cv::Mat inverse = m.inv();
  double scale = 0;
  double solution = 1;
  for (int k = 0; k < 3; ++k) {
    const double term = inverse.at<double>(static_cast<int>(channel), k) *
                        static_cast<double>(delta[static_cast<size_t>(k)]);
    scale += std::abs(term);
    solution += term;
  }
  EXPECT_NEAR(gain, solution, 1e-6 * scale + 6e-8 * std::abs(solution));
}

void ExpectDefinedGains(const Matrix3& m, const std::array<float, 3>& delta,
                        const std::array<float, 3>& gains) {
  const std::array<double, 3> increments = WhitePlain(m, delta);
  const bool singular = InverseOf(m).singular;
  for (size_t c = 0; c < 3; ++c) {
    const auto expected = static_cast<float>(1.0 + increments[c]);
    if (std::isnan(expected)) {
      EXPECT_TRUE(std::isnan(gains[c]));
      continue;
    }
    EXPECT_EQ(gains[c], expected);
    if (!singular) {
      ExpectNearMatrixLibrary(m, delta, c, gains[c]);
    }
  }
}

TEST_F(WhiteKernel, IdentityMovesEachChannelByItsDifference) {
  WhiteCoeff coeff;
  ASSERT_EQ(coeff.SetTargetWhite(kOnes), 0);
  ASSERT_EQ(coeff.SetRGBXYZ(kIdentity), 0);
  const cv::Size size(3, 2);
  ASSERT_EQ(coeff.Compute(Constant(0.5F, 0.25F, 1.5F, size), PartOf(size)), 0);
  EXPECT_EQ(coeff.coef_r.at<float>(1, 2), 1.5F);
  EXPECT_EQ(coeff.coef_g.at<float>(1, 2), 1.75F);
  EXPECT_EQ(coeff.coef_b.at<float>(1, 2), 0.5F);
  EXPECT_EQ(coeff.singular_count, 0);
  EXPECT_EQ(coeff.delta_xyz.Y(0, 0), 0.75F);
  // The same measurement again adds the same again.
  ASSERT_EQ(coeff.Compute(Constant(0.5F, 0.25F, 1.5F, size), PartOf(size)), 0);
  EXPECT_EQ(coeff.coef_r.at<float>(0, 0), 2.0F);
}

TEST_F(WhiteKernel, NineFloatsArePrimariesInColumns) {
  WhiteCoeff coeff;
  const float nine[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  ASSERT_EQ(coeff.SetRGBXYZ(nine), 0);
  EXPECT_TRUE(SameBits(coeff.rgb2xyz, (cv::Mat_<float>(3, 3) << 1, 4, 7, 2, 5, 8, 3, 6, 9)));
}

// Random LEDs, one with dependent primaries and one with a NaN, with primaries of their own and
// with the one matrix, which wins when both are set.
TEST_F(WhiteKernel, GivesTheBitsOfTheDefinition) {
  const float target[3] = {0.9F, 0.95F, 1.0F};
  const float nine[9] = {0.69F, 0.31F, 0.01F, 0.18F, 0.72F, 0.1F, 0.13F, 0.06F, 0.8F};
  for (const int cols : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 257}) {
    for (const bool fixed : {false, true}) {
      SCOPED_TRACE(std::to_string(cols) + (fixed ? " fixed" : " measured"));
      cv::RNG random(static_cast<uint64_t>(cols));
      const cv::Size size(cols, 3);
      const ChromaXYZ red = Random(random, size, 0.69, 0.31, 0.01);
      const ChromaXYZ green = Random(random, size, 0.18, 0.72, 0.10);
      const ChromaXYZ blue = Random(random, size, 0.13, 0.06, 0.80);
      red.X.col(0).row(2).copyTo(green.X.col(0).row(2));
      red.Y.col(0).row(2).copyTo(green.Y.col(0).row(2));
      red.Z.col(0).row(2).copyTo(green.Z.col(0).row(2));
      blue.Z.row(1).col(cols - 1).setTo(NAN);
      const ChromaXYZ white = Random(random, size, 0.95, 1.0, 1.09);
      WhiteCoeff coeff;
      ASSERT_EQ(coeff.SetTargetWhite(target), 0);
      ASSERT_EQ(coeff.SetRGBXYZ(red, green, blue), 0);
      if (fixed) {
        ASSERT_EQ(coeff.SetRGBXYZ(nine), 0);
      }
      ASSERT_EQ(coeff.Compute(white, PartOf(size)), 0);
      EXPECT_EQ(coeff.singular_count, fixed ? 0 : 1);
      const ChromaXYZ* const primaries[] = {&red, &green, &blue};
      for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < cols; ++col) {
          Matrix3 m;
          for (size_t c = 0; c < 3; ++c) {
            m[0][c] = fixed ? nine[3 * c] : primaries[c]->X(row, col);
            m[1][c] = fixed ? nine[3 * c + 1] : primaries[c]->Y(row, col);
            m[2][c] = fixed ? nine[3 * c + 2] : primaries[c]->Z(row, col);
          }
          const std::array<float, 3> delta = {target[0] - white.X(row, col),
                                              target[1] - white.Y(row, col),
                                              target[2] - white.Z(row, col)};
          ExpectDefinedGains(m, delta,
                             {coeff.coef_r.at<float>(row, col), coeff.coef_g.at<float>(row, col),
                              coeff.coef_b.at<float>(row, col)});
        }
      }
    }
  }
}

TEST_F(WhiteKernel, Refusals) {
  const cv::Size size(20, 10);
  const ChromaXYZ white = Constant(1, 1, 1, size);
  WhiteCoeff coeff;
  LogRecorder log;
  EXPECT_EQ(coeff.SetTargetWhite(nullptr), 1);
  EXPECT_EQ(coeff.SetRGBXYZ(nullptr), 9);
  EXPECT_EQ(coeff.SetRGBXYZ(white, white, ChromaXYZ()), 9);
  EXPECT_EQ(coeff.SetRGBXYZ(white, white, Constant(1, 1, 1, {10, 20})), 9);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 9) << "no target";
  ASSERT_EQ(coeff.SetTargetWhite(kOnes), 0);
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 9) << "no matrix";
  EXPECT_THAT(log.TakeErrors(), SizeIs(2));
  ASSERT_EQ(coeff.SetRGBXYZ(kIdentity), 0);
  WhiteCoeff other = coeff;
  EXPECT_EQ(other.Compute(white, PartOf({10, 20})), 9);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("WhiteCoeff::Compute-- W XYZ data size mismatched"));
  EXPECT_EQ(other.part.w, 10) << "bound before the size was looked at";
  ASSERT_EQ(coeff.Compute(white, PartOf(size)), 0);
  EXPECT_EQ(coeff.Compute(white, PartOf({21, 10})), 9);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("WhiteCoeff::Compute-- partition mismatched"));
  const ChromaXYZ small = Constant(1, 1, 1, {2, 2});
  ASSERT_EQ(coeff.SetRGBXYZ(small, small, small), 0);
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 9);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("WhiteCoeff::Compute-- W XYZ and rgb_xyz data size mismatched"));
}

TEST_F(WhiteKernel, CopiesAndPublicFieldsDoNoHarm) {
  const cv::Size size(2, 2);
  const ChromaXYZ white = Constant(0.5F, 0.5F, 0.5F, size);
  WhiteCoeff coeff;
  coeff.SetTargetWhite(kOnes);
  coeff.SetRGBXYZ(kIdentity);
  ASSERT_EQ(coeff.Compute(white, PartOf(size)), 0);
  WhiteCoeff copy = coeff;
  ASSERT_EQ(copy.Compute(white, PartOf(size)), 0);
  EXPECT_EQ(coeff.coef_r.at<float>(0, 0), 1.5F) << "the copy has gains of its own";
  EXPECT_EQ(copy.coef_r.at<float>(0, 0), 2.0F);
  const float nine[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  copy.SetRGBXYZ(nine);
  EXPECT_EQ(coeff.rgb2xyz.at<float>(0, 1), 0.0F);
  coeff.rgb2xyz = cv::Mat::eye(2, 2, CV_32FC1);
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 9);
  coeff.rgb2xyz.release();
  coeff.rgb_xyz = {white, ChromaXYZ(), white};
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 9);
  coeff.SetRGBXYZ(kIdentity);
  coeff.rgb_xyz = {};
  coeff.coef_g.release();
  coeff.coef_r = cv::Mat::ones(9, 9, CV_32FC1);
  EXPECT_EQ(coeff.Compute(white, PartOf(size)), 0) << "one gain is missing: all start anew";
  EXPECT_EQ(coeff.coef_r.size(), size);
}

TEST_F(WhiteKernel, GoldenBytesOfAFile) {
  WhiteCoeff coeff;
  coeff.singular_count = 3;
  coeff.coef_r = (cv::Mat_<float>(1, 2) << 1, 2);
  coeff.coef_g = (cv::Mat_<float>(1, 2) << -1, 0.5);
  coeff.part = {1, 2, 2, 1, 3, -1};
  // clang-format off
  const std::vector<uint8_t> golden = {
      'L', 1, 0, 0, 0,  3, 0, 0, 0,
      1, 0, 0, 0, 2, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0,  0, 0, 0x80, 0x3F, 0, 0, 0, 0x40,
      1, 0, 0, 0, 2, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0,  0, 0, 0x80, 0xBF, 0, 0, 0, 0x3F,
      0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
      1, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0, 0, 255, 255, 255, 255};
  // clang-format on
  std::vector<uint8_t> bytes(golden.size());
  uint64_t size = bytes.size();
  ASSERT_EQ(coeff.ToBuffer(bytes.data(), &size), 0);
  EXPECT_EQ(bytes, golden);
  EXPECT_EQ(coeff.GetBufferSize(&size), 5) << "blue is empty";
  EXPECT_EQ(coeff.GetBufferSize(nullptr), 1);
  WhiteCoeff read;
  ASSERT_EQ(read.FromBuffer(golden.data(), golden.size()), 0);
  EXPECT_EQ(read.singular_count, 3);
  EXPECT_TRUE(SameBits(read.coef_g, coeff.coef_g));
  EXPECT_EQ(read.part.screen_w, 3);
}

TEST_F(WhiteKernel, ARestoredObjectGoesOnFromItsGains) {
  const std::string path = ::testing::TempDir() + "restored.whitecoeff";
  const cv::Size size(3, 2);
  const ChromaXYZ white = Constant(0.5F, 0.5F, 0.5F, size);
  WhiteCoeff coeff;
  LogRecorder log;
  uint64_t fresh = 0;
  EXPECT_EQ(coeff.GetBufferSize(&fresh), 5);
  ASSERT_EQ(coeff.Save(path), 0);
  EXPECT_EQ(std::filesystem::file_size(path), 81U);
  coeff.SetTargetWhite(kOnes);
  coeff.SetRGBXYZ(kIdentity);
  ASSERT_EQ(coeff.Compute(white, PartOf(size)), 0);
  ASSERT_EQ(coeff.Save(path), 0);
  EXPECT_EQ(std::filesystem::file_size(path), 153U);
  WhiteCoeff restored;
  ASSERT_EQ(restored.Load(path), 0);
  restored.SetTargetWhite(kOnes);
  restored.SetRGBXYZ(kIdentity);
  EXPECT_EQ(restored.Compute(white, PartOf({2, 3})), 9) << "bound to its partition";
  ASSERT_EQ(restored.Compute(white, PartOf(size)), 0);
  EXPECT_EQ(restored.coef_b.at<float>(1, 1), 2.0F);
  log.TakeErrors();
  restored.coef_r = cv::Mat::ones(9, 9, CV_32FC1);
  EXPECT_EQ(restored.Compute(white, PartOf(size)), 9) << "gains of another size";
  EXPECT_EQ(restored.Load(path + "x"), 8);
  EXPECT_EQ(restored.Load("nowhere.whitecoeff"), 2);
  EXPECT_THAT(log.TakeErrors(), SizeIs(3));
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace multilayer::testing
