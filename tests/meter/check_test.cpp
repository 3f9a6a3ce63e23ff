// LedMeter::Check: every test of the mask, its status and message, and the order of the tests.
#include <functional>

#include <gmock/gmock.h>

#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogRecorder;
using testing::MakeMeter;

const std::string kPrefix = "LedMeter::Check--Error in LedMeter ";

// A record that passes every test of a single record.
LedMeter Sound() {
  LedMeter meter = MakeMeter({3, 2}, COLOR_GREEN, {1, 0.5F, 128}, 1.0F);
  meter.pos = cv::Mat(2, 3, CV_32FC2, cv::Scalar::all(0));
  return meter;
}

struct Step {
  uint32_t bit;
  const char* message;
  int32_t status;
  std::function<void(LedMeter&)> spoil;
};

void ExpectRefused(const Step& step, int32_t status, LogRecorder& log) {
  EXPECT_EQ(status, step.status);
  EXPECT_THAT(log.TakeErrors(), ElementsAre(kPrefix + step.message));
}

const Step kSingle[] = {
    {CHECK_PART, "part is nullptr", 9, [](LedMeter& m) { m.part.reset(); }},
    {CHECK_LAYER, "layer is nullptr", 9, [](LedMeter& m) { m.layer.reset(); }},
    {CHECK_CHROMA, "chroma is empty", 12, [](LedMeter& m) { m.chroma.release(); }},
    {CHECK_POS, "pos is empty", 12, [](LedMeter& m) { m.pos.release(); }},
    {CHECK_STATE, "state is empty", 12, [](LedMeter& m) { m.state.release(); }},
    {CHECK_TYPE, "input type", 9, [](LedMeter& m) { m.type = 3; }},
    {CHECK_COLOR, "input color", 9, [](LedMeter& m) { m.color = 0; }},
};

constexpr uint32_t kEverySingle = CHECK_NOT_NULL | CHECK_PART | CHECK_LAYER | CHECK_CHROMA |
                                  CHECK_POS | CHECK_STATE | CHECK_TYPE | CHECK_COLOR;

TEST(LedMeterCheck, EachSingleTestFindsItsOwnFaultAlone) {
  const LedMeter sound = Sound();
  LogRecorder log;
  EXPECT_EQ(LedMeter::Check(kEverySingle, &sound), 0);
  for (const Step& step : kSingle) {
    SCOPED_TRACE(step.message);
    LedMeter spoiled = Sound();
    step.spoil(spoiled);
    EXPECT_EQ(LedMeter::Check(kEverySingle & ~step.bit, &spoiled), 0);
    EXPECT_THAT(log.TakeErrors(), IsEmpty());
    ExpectRefused(step, LedMeter::Check(step.bit, &spoiled), log);
    ExpectRefused(step, LedMeter::Check(step.bit, &sound, &spoiled), log);
    ExpectRefused(step, LedMeter::Check(step.bit, &sound, &sound, &spoiled), log);
  }
}

TEST(LedMeterCheck, TheFirstOfSeveralSingleFaultsIsReported) {
  LedMeter worst = Sound();
  uint32_t mask = CHECK_NOT_NULL;
  for (const Step& step : kSingle) {
    step.spoil(worst);
    mask |= step.bit;
  }
  LogRecorder log;
  for (const Step& step : kSingle) {
    ExpectRefused(step, LedMeter::Check(mask, &worst), log);
    mask &= ~step.bit;
  }
  EXPECT_EQ(LedMeter::Check(mask, &worst), 0);
}

TEST(LedMeterCheck, ANullRecordIsOne) {
  const LedMeter sound = Sound();
  LogRecorder log;
  const Step null = {CHECK_NOT_NULL, "input is nullptr", 1, {}};
  ExpectRefused(null, LedMeter::Check(UINT32_MAX, nullptr), log);
  ExpectRefused(null, LedMeter::Check(kEverySingle, &sound, nullptr), log);
  ExpectRefused(null, LedMeter::Check(kEverySingle, nullptr, &sound), log);
  ExpectRefused(null, LedMeter::Check(kEverySingle, &sound, &sound, nullptr), log);
  EXPECT_EQ(LedMeter::Check(0, nullptr), 0);
}

TEST(LedMeterCheck, TypesAndColoursAreOneBitOfThree) {
  LogRecorder log;
  for (int32_t code = -1; code < 130; ++code) {
    LedMeter meter = Sound();
    meter.type = meter.color = code;
    const int32_t expected = code == 1 || code == 2 || code == 4 ? 0 : 9;
    EXPECT_EQ(LedMeter::Check(CHECK_TYPE, &meter), expected) << code;
    EXPECT_EQ(LedMeter::Check(CHECK_COLOR, &meter), expected) << code;
  }
}

