// Parameter setters: what they accept, store and refuse.
#include <functional>
#include <limits>

#include <gmock/gmock.h>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(Parameters, PlainSetterStoresWhatItIsGiven) {
  MultiLayerCoeff engine;
  LumParameters parameters;
  parameters.capture_layers = {255, 32, 128};
  parameters.ratios = {0.1, 0.2, 0.3};
  LogRecorder log;
  ASSERT_EQ(parameters.Set(engine), 0);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("MultiLayerCoeff::SetParam"));
  EXPECT_THAT(log.TakeErrors(), IsEmpty());
  EXPECT_THAT(engine.captureLayer, ElementsAre(255, 32, 128));
  EXPECT_THAT(engine.iterate_layer_order, IsEmpty());
  EXPECT_THAT(engine.rgb_lum_dec_ratio, ElementsAre(0.1, 0.2, 0.3));
  EXPECT_THAT(engine.InitY, ElementsAre(100, 0, 0, 200, 0, 0, 50, 0, 0));
  EXPECT_EQ(engine.capture_layer_num, 3);
  EXPECT_EQ(engine.coef_layer_num, 6);
  EXPECT_EQ(engine.iterate_count, -1);
  EXPECT_EQ(engine.pos_hardware.size(), cv::Size(6, 3));
  EXPECT_EQ(engine.gap_hardware.size(), cv::Size(6, 3));
}

TEST(Parameters, IterativeAndWhiteSettersSortTheCaptureLayers) {
  MultiLayerCoeff engine;
  LumParameters parameters;
  parameters.capture_layers = {255, 32, 128};
  parameters.iterate = 2;
  LogRecorder log;
  ASSERT_EQ(parameters.Set(engine), 0);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("MultiLayerCoeff::SetParam Iterate"));
  EXPECT_THAT(engine.captureLayer, ElementsAre(32, 128, 255));
  EXPECT_THAT(engine.iterate_layer_order, ElementsAre(2, 0, 1));
  EXPECT_EQ(engine.iterate_count, 2);

  const float xyz[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const float white[3] = {95, 100, 108};
  ASSERT_EQ(engine.SetParamWhite(LinearGamma(), xyz, white, {100, 50, 200}, 5, 0, 20), 0);
  EXPECT_THAT(log.TakeInfos(), ElementsAre("MultiLayerCoeff::SetParamWhite"));
  EXPECT_THAT(engine.captureLayer, ElementsAre(50, 100, 200));
  EXPECT_THAT(engine.iterate_layer_order, ElementsAre(1, 0, 2));
  EXPECT_EQ(engine.rgb_to_xyz, xyz);
  EXPECT_EQ(engine.target_white, white);
  EXPECT_EQ(engine.grayMax, (1 << 20) - 1);
  EXPECT_EQ(engine.pos_hardware.cols, 5);
}

// Equal levels: the entry at the place being filled wins if it is still free, else the first.
TEST(Parameters, SortKeepsTheDefinedOrderOfEqualLevels) {
  MultiLayerCoeff engine;
  LumParameters parameters;
  parameters.iterate = 0;
  parameters.capture_layers = {9, 5, 9, 5};
  ASSERT_EQ(parameters.Set(engine), 0);
  EXPECT_THAT(engine.captureLayer, ElementsAre(5, 5, 9, 9));
  // Place 0 takes entry 1, place 1 entry 3, place 2 entry 2 (free and not beaten), place 3 entry 0.
  EXPECT_THAT(engine.iterate_layer_order, ElementsAre(3, 0, 2, 1));
}

TEST(Parameters, BitWidthLimitsAndGrayMax) {
  for (const auto& [bits, gray_max] : {std::pair(16, 65535), {20, 1048575}, {24, 16777215}}) {
    MultiLayerCoeff engine;
    LumParameters parameters;
    parameters.bits = bits;
    EXPECT_EQ(parameters.Set(engine), 0);
    EXPECT_EQ(engine.grayMax, gray_max);
    EXPECT_EQ(engine.bit_width, bits);
  }
}

