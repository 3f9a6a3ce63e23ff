// Measuring shot by shot: where the values go, and which shots are refused.
#include <functional>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "multilayer/meter/led_meter.h"
#include "multilayer/shot/shot.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogRecorder;
using testing::SameBits;

// A shot of 8 x 9 LEDs that lights 4 x 3 of them, from column `x` and row `y` on, and what was
// found in it: values that tell the LEDs apart.
struct Sample {
  Shot shot;
  cv::Mat pos[2];
  cv::Mat chroma[2];

  explicit Sample(int32_t x = 1, int32_t y = 0) {
    shot.SetPartition({0, 0, 8, 9, 8, 9});
    shot.SetLayer({2, 0.5F, 128});
    shot.SetColor(COLOR_RED);
    shot.pattern = std::make_unique<PatternRecord>(PatternRecord{0, 2, 3, x, y, 4, 3});
    shot.type = CIE_Y;
    pos[0] = cv::Mat::ones(1, 1, CV_8UC1);
    pos[1].create(3, 4, CV_32FC2);
    chroma[0].create(3, 4, CV_8UC1);
    chroma[1].create(3, 4, CV_32FC1);
    for (int row = 0; row < 3; ++row) {
      for (int col = 0; col < 4; ++col) {
        const float led = static_cast<float>(100 * (y + 3 * row) + x + 2 * col + 1);
        pos[1].at<cv::Vec2f>(row, col) = {led, -led};
        chroma[0].at<uint8_t>(row, col) = LED_USABLE;
        chroma[1].at<float>(row, col) = led;
      }
    }
  }
  int32_t AddTo(LedMeter& meter) const { return meter.Add(&shot, pos, chroma); }
};

TEST(Add, FillsTheLitLedsAndLeavesTheOthersZero) {
  LogRecorder log;
  LedMeter meter;
  EXPECT_EQ(Sample().AddTo(meter), 0);
  cv::Mat expected = cv::Mat::zeros(9, 8, CV_32FC1);
  for (const int row : {0, 3, 6}) {
    for (const int col : {1, 3, 5, 7}) {
      expected.at<float>(row, col) = static_cast<float>(100 * row + col + 1);
    }
  }
  cv::Mat points;
  cv::merge(std::vector<cv::Mat>{expected, 0 - expected}, points);
  EXPECT_TRUE(SameBits(meter.chroma, expected));
  EXPECT_TRUE(SameBits(meter.state, (expected != 0) & LED_USABLE));
  EXPECT_EQ(cv::norm(meter.pos, points), 0);
  EXPECT_TRUE(SameBits(meter.added, (cv::Mat_<uint8_t>(3, 2) << 1, 0, 1, 1, 1, 1)));
  EXPECT_TRUE(meter.color == COLOR_RED && meter.type == CIE_Y);
  EXPECT_TRUE(meter.part->w == 8 && meter.layer->value == 128 && meter.panel == nullptr);

  for (const auto& [x, y] : {std::pair(0, 0), {0, 1}, {1, 1}, {0, 2}, {1, 2}}) {
    EXPECT_EQ(Sample(x, y).AddTo(meter), 0);
  }
  EXPECT_EQ(cv::countNonZero(meter.added), 0);
  EXPECT_EQ(cv::countNonZero(meter.chroma), 72) << "complete";
  EXPECT_EQ(meter.chroma.at<float>(8, 0), 801);
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
}

TEST(Add, TakesInputsThatStandInTheRecord) {
  const Sample sample;
  LedMeter expected;
  ASSERT_EQ(sample.AddTo(expected), 0);
  LedMeter meter;
  meter.state = sample.pos[0];
  meter.pos = sample.pos[1];  // which follows the state: two matrices
  ASSERT_EQ(&meter.state + 1, &meter.pos);
  ASSERT_EQ(meter.Add(&sample.shot, &meter.state, sample.chroma), 0);
  EXPECT_EQ(cv::norm(meter.pos, expected.pos), 0);
}

TEST(Add, BeginsAnewOverAnEarlierMeasurement) {
  LedMeter meter;
  meter.panel = std::make_unique<PanelRecord>();
  meter.pos = cv::Mat::ones(1, 1, CV_32FC2);
  const Sample sample;
  EXPECT_EQ(meter.Add(&sample.shot, nullptr, sample.chroma), 0);
  EXPECT_EQ(meter.panel, nullptr) << "the shot has none";
  EXPECT_EQ(meter.pos.rows, 1) << "untouched without a pos input";
  // One input alone is as large as it is: only the partition bounds it.
  LedMeter smaller;
  const cv::Mat chroma[] = {cv::Mat::ones(1, 1, CV_8UC1), cv::Mat::ones(1, 1, CV_32FC1)};
  EXPECT_EQ(smaller.Add(&sample.shot, nullptr, chroma), 0);
  EXPECT_EQ(cv::countNonZero(smaller.chroma), 1);
}

enum Stage { ANY, FIRST, FURTHER };

constexpr const char* kLighted =
    "LedMeter::CheckInput--Error :: mismatch lighted led width and height.";
constexpr const char* kType = "LedMeter::CheckInput--Error :: input matrix type.";
constexpr const char* kSize = "LedMeter::CheckInput--Error :: partition or pattern interval size.";
constexpr const char* kEmpty = "LedMeter::CheckInput--Error :: inpute empty.";
constexpr const char* kSet = "LedMeter::CheckInput--Error :: data not in same set.";

