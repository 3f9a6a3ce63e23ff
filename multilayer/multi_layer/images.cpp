// Coefficient matrices as pictures, and the parameters as text.
#include <algorithm>
#include <iomanip>
#include <iostream>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

// The largest magnitude becomes 255; negative values become 0. A loaded matrix may have channels.
cv::Mat ToImage(const cv::Mat& coef) {
  cv::Mat image;
  cv::normalize(coef, image, 255, 0, cv::NORM_INF, CV_8U);
  if (image.channels() > 1) {
    cv::cvtColor(image, image, cv::COLOR_BGR2GRAY);
  }
  return image;
}

// The colour conversion takes three or four channels; half floats have no norm; a PNG has at most a
// million rows and columns.
bool CanBeImage(const cv::Mat& coef) {
  return !coef.empty() && std::max(coef.rows, coef.cols) <= 1000000 && coef.depth() != CV_16F &&
         (coef.channels() == 1 || coef.channels() == 3 || coef.channels() == 4);
}

constexpr int kLabel = 20;
constexpr int kIndent = 4;
constexpr int kValue = 11;

void PrintLabel(const char* label) { std::cout << std::setw(kLabel) << label; }

template <class Value>
void PrintValues(const char* label, const Value* values, int32_t count) {
  PrintLabel(label);
  std::cout << std::setw(kIndent) << "";
  for (int32_t i = 0; i < count; ++i) {
    std::cout << std::setw(kValue) << values[i];
  }
}

}  // namespace

int32_t MultiLayerCoeff::ExportCoef2Img(const std::string& prefix) const {
  PellixInfo("MultiLayerCoeff::ExportCoef2Img");
  if (coef_r.empty() || coef_g.empty() || coef_b.empty()) {
    return Fail(703, "MultiLayerCoeff::ExportCoef2Img--Error ::  Coefs is EMPTY!!!.");
  }
  const std::pair<const std::vector<cv::Mat>*, const char*> colours[] = {
      {&coef_r, "MLCoef_Red_Layer_"},
      {&coef_g, "MLCoef_Green_Layer_"},
      {&coef_b, "MLCoef_Blue_Layer_"}};
  for (int32_t layer = 0; layer < coef_layer_num; ++layer) {
    for (const auto& [list, name] : colours) {
      const auto i = static_cast<size_t>(layer);
      if (i < list->size() && CanBeImage((*list)[i])) {
        cv::imwrite(prefix + name + std::to_string(layer) + ".png", ToImage((*list)[i]));
      }
    }
  }
  return 0;
}

void MultiLayerCoeff::Info() const {
  PellixDebug("----------------------   INFO START  ----------------------  \n");
  PrintLabel("capture_layer_num:");
  std::cout << std::setw(kLabel) << capture_layer_num << std::endl;
  if (grayMax > 0) {
    PrintLabel("grayMax:");
    std::cout << std::setw(kLabel) << grayMax << std::endl;
  }
  PrintLabel("part_x_y_w_h:");
  std::cout << std::setw(kValue) << part_x_y_w_h.x << "," << part_x_y_w_h.y << std::setw(8)
            << part_x_y_w_h.w << "x" << part_x_y_w_h.h << std::endl;
  PrintValues("rgb_lum_dec_ratio:", rgb_lum_dec_ratio.data(),
              static_cast<int32_t>(rgb_lum_dec_ratio.size()));
  std::cout << std::endl;
  if (!captureLayer.empty()) {
    PrintValues("captureLayer:", captureLayer.data(), static_cast<int32_t>(captureLayer.size()));
    std::cout << std::endl;
  }
  if (!linear_norms_pos.empty()) {
    PrintValues("linear_norms_pos:", linear_norms_pos.ptr<double>(0),
                std::min(capture_layer_num, linear_norms_pos.cols));
    std::cout << std::endl;
  }
  // A loaded file may hold positions of any type and size. No line end follows, by definition.
  const bool known = pos_hardware.type() == CV_32SC1 && !pos_hardware.empty();
  PrintValues("pos_hardware:", known ? pos_hardware.ptr<int32_t>(0) : nullptr,
              known ? std::min(coef_layer_num, pos_hardware.cols) : 0);
  PellixDebug("----------------------   INFO END  ----------------------  ");
}

}  // namespace multilayer