struct Refusal {
  std::function<void(LumParameters&)> spoil;
  std::string message;
};

TEST(Parameters, RefusalsGiveOneLineAndLeaveNoParameters) {
  const std::string set_para = "MultiLayerCoeff::SetPara--Error ::  ";
  const std::string table_size = set_para + "in_gamma_table_RGB Size Error.";
  const std::string bits = set_para + "bit_width in_bit_width < 16 || in_bit_width > 24.";
  const Refusal refusals[] = {
      {[](auto& p) { p.gamma_table = cv::Mat(); }, table_size},
      {[](auto& p) { p.gamma_table = LinearGamma().colRange(0, 255); }, table_size},
      {[](auto& p) { p.gamma_table = cv::Mat::ones(4, 256, CV_32SC1); }, table_size},
      {[](auto& p) { p.gamma_table = cv::Mat::ones(3, 256, CV_16SC1); }, table_size},
      {[](auto& p) { p.gamma_table = cv::Mat(3, 256, CV_32SC2, cv::Scalar::all(1)); }, table_size},
      {[](auto& p) { p.gamma_table.template at<int32_t>(0, 255) = 0; }, table_size},
      {[](auto& p) { p.gamma_table.template at<int32_t>(0, 255) = -1; }, table_size},
      {[](auto& p) { p.bits = 15; }, bits},
      {[](auto& p) { p.bits = 25; }, bits},
      {[](auto& p) {
         p.ratios = {0, 0};
       },
       set_para + "rgb_lum_dec_ratio Size Error."},
      {[](auto& p) { p.rgb_to_y[0] = 0; }, set_para + "InitY Error."},
      {[](auto& p) { p.rgb_to_y[3] = -1; }, set_para + "InitY Error."},
      {[](auto& p) { p.rgb_to_y[6] = kNaN; }, set_para + "InitY Error."},
      {[](auto& p) { p.capture_layers = {}; }, "capture_layers is empty"},
      {[](auto& p) { p.coef_layers = 3; }, "capture_layer_num 4 greater than coef_layer_num 3"},
      {[](auto& p) { p.capture_layers[1] = 256; }, "capture layer 256 is no column"},
      {[](auto& p) { p.capture_layers[1] = -1; }, "capture layer -1 is no column"},
      {[](auto& p) { p.coef_layers = 0; }, "coef_layer_num 0 is not in 1..16384"},
      {[](auto& p) { p.coef_layers = std::numeric_limits<int>::max(); }, "at most 16384"},
      {[](auto& p) { p.capture_layers.assign(20000, 1); }, "at most 16384"},
  };
  for (const int32_t iterate : {-1, 0}) {
    for (const Refusal& refusal : refusals) {
      SCOPED_TRACE(refusal.message);
      MultiLayerCoeff engine;
      LumParameters parameters;
      parameters.iterate = iterate;
      ASSERT_EQ(parameters.Set(engine), 0);
      refusal.spoil(parameters);
      LogRecorder log;
      EXPECT_EQ(parameters.Set(engine), 9);
      EXPECT_THAT(log.TakeErrors(), ElementsAre(HasSubstr(refusal.message)));
      const std::vector<LedMeter*> none;
      EXPECT_EQ(engine.Compute(&none, &none, &none), 706);
      EXPECT_EQ(LumParameters().Set(engine), 0) << "a good call must be accepted again";
    }
  }
}

