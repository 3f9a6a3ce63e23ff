// Parameter setters, the order of the captured layers, and reset.
#include <limits>

#include <opencv2/core.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr int32_t kRejected = 9;

// Three rows of at least 256 words of 32 bits, the last red one positive: its logarithm is the bit
// depth of the table.
bool IsGammaTable(const cv::Mat& table) {
  return table.dims == 2 && table.rows == 3 && table.cols >= 256 && table.channels() == 1 &&
         table.elemSize() >= sizeof(int32_t) && table.ptr<int32_t>(0)[table.cols - 1] > 0;
}

// Counts that no calibration has: refused before anything is stored, sorted or written.
int32_t CheckLimits(const char* operation, int32_t coef_layers, size_t capture_layers) {
  constexpr int32_t kMax = MultiLayerCoeff::kMaxCoefLayers;
  if (coef_layers > kMax || capture_layers > static_cast<size_t>(kMax)) {
    return Fail(kRejected, "%s--Error ::  coef_layer_num %d and capture_layer_num %zu: at most %d.",
                operation, coef_layers, capture_layers, kMax);
  }
  return 0;
}

bool IsBitWidth(int32_t bits) { return bits >= 16 && bits <= 24; }

int32_t MaxOf(int32_t bits) { return (int32_t{1} << bits) - 1; }

}  // namespace

int32_t MultiLayerCoeff::SetParamLum(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                                     const float* rgb_to_y,
                                     const std::vector<int32_t>& capture_layers, int32_t iterate,
                                     int32_t coef_layers, int32_t bits) {
  return iterate == -1
             ? SetParam(gamma_table, ratios, rgb_to_y, capture_layers, coef_layers, bits)
             : SetParam(gamma_table, ratios, rgb_to_y, capture_layers, iterate, coef_layers, bits);
}

int32_t MultiLayerCoeff::SetParam(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                                  const float* rgb_to_y, const std::vector<int32_t>& capture_layers,
                                  int32_t coef_layers, int32_t bits) {
  constexpr const char* kName = "MultiLayerCoeff::SetParam";
  PellixInfo(kName);
  if (const int32_t status = CheckLimits(kName, coef_layers, capture_layers.size()); status != 0) {
    return Accept(status);
  }
  coef_layer_num = coef_layers;
  capture_layer_num = static_cast<int32_t>(capture_layers.size());
  captureLayer = capture_layers;
  const int32_t status = SetPara(gamma_table, bits, ratios, rgb_to_y, coef_layers);
  if (status == 0) {
    iterate_count = -1;
  }
  return status;
}

int32_t MultiLayerCoeff::SetParam(const cv::Mat& gamma_table, const std::vector<double>& ratios,
                                  const float* rgb_to_y, const std::vector<int32_t>& capture_layers,
                                  int32_t iterate, int32_t coef_layers, int32_t bits) {
  constexpr const char* kName = "MultiLayerCoeff::SetParam Iterate";
  PellixInfo(kName);
  if (const int32_t status = CheckLimits(kName, coef_layers, capture_layers.size()); status != 0) {
    return Accept(status);
  }
  coef_layer_num = coef_layers;
  SortCaptureLayers(capture_layers);
  iterate_count = iterate;
  return SetPara(gamma_table, bits, ratios, rgb_to_y, coef_layers);
}

int32_t MultiLayerCoeff::SetPara(const cv::Mat& gamma_table, int32_t bits,
                                 const std::vector<double>& ratios, const float* rgb_to_y,
                                 int32_t coef_layers) {
  constexpr const char* kName = "MultiLayerCoeff::SetPara";
  if (!IsGammaTable(gamma_table)) {
    return Accept(Fail(kRejected, "%s--Error ::  in_gamma_table_RGB Size Error.", kName));
  }
  if (!IsBitWidth(bits)) {
    return Accept(
        Fail(kRejected, "%s--Error ::  bit_width in_bit_width < 16 || in_bit_width > 24.", kName));
  }
  bit_width = bits;
  grayMax = MaxOf(bits);
  if (ratios.size() != 3) {
    return Accept(Fail(kRejected, "%s--Error ::  rgb_lum_dec_ratio Size Error.", kName));
  }
  rgb_lum_dec_ratio = ratios;
  // Not written as <= 0, which a NaN would pass.
  if (rgb_to_y == nullptr || !(rgb_to_y[0] > 0 && rgb_to_y[3] > 0 && rgb_to_y[6] > 0)) {
    return Accept(Fail(kRejected, "%s--Error ::  InitY Error.", kName));
  }
  std::copy_n(rgb_to_y, InitY.size(), InitY.begin());
  return Accept(InitLayers(kName, gamma_table, coef_layers));
}

