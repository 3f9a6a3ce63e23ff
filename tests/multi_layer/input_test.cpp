// Input assembly: one consistent set of measurements, or a status that says why not.
#include <functional>

#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"
#include "tests/support/meters.h"

namespace multilayer::testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float kFullScale[3] = {100, 200, 50};
const cv::Size kSize(3, 2);

class Input : public ::testing::Test {
 protected:
  Input() : set_(MakeIdealSet(kSize, parameters_.Layers(), kFullScale)) {
    EXPECT_EQ(parameters_.Set(engine_), 0);
  }
  int32_t Take() { return engine_.SetInput(&set_.red, &set_.green, &set_.blue); }

  LumParameters parameters_;
  MultiLayerCoeff engine_;
  MeterSet set_;
  LogRecorder log_;
};

TEST_F(Input, PreparesEverythingAComputationNeeds) {
  *set_.red[0]->part = {4, 5, 3, 2, 60, 70};
  ASSERT_EQ(Take(), 0);
  EXPECT_EQ(engine_.part_x_y_w_h.x, 4);
  EXPECT_EQ(engine_.part_x_y_w_h.screen_h, 70);
  ASSERT_EQ(engine_.linear_norms_pos.size(), cv::Size(4, 3));
  EXPECT_EQ(engine_.linear_norms_pos.at<double>(2, 1),
            static_cast<double>(set_.blue[1]->layer->linear_norms));
  for (const auto& segments : engine_.response_segments) {
    ASSERT_THAT(segments, SizeIs(4));
    EXPECT_EQ(segments[0].type(), CV_32FC2);
    EXPECT_EQ(cv::norm(segments[3], cv::NORM_INF), 0);
    EXPECT_NE(segments[0].data, segments[1].data) << "each layer has its own storage";
  }
  for (const auto* list : {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b}) {
    ASSERT_THAT(*list, SizeIs(6));
    EXPECT_TRUE(SameBits((*list)[5], cv::Mat::ones(kSize, CV_32FC1)));
    EXPECT_NE((*list)[0].data, (*list)[1].data);
  }
  EXPECT_EQ(engine_.input_g, &set_.green);
}

TEST_F(Input, FreshCoefficientsReplaceTheStorageOfEarlierOnes) {
  ASSERT_EQ(Take(), 0);
  const cv::Mat earlier = engine_.coef_r[0];
  ASSERT_EQ(Take(), 0);
  EXPECT_NE(engine_.coef_r[0].data, earlier.data);
}

TEST_F(Input, NullLists) {
  EXPECT_EQ(engine_.SetInput(&set_.red, nullptr, &set_.blue), 1);
  EXPECT_THAT(log_.TakeErrors(), ElementsAre("MultiLayerCoeff::SetInput--Error ::  data nullptr."));
}