// What is loaded after a refusal is no parameter, and white parameters are none for luminance.
TEST(Parameters, OnlyAnAcceptedLuminanceSetterAllowsLuminance) {
  const std::vector<LedMeter*> none;
  MultiLayerCoeff computed;
  ASSERT_EQ(LumParameters().Set(computed), 0);
  computed.coef_r = computed.coef_g = computed.coef_b = {cv::Mat::ones(1, 1, CV_32FC1)};
  uint64_t size = 0;
  ASSERT_EQ(computed.GetBufferSize(&size), 0);
  std::vector<uint8_t> bytes(size);
  ASSERT_EQ(computed.ToBuffer(bytes.data(), &size), 0);

  MultiLayerCoeff engine;
  LumParameters refused;
  refused.bits = 15;
  ASSERT_EQ(LumParameters().Set(engine), 0);
  ASSERT_EQ(refused.Set(engine), 9);
  ASSERT_EQ(engine.FromBuffer(bytes.data(), size), 0);
  EXPECT_EQ(engine.Compute(&none, &none, &none), 706);
  ASSERT_EQ(LumParameters().Set(engine), 0);
  EXPECT_EQ(engine.Compute(&none, &none, &none), 701) << "only the lists are wrong now";

  const float xyz[9] = {};
  for (const bool released : {false, true}) {
    MultiLayerCoeff white;
    if (released) {
      white.Reset();
    }
    ASSERT_EQ(white.SetParamWhite(LinearGamma(), xyz, xyz, {1, 2}, 2, -1, 16), 0);
    EXPECT_EQ(white.Compute(&none, &none, &none), 706);
  }
}

TEST(Parameters, SetParaTakesTheLayersItIsGiven) {
  MultiLayerCoeff engine;
  const LumParameters parameters;
  ASSERT_EQ(parameters.Set(engine), 0);
  const auto set = [&](int32_t coef_layers) {
    return engine.SetPara(parameters.gamma_table, 16, parameters.ratios, parameters.rgb_to_y.data(),
                          coef_layers);
  };
  EXPECT_EQ(set(1), 9) << "four are captured";
  EXPECT_EQ(set(-1), 9);
  engine.capture_layer_num = 1000;
  EXPECT_EQ(set(4), 0);
  EXPECT_EQ(engine.pos_hardware.cols, 4);
}

TEST(Parameters, FieldsStoredBeforeARefusalStayVisible) {
  MultiLayerCoeff engine;
  LumParameters parameters;
  parameters.bits = 18;
  parameters.ratios = {0.5, 0.5, 0.5};
  parameters.rgb_to_y[3] = 0;
  EXPECT_EQ(parameters.Set(engine), 9);
  EXPECT_EQ(engine.bit_width, 18);
  EXPECT_EQ(engine.grayMax, 262143);
  EXPECT_THAT(engine.rgb_lum_dec_ratio, ElementsAre(0.5, 0.5, 0.5));
  EXPECT_EQ(engine.capture_layer_num, 4);
  EXPECT_EQ(engine.InitY[0], 0);
}

TEST(Parameters, WhiteRefusals) {
  const float xyz[9] = {};
  const float white[3] = {};
  const std::vector<int32_t> five = {1, 2, 3, 4, 5};
  struct Case {
    cv::Mat gamma_table;
    std::vector<int32_t> levels;
    int32_t coef_layers;
    int32_t bits;
    std::string message;
  };
  const Case cases[] = {
      {LinearGamma().colRange(0, 255), five, 5, 16, "in_gammaTableRGB Size Error."},
      {LinearGamma(), five, 5, 15, "bitWidth in_bitWidth < 16 || in_bitWidth > 24."},
      {LinearGamma(), five, 4, 16,
       "MultiLayerCoeff::SetParamWhite--Error :: capture_layer_num greater than "
       "coef_layer_num!!!."},
      {LinearGamma(), {}, 4, 16, "capture_layers is empty"},
      {LinearGamma(), {300}, 4, 16, "capture layer 300 is no column"},
      {LinearGamma(), {1}, 0, 16, "capture_layer_num greater than coef_layer_num!!!."},
      {LinearGamma(), {}, 0, 16, "coef_layer_num 0 is not in 1..16384"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    MultiLayerCoeff engine;
    LogRecorder log;
    EXPECT_EQ(engine.SetParamWhite(c.gamma_table, xyz, white, c.levels, c.coef_layers, 0, c.bits),
              9);
    EXPECT_THAT(log.TakeErrors(), ElementsAre(HasSubstr(c.message)));
    EXPECT_EQ(engine.rgb_to_xyz, xyz) << "the pointers are stored in any case";
    EXPECT_TRUE(engine.pos_hardware.empty());
  }
  MultiLayerCoeff engine;
  EXPECT_EQ(engine.SetParamWhite(LinearGamma(), xyz, white, five, 5, 0, 16), 0);
}

TEST(Parameters, LumDecRatioIsWhatIsLeftToLower) {
  std::vector<double> ratio;
  EXPECT_EQ(MultiLayerCoeff::GetLumDecRatio({0.5, 0.2, 0.0}, {0.2, 0.2, 0.9999}, ratio), 0);
  EXPECT_THAT(ratio, ElementsAre(::testing::DoubleEq(1 - 0.5 / 0.8), 0.0,
                                 ::testing::DoubleNear(-9999, 1e-6)));
  LogRecorder log;
  EXPECT_EQ(MultiLayerCoeff::GetLumDecRatio({0.5, 0.2, 0.0}, {0.5, 1.0, 0.5}, ratio), 9);
  EXPECT_EQ(ratio[0], 0.0) << "entries before the refused one are written";
  EXPECT_EQ(MultiLayerCoeff::GetLumDecRatio({0.5, 0.2}, {0.5, 0.5, 0.5}, ratio), 9);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::GetLumDecRatio--Error ::  otherLumDecTatio can't to 1.",
                          "MultiLayerCoeff::GetLumDecRatio--Error ::  Input Data Size Error."));
}