int32_t MultiLayerCoeff::SetParamWhite(const cv::Mat& gamma_table, const float* xyz,
                                       const float* white,
                                       const std::vector<int32_t>& capture_layers,
                                       int32_t coef_layers, int32_t iterate, int32_t bits) {
  constexpr const char* kName = "MultiLayerCoeff::SetParamWhite";
  PellixInfo(kName);
  target_white = white;
  rgb_to_xyz = xyz;
  if (!IsGammaTable(gamma_table)) {
    return Accept(Fail(kRejected, "%s--Error ::  in_gammaTableRGB Size Error.", kName));
  }
  if (!IsBitWidth(bits)) {
    return Accept(
        Fail(kRejected, "%s--Error ::  bitWidth in_bitWidth < 16 || in_bitWidth > 24.", kName));
  }
  if (const int32_t status = CheckLimits(kName, coef_layers, capture_layers.size()); status != 0) {
    return Accept(status);
  }
  bit_width = bits;
  grayMax = MaxOf(bits);
  iterate_count = iterate;
  coef_layer_num = coef_layers;
  capture_layer_num = static_cast<int32_t>(capture_layers.size());
  if (capture_layer_num > coef_layer_num) {
    return Accept(
        Fail(kRejected, "%s--Error :: capture_layer_num greater than coef_layer_num!!!.", kName));
  }
  SortCaptureLayers(capture_layers);
  return Accept(InitLayers(kName, gamma_table, coef_layers));
}

int32_t MultiLayerCoeff::SetRGBXYZ(const ChromaXYZ& red, const ChromaXYZ& green,
                                   const ChromaXYZ& blue) {
  PellixInfo("MultiLayerCoeff::SetRGBXYZ");
  for (const ChromaXYZ* bundle : {&red, &green, &blue}) {
    if (ChromaXYZ::Check(bundle) != 0 || bundle->X.size() != red.X.size()) {
      return Fail(kRejected,
                  "MultiLayerCoeff::SetRGBXYZ--Error ::  bundles are empty or of other sizes.");
    }
  }
  xyz_r = red;
  xyz_g = green;
  xyz_b = blue;
  return 0;
}

int32_t MultiLayerCoeff::GetLumDecRatio(const std::vector<double>& own,
                                        const std::vector<double>& other,
                                        std::vector<double>& ratio) {
  if (own.size() != 3 || other.size() != 3) {
    return Fail(kRejected, "MultiLayerCoeff::GetLumDecRatio--Error ::  Input Data Size Error.");
  }
  ratio.resize(3);
  for (size_t i = 0; i < 3; ++i) {
    if (other[i] == 1.0) {
      return Fail(kRejected,
                  "MultiLayerCoeff::GetLumDecRatio--Error ::  otherLumDecTatio can't to 1.");
    }
    ratio[i] = 1 - (1 - own[i]) / (1 - other[i]);
  }
  return 0;
}

void MultiLayerCoeff::Reset() {
  PellixInfo("MultiLayerCoeff::Reset");
  MultiLayerCoeff constructed;
  constructed.bit_width = 0;
  constructed.rgb_lum_dec_ratio.assign(3, 0.0);
  constructed.singular_total = singular_total;
  constructed.keep_response_segments = keep_response_segments;
  *this = std::move(constructed);
}

// The last word of every setter: a refusal leaves the engine without parameters, of which empty
// positions are the sign.
int32_t MultiLayerCoeff::Accept(int32_t status) {
  setter_failed_ = status != 0;
  if (setter_failed_) {
    pos_hardware = cv::Mat_<int32_t>();
    gap_hardware = cv::Mat_<int32_t>();
  }
  return status;
}

// White parameters leave the ratios and full-scale luminances unset, and a loaded file may hold
// positions of any kind.
bool MultiLayerCoeff::HasLumParameters() const {
  return !setter_failed_ && !pos_hardware.empty() && pos_hardware.type() == CV_32SC1 &&
         pos_hardware.cols == coef_layer_num && rgb_lum_dec_ratio.size() == 3 && InitY[0] > 0 &&
         InitY[3] > 0 && InitY[6] > 0;
}

// Selection by n passes; the order among equal levels is part of the definition: the entry at the
// place being filled if it is still free, else the first.
void MultiLayerCoeff::SortCaptureLayers(const std::vector<int32_t>& levels) {
  constexpr int32_t kUsed = std::numeric_limits<int32_t>::max();
  const size_t count = levels.size();
  capture_layer_num = static_cast<int32_t>(count);
  captureLayer.assign(count, 0);
  iterate_layer_order.assign(count, 0);
  std::vector<int32_t> left = levels;
  for (size_t place = 0; place < count; ++place) {
    size_t candidate = place;
    for (size_t i = 0; i < count; ++i) {
      if (left[i] < left[candidate]) {
        candidate = i;
      }
    }
    captureLayer[place] = left[candidate];
    iterate_layer_order[candidate] = static_cast<int32_t>(place);
    left[candidate] = kUsed;
  }
}

}  // namespace multilayer