TEST_F(Input, Refusals) {
  struct Case {
    std::function<void(MeterSet&)> spoil;
    int32_t status;
    std::string message;
  };
  const std::string sizes = "MultiLayerCoeff::SetInput--Error ::  Input data size not same.";
  const Case cases[] = {
      {[](MeterSet& s) { s.red.pop_back(); }, 701, sizes},
      {[](MeterSet& s) { s.green.pop_back(); }, 701, sizes},
      {[](MeterSet& s) { s.blue.push_back(nullptr); }, 701, sizes},
      {[](MeterSet& s) { s.red.clear(), s.green.clear(), s.blue.clear(); }, 701, sizes},
      {[](MeterSet& s) { s.blue[2] = nullptr; }, 1, "input is nullptr"},
      {[](MeterSet& s) { s.green[1]->part.reset(); }, 9, "part is nullptr"},
      {[](MeterSet& s) { s.green[1]->layer.reset(); }, 9, "layer is nullptr"},
      {[](MeterSet& s) { s.red[3]->chroma.release(); }, 12, "chroma is empty"},
      {[](MeterSet& s) { s.red[3]->state.release(); }, 12, "state is empty"},
      {[](MeterSet& s) { s.red[3]->chroma = s.red[3]->chroma.t(); }, 9, "chroma size different"},
      {[](MeterSet& s) { s.green[2]->layer->linear_norms *= 2; }, 9, "linera_norms not same"},
      {[](MeterSet& s) { s.blue[2]->layer->value = 127; }, 702,
       "MultiLayerCoeff::SetInput--Error ::  Capture layer must be equal!"},
      {[](MeterSet& s) {
         for (auto* list : {&s.red, &s.green, &s.blue}) std::swap((*list)[0], (*list)[1]);
       },
       9, "MultiLayerCoeff::Input--Error ::  Input data captureLayer is inconsistent with Param."},
      // What no computation could index.
      {[](MeterSet& s) {
         for (auto* list : {&s.red, &s.green, &s.blue}) (*list)[1]->chroma.create(2, 2, CV_32FC1);
       },
       9, "chroma is not 2 x 3 32-bit floats"},
      {[](MeterSet& s) { s.red[1]->chroma.convertTo(s.red[1]->chroma, CV_64F); }, 9,
       "chroma is not 2 x 3 32-bit floats"},
      {[](MeterSet& s) { s.red[1]->state.create(1, 3, CV_8UC1); }, 9, "state is not 2 x 3 bytes"},
      {[](MeterSet& s) { s.red[0]->part->w = 4; }, 9, "chroma is not 2 x 4"},
      {[](MeterSet& s) { s.red[0]->part->h = -1; }, 9, "partition of 3 x -1"},
      {[](MeterSet& s) { s.red[0]->part->h = s.red[0]->part->w = 65536; }, 9, "partition of"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    set_ = MakeIdealSet(kSize, parameters_.Layers(), kFullScale);
    ASSERT_EQ(Take(), 0);
    engine_.input_r = nullptr;
    engine_.coef_r[0].at<float>(0, 0) = 5;
    c.spoil(set_);
    log_.TakeErrors();
    EXPECT_EQ(Take(), c.status);
    EXPECT_THAT(log_.TakeErrors(), ElementsAre(HasSubstr(c.message)));
    EXPECT_EQ(engine_.input_r, nullptr) << "refused input is not kept";
    EXPECT_EQ(engine_.coef_r[0].at<float>(0, 0), 5) << "earlier coefficients stay";
  }
}

TEST_F(Input, LayersBeforeADifferingOneAreWritten) {
  set_.blue[2]->layer->value = 127;
  ASSERT_EQ(Take(), 702);
  EXPECT_GT(engine_.linear_norms_pos.at<double>(0, 1), 0);
  EXPECT_EQ(engine_.linear_norms_pos.at<double>(0, 2), 0);
}

TEST_F(Input, ASingleRecordComparesNoCounts) {
  set_.red.resize(1);
  set_.green.resize(1);
  set_.blue.resize(1);
  ASSERT_EQ(Take(), 0);
  EXPECT_THAT(engine_.coef_r, IsEmpty());
  EXPECT_THAT(engine_.response_segments, Each(IsEmpty()));
  EXPECT_EQ(engine_.part_x_y_w_h.w, 3);
  set_.green[0]->layer->value = 1;
  EXPECT_EQ(Take(), 9) << "its record check keeps the layer value";
  set_.green.clear();
  EXPECT_EQ(Take(), 701);
}

TEST_F(Input, ALoadedEngineKnowsNoCaptureLevels) {
  MultiLayerCoeff loaded;
  loaded.capture_layer_num = 4;
  EXPECT_EQ(loaded.SetInput(&set_.red, &set_.green, &set_.blue), 9);
  EXPECT_THAT(log_.TakeErrors(), ElementsAre(HasSubstr("captureLayer is inconsistent")));
}

}  // namespace
}  // namespace multilayer::testing