// Tests of pairs, in their order; the second record is spoiled. Neighbours that exclude each other
// (types differ, types equal) stand in different lists.
const std::vector<Step> kDiffering = {
    {CHECK_SAME_TYPE, "input type different", 9, [](LedMeter& m) { m.type = CIE_X; }},
    {CHECK_SAME_COLOR, "input color different", 9, [](LedMeter& m) { m.color = COLOR_RED; }},
    {CHECK_SAME_CHROMA_SIZE, "input chroma size different", 9,
     [](LedMeter& m) { m.chroma = m.chroma.reshape(1, 3); }},
    {CHECK_SAME_POS_SIZE, "input pos size different", 9,
     [](LedMeter& m) { m.pos = m.pos.reshape(2, 3); }},
    {CHECK_SAME_STATE_SIZE, "input state size different", 9,
     [](LedMeter& m) { m.state = m.state.reshape(1, 3); }},
    {CHECK_CIE_Y, "input type not CIE_Y", 9, [](LedMeter& m) { m.type = CIE_Z; }},
    {CHECK_SAME_LAYER_VALUE, "layer value not same.", 9, [](LedMeter& m) { ++m.layer->value; }},
    {CHECK_SAME_LAYER_NORMS, "layer linera_norms not same.", 9,
     [](LedMeter& m) { m.layer->linear_norms = 0.50001F; }},
};
const auto kUnchanged = [](LedMeter&) {};
const std::vector<Step> kEqual = {
    {CHECK_DIFFERENT_TYPE, "input type same", 9, kUnchanged},   kDiffering[2], kDiffering[4],
    {CHECK_DIFFERENT_COLOR, "input color same", 9, kUnchanged}, kDiffering[6],
};
const std::vector<Step> kEqualTypes = {
    {CHECK_DIFFERENT_TYPE, "input type same", 9, kUnchanged},
    kDiffering[1],
};
const std::vector<Step> kEqualColours = {
    kDiffering[4],
    {CHECK_DIFFERENT_COLOR, "input color same", 9, kUnchanged},
    kDiffering[5],
};

TEST(LedMeterCheck, PairsAreTestedInOrder) {
  const LedMeter sound = Sound();
  LogRecorder log;
  for (const std::vector<Step>& steps : {kDiffering, kEqual, kEqualTypes, kEqualColours}) {
    LedMeter other = Sound();
    uint32_t mask = kEverySingle;
    for (const Step& step : steps) {
      step.spoil(other);
      mask |= step.bit;
    }
    for (const Step& step : steps) {
      SCOPED_TRACE(step.message);
      ExpectRefused(step, LedMeter::Check(mask, &sound, &other), log);
      mask &= ~step.bit;
    }
    EXPECT_EQ(LedMeter::Check(mask, &sound, &other), 0);
    EXPECT_THAT(log.TakeErrors(), IsEmpty());
  }
}

TEST(LedMeterCheck, EachPairTestFindsItsOwnFaultAlone) {
  constexpr uint32_t kEverySame = CHECK_SAME_TYPE | CHECK_SAME_COLOR | CHECK_SAME_CHROMA_SIZE |
                                  CHECK_SAME_POS_SIZE | CHECK_SAME_STATE_SIZE | CHECK_CIE_Y |
                                  CHECK_SAME_LAYER_VALUE | CHECK_SAME_LAYER_NORMS;
  const LedMeter sound = Sound();
  LogRecorder log;
  for (const Step& step : kDiffering) {
    SCOPED_TRACE(step.message);
    LedMeter other = Sound();
    EXPECT_EQ(LedMeter::Check(kEverySame, &sound, &other), 0);
    step.spoil(other);
    // A type other than Y is a different type as well.
    const bool of_type = step.bit == CHECK_SAME_TYPE || step.bit == CHECK_CIE_Y;
    const uint32_t rest = kEverySame & ~(of_type ? CHECK_SAME_TYPE | CHECK_CIE_Y : step.bit);
    EXPECT_EQ(LedMeter::Check(rest, &sound, &other), 0);
    ExpectRefused(step, LedMeter::Check(step.bit, &sound, &other), log);
    ExpectRefused(step, LedMeter::Check(step.bit, &other, &sound), log);
  }
}

TEST(LedMeterCheck, TheEnginesMaskComparesNeitherColoursNorTypes) {
  const LedMeter a = Sound();
  LedMeter b = Sound();
  b.type = CIE_X;
  LedMeter c = Sound();
  c.color = COLOR_RED;
  EXPECT_EQ(LedMeter::Check(0xF1007, &a, &a, &a), 0);
  EXPECT_EQ(LedMeter::Check(0xF1007, &a, &b, &c), 0);
}

TEST(LedMeterCheck, TriplesCompareTheSecondAndThirdByTypeAndColourAlone) {
  const auto with = [](int32_t type, int32_t color) {
    LedMeter meter = Sound();
    meter.type = type;
    meter.color = color;
    return meter;
  };
  const LedMeter a = with(1, 1);
  const LedMeter b = with(2, 2);
  const LedMeter c = with(4, 4);
  LogRecorder log;
  EXPECT_EQ(LedMeter::Check(0x441, &a, &b, &c), 0);
  const Step same_color = {0x401, "input color same", 9, {}};
  const Step same_type = {0x41, "input type same", 9, {}};
  for (const Step& step : {same_color, same_type}) {
    ExpectRefused(step, LedMeter::Check(step.bit, &a, &b, &b), log);  // 1, 2, 2
    ExpectRefused(step, LedMeter::Check(step.bit, &a, &b, &a), log);
    ExpectRefused(step, LedMeter::Check(step.bit, &a, &a, &b), log);
  }
  ExpectRefused(same_type, LedMeter::Check(0x441, &a, &b, &b), log);  // both: the type comes first

  // The pair (a, b) is finished before c is looked at.
  LedMeter empty = Sound();
  empty.chroma.release();
  LedMeter other_layer = Sound();
  other_layer.layer->value = 1;
  const LedMeter sound = Sound();
  const Step layer = {0x40003, "layer value not same.", 9, {}};
  ExpectRefused(layer, LedMeter::Check(layer.bit, &sound, &other_layer, &empty), log);
}

}  // namespace
}  // namespace multilayer
