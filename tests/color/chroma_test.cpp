// Chroma bundles: which measurements they accept, what they share, and chromaticities.
#include "multilayer/color/chroma.h"

#include <cmath>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogRecorder;
using testing::MakeMeter;
using testing::SameBits;

LedMeter Meter(int32_t type, float value, int32_t color = COLOR_GREEN, cv::Size size = {3, 2}) {
  LedMeter meter = MakeMeter(size, color, {0, 1.0F, 255}, value);
  meter.type = type;
  return meter;
}

struct Triple {
  LedMeter x = Meter(CIE_X, 1);
  LedMeter y = Meter(CIE_Y, 2);
  LedMeter z = Meter(CIE_Z, 1);
};

TEST(ChromaXYZ, SharesThePlanesOfThreeMeasurements) {
  auto meters = std::make_unique<Triple>();
  ChromaXYZ bundle;
  LogRecorder log;
  EXPECT_EQ(bundle.Combine(&meters->x, &meters->y, &meters->z), 0);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("ChromaXYZ::Combine"));
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_EQ(bundle.X.data, meters->x.chroma.data);
  EXPECT_EQ(bundle.Y.data, meters->y.chroma.data);
  EXPECT_EQ(bundle.Z.data, meters->z.chroma.data);
  bundle.X(1, 2) = 7;
  EXPECT_EQ(meters->x.chroma.at<float>(1, 2), 7.0F);
  meters.reset();
  EXPECT_EQ(bundle.X(1, 2), 7.0F) << "outlives the measurements";
}

TEST(ChromaXYZ, TakesThePlanesInTheOrderGiven) {
  const Triple meters;
  ChromaXYZ bundle;
  EXPECT_EQ(bundle.Combine(&meters.z, &meters.y, &meters.x), 0);
  EXPECT_EQ(bundle.X.data, meters.z.chroma.data);
}

TEST(ChromaXYZ, RedNeedsNoZ) {
  const LedMeter x = Meter(CIE_X, 1, COLOR_RED);
  const LedMeter y = Meter(CIE_Y, 2, COLOR_RED);
  const LedMeter z = Meter(CIE_Z, 3, COLOR_RED);
  ChromaXYZ bundle;
  EXPECT_EQ(bundle.Combine(&x, &y, nullptr), 0);
  EXPECT_TRUE(SameBits(bundle.Z, cv::Mat::zeros(2, 3, CV_32FC1)));
  EXPECT_EQ(bundle.Combine(&x, &y, &z), 0);
  EXPECT_EQ(bundle.Z.data, z.chroma.data) << "a measured Z is used";

  ChromaLxy lxy;
  EXPECT_EQ(lxy.Combine(&x, &y, nullptr), 0);
  EXPECT_EQ(lxy.x(0, 0), 1.0F / 3.0F);
}