TEST(Parameters, ResetGivesTheConstructedState) {
  MultiLayerCoeff engine;
  ASSERT_EQ(LumParameters().Set(engine), 0);
  engine.coef_r.emplace_back(2, 2, CV_32FC1);
  engine.part_x_y_w_h = {1, 2, 3, 4, 5, 6};
  engine.singular_total = 7;
  engine.keep_response_segments = false;
  const cv::Mat plane = cv::Mat::ones(2, 2, CV_32FC1);
  engine.xyz_r = {plane, plane, plane};
  engine.Reset();
  EXPECT_EQ(engine.part_x_y_w_h.w, -1);
  EXPECT_EQ(engine.capture_layer_num, -1);
  EXPECT_EQ(engine.coef_layer_num, -1);
  EXPECT_EQ(engine.iterate_count, -1);
  EXPECT_EQ(engine.bit_width, 0);
  EXPECT_EQ(engine.grayMax, 0);
  EXPECT_THAT(engine.rgb_lum_dec_ratio, ElementsAre(0, 0, 0));
  EXPECT_TRUE(engine.pos_hardware.empty() && engine.pos_hardware.type() == CV_32SC1);
  EXPECT_TRUE(engine.linear_norms_pos.empty() && engine.linear_norms_pos.type() == CV_64FC1);
  EXPECT_TRUE(engine.captureLayer.empty() && engine.coef_r.empty() && engine.xyz_r.empty());
  EXPECT_EQ(engine.InitY[0], 0);
  EXPECT_EQ(engine.singular_total, 7) << "a running sum over the engine's life";
  EXPECT_FALSE(engine.keep_response_segments);
}

TEST(Parameters, MeasuredPrimariesMustAgreeInSize) {
  MultiLayerCoeff engine;
  const auto bundle = [](int rows, int cols) {
    const cv::Mat plane = cv::Mat::ones(rows, cols, CV_32FC1);
    return ChromaXYZ{plane, plane, plane};
  };
  EXPECT_EQ(engine.SetRGBXYZ(bundle(2, 3), bundle(2, 3), bundle(3, 2)), 9);
  EXPECT_EQ(engine.SetRGBXYZ(bundle(2, 3), ChromaXYZ(), bundle(2, 3)), 9);
  EXPECT_TRUE(engine.xyz_r.empty());
  EXPECT_EQ(engine.SetRGBXYZ(bundle(2, 3), bundle(2, 3), bundle(2, 3)), 0);
  EXPECT_EQ(engine.xyz_b.Z.size(), cv::Size(3, 2));
}

}  // namespace
}  // namespace multilayer::testing
