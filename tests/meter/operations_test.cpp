// Repairing, aligning, drawing and averaging measurements.
#include <cmath>
#include <filesystem>
#include <limits>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "multilayer/meter/led_meter.h"
#include "tests/golden/images.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogRecorder;
using testing::MakeDiscontinuous;
using testing::MakeMeter;
using testing::SameBits;
using testing::TempFolder;

// 1, 2, 3, ... row by row, as the middle of a larger matrix, so that rows do not follow each other.
LedMeter Counted(int rows, int cols) {
  LedMeter meter = MakeMeter({cols, rows}, COLOR_RED, {}, 0);
  meter.chroma = cv::Mat(rows, cols + 2, CV_32FC1).colRange(1, cols + 1);
  for (int i = 0; i < rows * cols; ++i) {
    meter.chroma.at<float>(i / cols, i % cols) = static_cast<float>(i + 1);
  }
  return meter;
}

TEST(FixDeadPoint, GivesDeadLedsTheMedianAroundThem) {
  LogRecorder log;
  LedMeter meter = Counted(3, 3);
  meter.chroma.at<float>(0, 0) = 1000;
  meter.chroma.at<float>(1, 1) = -1000;
  cv::Mat expected = meter.chroma.clone();
  meter.state.at<uint8_t>(0, 0) = LED_DEAD | LED_USABLE;
  meter.state.at<uint8_t>(1, 1) = LED_DEAD;
  expected.at<float>(0, 0) = 4;  // of -1000 2 2 4 4 1000 1000 1000 1000: the border repeats
  expected.at<float>(1, 1) = 6;  // of -1000 2 3 4 6 7 8 9 1000: both from the values before
  EXPECT_EQ(meter.FixDeadPoint(), 0);
  EXPECT_TRUE(SameBits(meter.chroma, expected));
  EXPECT_EQ(meter.state.at<uint8_t>(1, 1), LED_DEAD);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  meter.chroma.at<float>(1, 1) = NAN;
  meter.chroma.at<float>(2, 2) = NAN;
  EXPECT_EQ(meter.FixDeadPoint(), 0);
  EXPECT_EQ(meter.chroma.at<float>(1, 1), 6) << "of 2 3 4 4 6 7 8 NaN NaN";
}

// One or two in a row, at all places: states are looked at eight at a time. Other marks do not count.
TEST(FixDeadPoint, FindsEveryDeadLedAndNoOther) {
  for (const int cols : {1, 7, 8, 9, 21}) {
    for (int pair = 0; pair < cols * cols; ++pair) {
      LedMeter meter = Counted(2, cols);
      meter.state.setTo(0xFF ^ LED_DEAD);
      MakeDiscontinuous(meter.state);
      cv::Mat median;
      cv::medianBlur(meter.chroma, median, 3);
      cv::Mat expected = meter.chroma.clone();
      for (const int col : {pair / cols, pair % cols}) {
        meter.state.at<uint8_t>(1, col) = 0xFF;
        expected.at<float>(1, col) = median.at<float>(1, col);
      }
      EXPECT_EQ(meter.FixDeadPoint(), 0);
      EXPECT_TRUE(SameBits(meter.chroma, expected)) << pair << " of " << cols;
    }
  }
}

TEST(FixDeadPoint, TakesAllMediansFromBeforeTheRepair) {
  LedMeter meter = Counted(5, 4);
  cv::randShuffle(meter.chroma);
  meter.state.setTo(LED_DEAD);
  cv::Mat expected;
  cv::medianBlur(meter.chroma, expected, 3);
  EXPECT_EQ(meter.FixDeadPoint(), 0);
  EXPECT_TRUE(SameBits(meter.chroma, expected));
}

TEST(Align, BringsTheMeanOfAllLedsToTheTargetOfTheType) {
  const float target[] = {10, 100, 1000};
  const std::pair<int32_t, double> cases[] = {
      {CIE_X, 10}, {CIE_Y, 100}, {CIE_Z, 1000}, {CAM_R, 1000}};
  const int32_t value = 1;
  for (const auto& [type, mean] : cases) {
    LedMeter meter = Counted(3, 5);
    meter.type = type;
    const int32_t* alone = &value;  // a point or a radius alone is none
    EXPECT_EQ(meter.Align(target, type == CIE_X ? alone : nullptr, type == CIE_Y ? alone : nullptr),
              0);
    EXPECT_EQ(meter.chroma.at<float>(2, 4), 15 * static_cast<float>(mean / 8)) << type;
    EXPECT_NEAR(cv::mean(meter.chroma)[0], mean, 1e-4 * mean);
  }
  LedMeter dark = Counted(1, 1);
  dark.chroma.at<float>(0, 0) = 0;
  EXPECT_EQ(dark.Align(target, nullptr, nullptr), 0);
  EXPECT_TRUE(std::isnan(dark.chroma.at<float>(0, 0)));
}

