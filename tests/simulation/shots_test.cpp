// Measuring with sparse shots: what they show, and that they add up to the photograph of all LEDs.
#include <algorithm>
#include <array>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include "simulation/measure.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::simulation {
namespace {

using multilayer::testing::SameBits;

// No multiple of any interval; the interval of 50 columns is wider than it.
constexpr PartRecord kPart = {50, 30, 47, 31, 640, 360};
const cv::Size kIntervals[] = {{3, 3}, {2, 4}, {50, 1}};

class Shots : public ::testing::Test {
 protected:
  Shots() { wall_.dead_fraction = 0.01; }

  Scene SceneOf(cv::Size shots) const {
    return {wall_, Controller(gamma_table_, 16), Camera(camera_), shots};
  }

  const cv::Mat gamma_table_ = MakeGammaTable(256, 16, 2.2);
  testing::LogRecorder log_;
  WallParameters wall_;
  CameraParameters camera_;
};

void ExpectSame(const LedMeter& a, const LedMeter& b) {
  EXPECT_TRUE(SameBits(a.chroma, b.chroma));
  EXPECT_TRUE(SameBits(a.state, b.state));
  EXPECT_TRUE(SameBits(a.pos, b.pos));
  std::vector<uint8_t> bytes[2];
  for (const LedMeter* meter : {&a, &b}) {
    uint64_t size = 0;
    ASSERT_EQ(meter->GetBufferSize(&size), 0);
    std::vector<uint8_t>& buffer = bytes[meter == &a ? 0 : 1];
    buffer.resize(size);
    ASSERT_EQ(meter->ToBuffer(buffer.data(), &size), 0);
  }
  EXPECT_EQ(bytes[0], bytes[1]) << "metadata";
}

// The read noise raises the detection limit to the mean signal: its noise decides an LED's state.
TEST_F(Shots, AddUpToThePhotographOfAllLeds) {
  camera_.read_noise = camera_.electrons / camera_.detection_limit;
  const PartitionTruth truth = MakePartition(wall_, kPart);
  const MeasuredLayers direct = SceneOf({1, 1}).Measure(truth, {64, 255}, {}, 7);
  EXPECT_NEAR(cv::countNonZero(direct[0][0].state == LED_DEAD), 0.5 * kPart.w * kPart.h, 200.0);
  const MeasuredColour white = SceneOf({1, 1}).MeasureWhite(truth, 64);
  for (const cv::Size interval : kIntervals) {
    SCOPED_TRACE(::testing::Message() << interval);
    const Scene scene = SceneOf(interval);
    const MeasuredLayers added = scene.Measure(truth, {64, 255}, {}, 7);
    const MeasuredColour added_white = scene.MeasureWhite(truth, 64);
    for (size_t i = 0; i < 3; ++i) {
      ExpectSame(added_white[i], white[i]);
      for (size_t level = 0; level < 2; ++level) {
        const LedMeter& meter = added[i][level];
        ExpectSame(meter, direct[i][level]);
        const int unlit =
            interval.area() - static_cast<int>(SparsePatterns(kPart, interval).size());
        EXPECT_EQ(meter.added.size(), interval);
        EXPECT_EQ(cv::countNonZero(meter.added), unlit);
      }
    }
  }
}

TEST_F(Shots, GiveTheSameCoefficients) {
  const PartitionTruth truth = MakePartition(wall_, kPart);
  const float full_scale[9] = {270, 0, 0, 660, 0, 0, 70, 0, 0};
  std::vector<uint8_t> files[2];
  for (const int32_t n : {1, 3}) {
    MeasuredLayers measured = SceneOf({n, n}).Measure(truth, {64, 128, 255});
    std::array<std::vector<LedMeter*>, 3> lists;
    std::transform(measured.begin(), measured.end(), lists.begin(), Pointers);
    MultiLayerCoeff engine;
    ASSERT_EQ(
        engine.SetParamLum(gamma_table_, {0.2, 0.2, 0.2}, full_scale, {64, 128, 255}, -1, 4, 16),
        0);
    ASSERT_EQ(engine.Compute(&lists[0], &lists[1], &lists[2]), 0);
    uint64_t size = 0;
    ASSERT_EQ(engine.GetBufferSize(&size), 0);
    files[n / 3].resize(size);
    ASSERT_EQ(engine.ToBuffer(files[n / 3].data(), &size), 0);
  }
  EXPECT_EQ(files[0], files[1]);
}

// Spots of lit LEDs do not touch here, so the pixels around a place are one LED's alone, and what
// they leave of the image is dark.
TEST_F(Shots, ShowTheLitLedsAndNoOthers) {
  const cv::Mat light(kPart.h, kPart.w, CV_64FC1, cv::Scalar(50.0));
  const Subject subject = {wall_, kPart, 1, {0, 0.5F, 128}, light, CIE_Z};
  const Camera camera({});
  const cv::Mat pos = camera.Photograph(subject, 0).pos;
  for (const PatternRecord& pattern : SparsePatterns(kPart, {3, 4})) {
    const SparseShot sparse = camera.Shoot(subject, camera.Meter(subject), pattern, 0);
    constexpr uint32_t kAll = SHOT_CHECK_NOT_NULL | SHOT_CHECK_IMAGE | SHOT_CHECK_SINGLE_CHANNEL |
                              SHOT_CHECK_COLOR | SHOT_CHECK_DEVICE | SHOT_CHECK_PATTERN |
                              SHOT_CHECK_PANEL;
    ASSERT_EQ(Shot::Check(kAll, &sparse.shot), 0);
    EXPECT_EQ(sparse.shot.type, CIE_Z);
    const cv::Mat& values = sparse.chroma_input[1];
    cv::Mat image = sparse.shot.image.clone();
    for (int r = 0; r < values.rows; ++r) {
      for (int c = 0; c < values.cols; ++c) {
        const auto& place = pos.at<cv::Vec2f>(pattern.loc_y + 4 * r, pattern.loc_x + 3 * c);
        const cv::Point centre(cvRound(place[0]), cvRound(place[1]));
        cv::Mat spot = image(cv::Rect(centre - cv::Point(4, 4), cv::Size(9, 9)));
        ASSERT_NEAR(cv::sum(spot)[0], values.at<float>(r, c), 1e-3);
        spot.setTo(0.0);
      }
    }
    EXPECT_EQ(cv::countNonZero(image), 0);
  }
}

// Of a wide partition, perspective moves the outer LEDs by more than the dark margin.
TEST_F(Shots, HoldAllOfAWidePartition) {
  constexpr PartRecord kWide = {0, 0, 3000, 2, 3000, 2};
  const Subject subject = {
      wall_, kWide, 1, {0, 0.5F, 128}, cv::Mat(kWide.h, kWide.w, CV_64FC1, cv::Scalar(50.0))};
  const Camera camera({});
  const PatternRecord all = SparsePatterns(kWide, {1, 1}).front();
  const SparseShot sparse = camera.Shoot(subject, camera.Meter(subject), all, 0);
  EXPECT_NEAR(cv::sum(sparse.shot.image)[0] / cv::sum(sparse.chroma_input[1])[0], 1.0, 1e-5);
}

}  // namespace
}  // namespace multilayer::simulation
