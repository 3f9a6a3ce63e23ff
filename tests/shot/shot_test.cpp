// Camera shots: what the setters take, and what the checks refuse.
#include "multilayer/shot/shot.h"

#include <cstring>
#include <functional>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include "tests/support/log_recorder.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using testing::LogRecorder;

TEST(Shot, KeepsCopiesAndOverwritesThemInPlace) {
  LogRecorder log;
  DeviceRecord device = {"camera", 1, "lens", 2};
  device.id[63] = 'x';  // all 136 bytes
  Shot shot;
  EXPECT_EQ(shot.SetCapture({1, 2, 3, 4, 5}), 0);
  EXPECT_EQ(shot.SetColor(COLOR_RED), 0);
  EXPECT_EQ(shot.SetDevice(device), 0);
  EXPECT_EQ(shot.SetLayer({1, 0.5F, 128}), 0);
  EXPECT_EQ(shot.SetLedPanel({1, 2, 3, 4, 5, 0.6F}), 0);
  EXPECT_EQ(shot.SetPartition({0, 0, 4, 3, 8, 6}), 0);
  EXPECT_THAT(log.TakeInfos(),
              ElementsAre("Shot::SetCapture", "Shot::SetColor", "Shot::SetDevice", "Shot::SetLayer",
                          "Shot::SetLedPanel", "Shot::SetPartition"));
  EXPECT_EQ(std::memcmp(shot.device.get(), &device, sizeof device), 0);
  EXPECT_TRUE(shot.capture->filter == 5 && shot.layer->value == 128 && shot.part->screen_h == 6);
  const int32_t* color = shot.color.get();
  EXPECT_EQ(shot.SetColor(COLOR_BLUE), 0);
  EXPECT_EQ(*color, COLOR_BLUE);

  EXPECT_EQ(shot.SetLedPanel({9, 1, 1, 0, 1, 1}), 106);
  EXPECT_EQ(shot.SetLedPanel({9, 1, 1, 1, -1, 1}), 106);
  EXPECT_EQ(shot.panel->type, 1) << "the earlier one stays";
  EXPECT_THAT(log.TakeErrors(), ElementsAre("Shot::SetLedPanel--Error :: invalid panel_wh",
                                            "Shot::SetLedPanel--Error :: invalid panel_wh"));
}

TEST(Shot, TakesPartitionsThatLieOnTheirScreen) {
  const std::pair<PartRecord, bool> cases[] = {
      {{0, 0, 1920, 1080, 1920, 1080}, true}, {{1919, 1079, 1, 1, 1920, 1080}, true},
      {{1, 0, 1920, 9, 1920, 9}, false},      {{0, 1, 9, 1080, 9, 1080}, false},
      {{-1, 0, 10, 10, 20, 20}, false},       {{0, -1, 10, 10, 20, 20}, false},
      {{0, 0, 0, 10, 20, 20}, false},         {{0, 0, 10, 0, 20, 20}, false},
      {{20, 0, 1, 1, 20, 20}, false},         {{0, 0, 1, 1, 20, 0}, false},
      {{1, 0, INT32_MAX, 1, 9, 9}, false},
  };
  for (const auto& [part, taken] : cases) {
    LogRecorder log;
    Shot shot;
    EXPECT_EQ(shot.SetPartition(part), taken ? 0 : 108);
    EXPECT_EQ(shot.part != nullptr, taken) << part.x << ", " << part.y;
    EXPECT_EQ(
        log.TakeErrors(),
        std::vector<std::string>(
            taken ? 0 : 1, "Shot::SetPartition--Error :: invalid screen wh or partition xywh"));
  }
}

constexpr uint32_t kEveryCheck = 0x111137;

Shot Complete() {
  Shot shot;
  shot.SetColor(COLOR_RED);
  shot.SetDevice({});
  shot.SetLedPanel({1, 1, 1, 1, 1, 1});
  shot.pattern = std::make_unique<PatternRecord>();
  shot.type = CIE_Y;
  shot.image = cv::Mat::zeros(3, 4, CV_32FC1);
  return shot;
}

TEST(ShotCheck, NamesTheFirstTestThatFails) {
  const struct {
    uint32_t bit;
    std::function<void(Shot&)> spoil;
    int32_t status;
    const char* message;
  } cases[] = {
      // in the order of testing
      {0x2, [](Shot& shot) { shot.image.release(); }, 1, "Error shot.image is empty"},
      {0x4, [](Shot& shot) { shot.type = CAM_RGB; }, 110, "Error ::  only support single channel"},
      {0x100, [](Shot& shot) { shot.color.reset(); }, 111,
       "Error :: meta::color info incompleted."},
      {0x1000, [](Shot& shot) { shot.device.reset(); }, 105,
       "Error :: meta::device info incompleted."},
      {0x10000, [](Shot& shot) { shot.pattern.reset(); }, 104,
       "Error ::  pattern meta info incompleted."},
      {0x100000, [](Shot& shot) { shot.panel.reset(); }, 106,
       "Error ::  panel meta info incompleted."},
  };
  LogRecorder log;
  const Shot sound = Complete();
  EXPECT_EQ(Shot::Check(kEveryCheck, &sound), 0);
  Shot spoilt = Complete();
  for (auto at = std::rbegin(cases); at != std::rend(cases); ++at) {  // an earlier test wins
    at->spoil(spoilt);
    EXPECT_EQ(Shot::Check(kEveryCheck, &spoilt), at->status);
    EXPECT_EQ(Shot::Check(at->bit, &spoilt), at->status);
    const std::string line = std::string("Shot::Check--") + at->message;
    EXPECT_THAT(log.TakeErrors(), ElementsAre(line, line));
  }
  EXPECT_EQ(Shot::Check(~0x111106U, &spoilt), 0) << "other bits test nothing";
  for (const int32_t type : {CIE_X, CIE_Y, CIE_Z, CAM_R, CAM_G, CAM_B}) {
    spoilt.type = type;
    EXPECT_EQ(Shot::Check(0x4, &spoilt), 0) << type;
  }
}

TEST(ShotCheck, OfTwoTestsTheSecondThenTheFirstThenThePair) {
  LogRecorder log;
  Shot a = Complete();
  Shot b = Complete();
  EXPECT_EQ(Shot::Check(kEveryCheck, &a, &b), 0);
  EXPECT_EQ(Shot::Check(0x1, nullptr, nullptr), 1);
  EXPECT_THAT(log.TakeErrors(), ElementsAre("Shot::Check--Error in Shot input is nullptr"));
  b.image = cv::Mat::zeros(4, 3, CV_32FC1);
  EXPECT_EQ(Shot::Check(kEveryCheck, &a, &b), 101);
  b.type = CIE_X;
  EXPECT_EQ(Shot::Check(kEveryCheck, &a, &b), 101);
  a.color.reset();
  EXPECT_EQ(Shot::Check(kEveryCheck, &a, &b), 111);
  b.device.reset();
  EXPECT_EQ(Shot::Check(kEveryCheck, &a, &b), 105);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("Shot::Check--Error :: image size mismatch.",
                          "Shot::Check--Error :: meta::type mismatch.",
                          "Shot::Check--Error :: meta::color info incompleted.",
                          "Shot::Check--Error :: meta::device info incompleted."));
}

}  // namespace
}  // namespace multilayer