// Large values that cancel leave what the order of the sum leaves: 1e16 + 1 is 1e16 in double, and
// 2^24 + 1 is 2^24 in float.
TEST(Align, SumsSixteenColumnsApartInDouble) {
  constexpr float kLarge = 1e16F;
  constexpr float kFloatLimit = 16777216;
  const struct {
    int cols;
    std::vector<std::pair<int, float>> values;  // in the last of two rows; 0 elsewhere
    double sum;
  } cases[] = {
      {17,
       {{0, kLarge}, {1, 1}, {8, 1}, {16, -kLarge}},
       2},                                                   // each to a sum of its own, but for 16
      {16, {{0, kLarge}, {1, 1}, {2, -kLarge}, {3, 1}}, 1},  // the sums in their order
      {33, {{0, kFloatLimit}, {16, 1}, {32, -kFloatLimit}}, 1},
      {50, {{47, 5}, {48, 6}, {49, 7}}, 18},
  };
  const float target[] = {0, 100, 0};
  for (const auto& [cols, values, sum] : cases) {
    LedMeter meter = Counted(2, cols);
    meter.chroma.setTo(0);
    for (const auto& [col, value] : values) {
      meter.chroma.at<float>(1, col) = value;
    }
    EXPECT_EQ(meter.Align(target, nullptr, nullptr), 0);
    const auto& [col, value] = values[1];
    EXPECT_EQ(meter.chroma.at<float>(1, col), value * static_cast<float>(100 * 2 * cols / sum));
  }
}

// 4 x 4 LEDs of 1 ... 16, columns and rows from 0.
TEST(Align, TakesTheMeanOfADiscThatLiesInThePartition) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  const struct {
    int32_t x, y, radius;
    float sum, count;  // of the cells within radius + 0.5; 0 for a disc that is refused
  } cases[] = {
      {2, 1, 0, 7, 1},
      {1, 1, 1, 1 + 2 + 3 + 5 + 6 + 7 + 9 + 10 + 11, 9},  // the corners are sqrt(2) away
      {2, 2, 2, 136 - 1, 15},                             // clipped; (0, 0) is sqrt(8) away
      {3, 3, 1, 11 + 12 + 15 + 16, 4},
      {0, 1, 1, 0, 0},
      {1, 0, 1, 0, 0},
      {4, 1, 1, 0, 0},
      {1, 4, 1, 0, 0},
      {4, 1, 0, 0, 0},  // at the border, but without a cell
      {1, 1, -1, 0, 0},
      {kMax, kMax, kMax, 0, 0},
      {-kMax - 1, 1, -kMax - 1, 0, 0},
  };
  const float target[] = {0, 100, 0};
  for (const auto& [x, y, radius, sum, count] : cases) {
    SCOPED_TRACE(::testing::Message() << x << ", " << y << " radius " << radius);
    LogRecorder log;
    LedMeter meter = Counted(4, 4);
    const int32_t point[] = {x, y};
    EXPECT_EQ(meter.Align(target, point, &radius), count > 0 ? 0 : 405);
    EXPECT_EQ(meter.chroma.at<float>(2, 1), 10 * (count > 0 ? 100 / (sum / count) : 1));
    EXPECT_EQ(log.TakeErrors(),
              std::vector<std::string>(
                  count > 0 ? 0 : 1, "LedMeter::Align--Error :: in_point or in_radius is invalid"));
  }
}

TEST(ExportPointImage, DrawsTheColumnsOfThePositions) {
  const TempFolder folder;
  LedMeter meter;
  meter.pos =
      (cv::Mat_<cv::Vec2f>(1, 3) << cv::Vec2f(0, 900), cv::Vec2f(100, 1), cv::Vec2f(200, 1));
  EXPECT_EQ(meter.ExportPointImage(folder / "pos.png"), 0);
  EXPECT_TRUE(SameBits(cv::imread(folder / "pos.png", cv::IMREAD_UNCHANGED),
                       (cv::Mat_<uint8_t>(1, 3) << 0, 128, 255)));
  LogRecorder log;
  for (const char* name : {"pos", "pos.none", "pos.EXR", "pos.exr~", "none/pos.png"}) {
    EXPECT_EQ(meter.ExportPointImage(folder / name), 4) << name;
    EXPECT_EQ(log.TakeErrors().size(), 1U);
  }
}