// Both bundles refuse alike, with one line, and stay as they were.
TEST(ChromaBundles, RefuseWhatIsNoTriple) {
  const Triple good;
  const LedMeter red_x = Meter(CIE_X, 1, COLOR_RED);
  const LedMeter red_y = Meter(CIE_Y, 1, COLOR_RED);
  const LedMeter red_y_large = Meter(CIE_Y, 1, COLOR_RED, {4, 2});
  const LedMeter large_z = Meter(CIE_Z, 1, COLOR_GREEN, {2, 3});
  const LedMeter camera = Meter(CAM_R, 1);
  const LedMeter y_again = Meter(CIE_Y, 1);
  LedMeter empty = Meter(CIE_Z, 1);
  empty.chroma.release();
  LedMeter doubles = Meter(CIE_Z, 1);
  doubles.chroma = cv::Mat(2, 3, CV_64FC1, cv::Scalar(1));

  const std::string check = "LedMeter::Check--Error in LedMeter ";
  const struct {
    const LedMeter* x;
    const LedMeter* y;
    const LedMeter* z;
    int32_t status;
    std::string message;  // % stands for the class
  } cases[] = {
      {nullptr, nullptr, nullptr, 1, "%::Combine-- meter_x meter_y  meter_z all Nullptr"},
      {nullptr, &good.y, &good.z, 1, check + "input is nullptr"},
      {nullptr, nullptr, &good.z, 1, check + "input is nullptr"},
      {&good.x, nullptr, &good.z, 1, check + "input is nullptr"},
      {&good.x, &good.y, nullptr, 1, check + "input is nullptr"},
      {&red_x, nullptr, nullptr, 1, check + "input is nullptr"},
      {&good.x, &good.y, &empty, 12, check + "chroma is empty"},
      {&camera, &good.y, &good.z, 9, check + "input type"},
      {&good.x, &good.x, &good.z, 9, check + "input type same"},
      {&good.x, &good.y, &y_again, 9, check + "input type same"},
      {&red_x, &red_x, nullptr, 9, check + "input type same"},
      {&good.x, &red_y, &good.z, 9, check + "input color different"},
      {&red_x, &good.y, nullptr, 9, check + "input color different"},
      {&good.x, &good.y, &large_z, 9, check + "input chroma size different"},
      {&red_x, &red_y_large, nullptr, 9, check + "input chroma size different"},
      {&good.x, &good.y, &doubles, 9,
       "%::Combine--Error :: chroma is not a matrix of 32-bit floats."},
  };
  ChromaXYZ xyz;
  ChromaLxy lxy;
  ASSERT_EQ(xyz.Combine(&good.x, &good.y, &good.z), 0);
  ASSERT_EQ(lxy.Combine(&good.x, &good.y, &good.z), 0);
  const auto named = [](std::string message, const char* class_name) {
    return message[0] == '%' ? class_name + message.substr(1) : message;
  };
  for (const auto& [x, y, z, status, message] : cases) {
    SCOPED_TRACE(message);
    LogRecorder log;
    EXPECT_EQ(xyz.Combine(x, y, z), status);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(named(message, "ChromaXYZ")));
    EXPECT_EQ(lxy.Combine(x, y, z), status);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(named(message, "ChromaLxy")));
    EXPECT_EQ(xyz.Z.data, good.z.chroma.data);
    EXPECT_EQ(lxy.L.data, good.y.chroma.data);
  }
}

TEST(ChromaLxy, HoldsLuminanceAndChromaticity) {
  Triple meters;
  for (LedMeter* meter : {&meters.x, &meters.y, &meters.z}) {
    meter->chroma.at<float>(0, 1) = 0.0F;
  }
  meters.x.chroma.at<float>(1, 0) = 1;
  meters.y.chroma.at<float>(1, 0) = -2;  // sum 0, values not
  ChromaXYZ bundle;
  ChromaLxy combined;
  LogRecorder log;
  ASSERT_EQ(combined.Combine(&meters.x, &meters.y, &meters.z), 0);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("ChromaLxy::Combine"));
  ASSERT_EQ(bundle.Combine(&meters.x, &meters.y, &meters.z), 0);
  for (const ChromaLxy& lxy : {combined, bundle.ToLxy()}) {
    EXPECT_EQ(lxy.L.data, meters.y.chroma.data);
    EXPECT_EQ(lxy.L(0, 0), 2.0F);
    EXPECT_EQ(lxy.x(0, 0), 0.25F);
    EXPECT_EQ(lxy.y(0, 0), 0.5F);
    EXPECT_TRUE(std::isnan(lxy.x(0, 1)) && std::isnan(lxy.y(0, 1)));
    EXPECT_EQ(lxy.x(1, 0), INFINITY);
    EXPECT_EQ(lxy.y(1, 0), -INFINITY);
  }
}

TEST(ChromaXYZ, CheckTellsNullEmptyAndUnequalPlanesApart) {
  const ChromaXYZ sound = {cv::Mat_<float>(2, 3), cv::Mat_<float>(2, 3), cv::Mat_<float>(2, 3)};
  LogRecorder log;
  EXPECT_EQ(ChromaXYZ::Check(nullptr), 1);
  EXPECT_EQ(ChromaXYZ::Check(&sound), 0);
  for (cv::Mat_<float> ChromaXYZ::*plane : {&ChromaXYZ::X, &ChromaXYZ::Y, &ChromaXYZ::Z}) {
    ChromaXYZ bundle = sound;
    bundle.*plane = cv::Mat_<float>(3, 2);
    EXPECT_EQ(ChromaXYZ::Check(&bundle), 9);
    EXPECT_TRUE(bundle.ToLxy().L.empty());
    bundle.*plane = cv::Mat_<float>();
    EXPECT_EQ(ChromaXYZ::Check(&bundle), 5);
    EXPECT_TRUE(bundle.ToLxy().x.empty());
  }
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
}

}  // namespace
}  // namespace multilayer
