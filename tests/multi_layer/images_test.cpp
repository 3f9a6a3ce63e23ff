// Coefficient images and the information dump.
#include <filesystem>

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include "tests/support/engines.h"
#include "tests/support/log_recorder.h"

namespace multilayer::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

class Images : public ::testing::Test {
 protected:
  Images() {
    std::filesystem::create_directories(folder_);
    engine_.coef_layer_num = 2;
    for (auto* list : {&engine_.coef_r, &engine_.coef_g, &engine_.coef_b}) {
      list->assign(2, cv::Mat(2, 3, CV_32FC1, cv::Scalar(0.5)));
    }
  }
  ~Images() override { std::filesystem::remove_all(folder_); }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  cv::Mat Read(const std::string& name) const {
    return cv::imread(folder_ + "/" + name, cv::IMREAD_UNCHANGED);
  }

  std::string folder_ = ::testing::TempDir() + "images_" +
                        ::testing::UnitTest::GetInstance()->current_test_info()->name();
  MultiLayerCoeff engine_;
};

TEST_F(Images, ScaleTheLargestMagnitudeToWhite) {
  engine_.coef_g[0] = (cv::Mat_<float>(1, 4) << 0, 2, 1, -1);
  engine_.coef_b[1] = cv::Mat(1, 2, CV_32FC3, cv::Scalar(1, 1, 1));
  ASSERT_EQ(engine_.ExportCoef2Img(folder_ + "/"), 0);
  EXPECT_THAT(Files(), UnorderedElementsAre("MLCoef_Red_Layer_0.png", "MLCoef_Green_Layer_0.png",
                                            "MLCoef_Blue_Layer_0.png", "MLCoef_Red_Layer_1.png",
                                            "MLCoef_Green_Layer_1.png", "MLCoef_Blue_Layer_1.png"));
  EXPECT_EQ(cv::countNonZero(Read("MLCoef_Red_Layer_1.png") != 255), 0) << "0.5 everywhere";
  const cv::Mat green = Read("MLCoef_Green_Layer_0.png");
  ASSERT_EQ(green.type(), CV_8UC1);
  EXPECT_THAT(std::vector<int>(green.begin<uint8_t>(), green.end<uint8_t>()),
              ElementsAre(0, 255, 128, 0));
  EXPECT_EQ(Read("MLCoef_Blue_Layer_1.png").channels(), 1);
}

TEST_F(Images, PrefixIsUsedAsItIs) {
  engine_.coef_layer_num = 1;
  ASSERT_EQ(engine_.ExportCoef2Img(folder_ + "/wall_"), 0);
  EXPECT_THAT(Files(), ::testing::Contains("wall_MLCoef_Red_Layer_0.png"));
}

TEST_F(Images, NothingToWrite) {
  engine_.coef_layer_num = 0;
  EXPECT_EQ(engine_.ExportCoef2Img(folder_ + "/"), 0);
  engine_.coef_layer_num = 2;
  engine_.coef_b.clear();
  LogRecorder log;
  EXPECT_EQ(engine_.ExportCoef2Img(folder_ + "/"), 703);
  EXPECT_THAT(log.TakeErrors(),
              ElementsAre("MultiLayerCoeff::ExportCoef2Img--Error ::  Coefs is EMPTY!!!."));
  EXPECT_THAT(Files(), ::testing::IsEmpty());
}

// What a loaded file may hold: fewer matrices than layers, empty ones, channels that make no image.
TEST_F(Images, OddMatricesArePassedOver) {
  engine_.coef_layer_num = 5;
  engine_.coef_r[0] = cv::Mat();
  engine_.coef_r[1] = cv::Mat::ones(2, 2, CV_32FC2);
  engine_.coef_g[1] = cv::Mat(2, 2, CV_16FC1, cv::Scalar(0));
  EXPECT_EQ(engine_.ExportCoef2Img(folder_ + "/"), 0);
  EXPECT_EQ(Files().size(), 3U);
}

TEST(Info, PrintsAlignedText) {
  MultiLayerCoeff engine;
  LumParameters parameters;
  parameters.ratios = {0.1, 0.25, 0};
  ASSERT_EQ(parameters.Set(engine), 0);
  engine.part_x_y_w_h = {1, 2, 30, 40, 500, 600};
  engine.linear_norms_pos = (cv::Mat_<double>(1, 4) << 0.125, 0.25, 0.5, 1);
  LogRecorder log;
  ::testing::internal::CaptureStdout();
  engine.Info();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "  capture_layer_num:                   4\n"
            "            grayMax:               65535\n"
            "       part_x_y_w_h:          1,2      30x40\n"
            "  rgb_lum_dec_ratio:            0.1       0.25          0\n"
            "       captureLayer:             32         64        128        255\n"
            "   linear_norms_pos:          0.125       0.25        0.5          1\n"
            "       pos_hardware:           8224      16416      32800      65568      65569"
            "      65570");
  EXPECT_THAT(log.TakeDebugs(),
              ElementsAre("----------------------   INFO START  ----------------------  \n",
                          "----------------------   INFO END  ----------------------  "));
}

TEST(Info, LeavesOutWhatIsNotKnown) {
  ::testing::internal::CaptureStdout();
  MultiLayerCoeff().Info();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "  capture_layer_num:                  -1\n"
            "       part_x_y_w_h:         -1,-1      -1x-1\n"
            "  rgb_lum_dec_ratio:    \n"
            "       pos_hardware:    ");
}

}  // namespace
}  // namespace multilayer::testing