TEST(MeterOperations, RefuseMatricesThatTheyCannotWorkOn) {
  LogRecorder log;
  const float target[] = {1, 1, 1};
  LedMeter meter;
  EXPECT_EQ(meter.FixDeadPoint(), 5);
  EXPECT_EQ(meter.Align(target, nullptr, nullptr), 5);
  EXPECT_EQ(meter.ExportPointImage("a.png"), 5);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("LedMeter::Align--Error :: chroma empty",
                                            "LedMeter::Align--Error :: chroma empty",
                                            "LedMeter::ExportPointImage--Error :: empty"));
  meter = Counted(2, 2);
  EXPECT_EQ(meter.Align(nullptr, nullptr, nullptr), 1);
  meter.state = cv::Mat::ones(2, 3, CV_8UC1);
  EXPECT_EQ(meter.FixDeadPoint(), 9);
  meter.chroma = cv::Mat::ones(2, 2, CV_64FC1);
  meter.pos = cv::Mat::ones(2, 2, CV_64FC2);
  EXPECT_EQ(meter.FixDeadPoint(), 9);
  EXPECT_EQ(meter.Align(target, nullptr, nullptr), 9);
  EXPECT_EQ(meter.ExportPointImage("a.png"), 9);
  EXPECT_EQ(log.TakeErrors().size(), 5U);
}

class MeterMean : public ::testing::Test {
 protected:
  std::string Save(const std::string& name, const LedMeter& meter) {
    EXPECT_EQ(meter.Save(folder_ / name), 0);
    return folder_ / name;
  }
  std::string Save(const std::string& name, float value) {
    return Save(name, MakeMeter({2, 1}, COLOR_RED, {0, 0, static_cast<int32_t>(value)}, value));
  }

  const TempFolder folder_;
  const std::string output_ = folder_ / "mean.meter";
};

TEST_F(MeterMean, AveragesChromaAndKeepsTheRestOfTheFirst) {
  LogRecorder log;
  EXPECT_EQ(
      LedMeter::MeterMean({Save("a.meter", 1), Save("b.meter", 2), Save("c.meter", 6)}, 3, output_),
      0);
  LedMeter mean;
  EXPECT_EQ(mean.Load(output_), 0);
  EXPECT_TRUE(SameBits(mean.chroma, (cv::Mat_<float>(1, 2) << 3, 3)));
  EXPECT_TRUE(SameBits(mean.state, (cv::Mat_<uint8_t>(1, 2) << LED_USABLE, LED_USABLE)));
  EXPECT_EQ(mean.layer->value, 1);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
}

TEST_F(MeterMean, RefusesWhatDoesNotBelongTogether) {
  const std::string first = Save("a.meter", 1);
  LedMeter color = MakeMeter({2, 1}, COLOR_BLUE, {}, 1);
  LedMeter type = MakeMeter({2, 1}, COLOR_RED, {}, 1);
  type.type = CIE_X;
  LedMeter doubles = MakeMeter({2, 1}, COLOR_RED, {}, 1);
  doubles.chroma.convertTo(doubles.chroma, CV_64F);
  const struct {
    std::string second;
    int32_t count;
    int32_t status;
    const char* error;  // behind "LedMeter::MeterMean--Error "
  } cases[] = {
      {"none", 3, 471, "in file num"},
      {"", 2, 1, nullptr},
      {Save("color.meter", color), 2, 9, "files are not in same color"},
      {Save("type.meter", type), 2, 9, "files are not in same type"},
      {Save("size.meter", MakeMeter({1, 2}, COLOR_RED, {}, 1)), 2, 9, "files are not in same size"},
      {Save("doubles.meter", doubles), 2, 9, "chroma is not a matrix of 32-bit floats"},
  };
  for (const auto& [second, count, status, error] : cases) {
    SCOPED_TRACE(second);
    LogRecorder log;
    EXPECT_EQ(LedMeter::MeterMean({first, second}, count, output_), status);
    EXPECT_EQ(log.TakeErrors(),
              std::vector<std::string>(
                  error == nullptr ? 0 : 1,
                  std::string("LedMeter::MeterMean--Error ") + (error == nullptr ? "" : error)));
    EXPECT_EQ(log.TakeInfos().empty(), status == 471) << "whether a file was opened";
  }
  LogRecorder log;
  EXPECT_EQ(LedMeter::MeterMean({}, 0, output_), 471);
  EXPECT_EQ(LedMeter::MeterMean({first, folder_ / "none.meter"}, 2, output_), 2);
  EXPECT_FALSE(std::filesystem::exists(output_));
  EXPECT_EQ(LedMeter::MeterMean({first}, 1, folder_ / "mean.wrong"), 8);
}

}  // namespace
}  // namespace multilayer