const struct {
  Stage stage;  // which of a record's shots
  std::function<void(Sample&)> spoil;
  int32_t status;
  const char* message;
} kRefusals[] = {
    {ANY, [](Sample& s) { s.shot.image = cv::Mat::zeros(1, 1, CV_8UC3); }, 403,
     "LedMeter::CheckInput--Error :: multi channels"},
    {ANY, [](Sample& s) { s.shot.type = CAM_RGB; }, 110,
     "Shot::Check--Error ::  only support single channel"},
    {ANY, [](Sample& s) { s.shot.color.reset(); }, 111,
     "Shot::Check--Error :: meta::color info incompleted."},
    {ANY, [](Sample& s) { s.shot.pattern.reset(); }, 104,
     "Shot::Check--Error ::  pattern meta info incompleted."},
    {ANY, [](Sample& s) { s.shot.part.reset(); }, 9,
     "LedMeter::CheckInput--Error :: part meta info incompleted."},
    {ANY, [](Sample& s) { s.pos[0].release(); }, 5, kEmpty},
    {ANY, [](Sample& s) { s.chroma[1].release(); }, 5, kEmpty},
    {ANY, [](Sample& s) { s.shot.pattern->lighted_led_w = 3; }, 400, kLighted},
    {ANY, [](Sample& s) { s.pos[1] = s.pos[1].rowRange(0, 2); }, 400, kLighted},
    {ANY, [](Sample& s) { s.chroma[0] = s.chroma[0].colRange(0, 2); }, 400, kLighted},
    {ANY, [](Sample& s) { s.shot.pattern->loc_x = 2; }, 400, kLighted},
    {ANY, [](Sample& s) { s.shot.pattern->loc_y = -1; }, 400, kLighted},
    {ANY, [](Sample& s) { s.pos[1] = cv::Mat(3, 4, CV_32SC2); }, 9, kType},
    {ANY, [](Sample& s) { s.chroma[0] = cv::Mat(3, 4, CV_16UC1); }, 9, kType},
    {ANY, [](Sample& s) { s.chroma[1] = cv::Mat(3, 4, CV_64FC1); }, 9, kType},
    {FIRST, [](Sample& s) { s.shot.part->w = 6; }, 400, kLighted},
    {FIRST, [](Sample& s) { s.shot.part->h = 6; }, 400, kLighted},
    {FIRST, [](Sample& s) { s.shot.pattern->interval_x = 1 << 27; }, 400, kLighted},
    {FIRST, [](Sample& s) { s.shot.pattern->interval_y = 0; }, 400, kLighted},
    {FIRST, [](Sample& s) { s.shot.pattern->interval_x = INT32_MAX; }, 9, kSize},
    {FIRST, [](Sample& s) { s.shot.part->h = 0; }, 9, kSize},
    {FIRST, [](Sample& s) { s.shot.part->h = INT32_MAX; }, 9, kSize},
    {FURTHER, [](Sample& s) { s.shot.SetColor(COLOR_BLUE); }, 102, kSet},
    {FURTHER, [](Sample& s) { s.shot.type = CIE_X; }, 102, kSet},
    {FURTHER, [](Sample& s) { s.shot.part->w = 6; }, 102, kSet},
    {FURTHER, [](Sample& s) { s.shot.pattern->interval_y = 2; }, 102, kSet},
    {FURTHER, [](Sample& s) { s.shot.pattern->loc_x = 1; }, 401,
     "LedMeter::CheckInput--Error :: data has added."},
};

TEST(Add, RefusesByOneLineAndChangesNothing) {
  for (const Stage stage : {FIRST, FURTHER}) {
    for (size_t i = 0; i < std::size(kRefusals); ++i) {
      SCOPED_TRACE(::testing::Message() << "stage " << stage << " row " << i);
      const auto& [at, spoil, status, message] = kRefusals[i];
      if (at != ANY && at != stage) {
        continue;
      }
      LedMeter meter;
      ASSERT_TRUE(stage == FIRST || Sample().AddTo(meter) == 0);
      const cv::Mat added = meter.added.clone();
      const cv::Mat chroma = meter.chroma.clone();
      Sample sample(0, 0);
      spoil(sample);
      LogRecorder log;
      EXPECT_EQ(sample.AddTo(meter), status);
      EXPECT_THAT(log.TakeErrors(), ElementsAre(message));
      EXPECT_EQ(meter.part == nullptr, stage == FIRST);
      EXPECT_TRUE(SameBits(meter.added, added) && SameBits(meter.chroma, chroma));
    }
  }
}

TEST(CheckInput, NeedsAShotAndTheInputsOfTheFirst) {
  LogRecorder log;
  LedMeter meter;
  const Sample sample;
  EXPECT_EQ(meter.CheckInput(nullptr, sample.pos, sample.chroma), 1);
  EXPECT_EQ(meter.CheckInput(&sample.shot, nullptr, nullptr), 1);
  EXPECT_EQ(meter.Add(&sample.shot, sample.pos, nullptr), 1);
  EXPECT_TRUE(meter.added.empty());
  EXPECT_EQ(meter.CheckInput(&sample.shot, sample.pos, nullptr), 0);
  EXPECT_EQ(Sample(0, 0).AddTo(meter), 404);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("LedMeter::CheckInput--Error :: input nullptr.",
                                            "LedMeter::CheckInput--Error :: input nullptr.",
                                            "LedMeter::CheckInput--Error :: input nullptr.",
                                            "LedMeter::CheckInput--Error :: mismatch sequance."));
  // As after loading another file into a started record.
  meter.chroma = cv::Mat::ones(2, 2, CV_32FC1);
  EXPECT_EQ(Sample(0, 0).AddTo(meter), 102);
}

}  // namespace
}  // namespace multilayer
