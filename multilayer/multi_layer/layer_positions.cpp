// Where the coefficient layers lie: gray positions whose distances are powers of two.
#include <bit>
#include <cmath>

#include <opencv2/core.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"

namespace multilayer {
namespace {

// Positions are 32-bit words that wrap around, as the hardware's are, so every gamma table has
// defined positions.
int32_t WrappingAdd(int32_t a, uint32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + b);
}

int32_t WrappingSubtract(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// Exponent of the power of two nearest to `distance`, a tie going up; 0 for distances below 1.
int32_t NearestExponent(int32_t distance) {
  if (distance < 1) {
    return 0;
  }
  const auto d = static_cast<uint64_t>(distance);
  const uint64_t down = std::bit_floor(d);
  const uint64_t up = std::bit_ceil(d);
  return std::countr_zero(up - d <= d - down ? up : down);
}

// Every row of `matrix` becomes a copy of the first.
void RepeatFirstRow(cv::Mat& matrix) {
  for (int row = 1; row < matrix.rows; ++row) {
    matrix.row(0).copyTo(matrix.row(row));
  }
}

cv::Mat SharedOrEmpty(const cv::Mat& matrix, const char* operation) {
  if (matrix.empty()) {
    Fail(0, "%s--Error ::  Data is EMPTY!!!.", operation);
    return cv::Mat_<int32_t>();
  }
  return matrix;
}

}  // namespace

int32_t MultiLayerCoeff::CheckLayers(const char* operation, const cv::Mat& gamma_table,
                                     int32_t coef_layers) const {
  constexpr int32_t kRejected = 9;
  if (coef_layers < 1 || coef_layers > kMaxCoefLayers) {
    return Fail(kRejected, "%s--Error ::  coef_layer_num %d is not in 1..%d.", operation,
                coef_layers, kMaxCoefLayers);
  }
  if (captureLayer.empty()) {
    return Fail(kRejected, "%s--Error ::  capture_layers is empty.", operation);
  }
  if (captureLayer.size() > static_cast<size_t>(coef_layers)) {
    return Fail(kRejected, "%s--Error ::  capture_layer_num %zu greater than coef_layer_num %d.",
                operation, captureLayer.size(), coef_layers);
  }
  for (const int32_t level : captureLayer) {
    if (level < 0 || level >= gamma_table.cols) {
      return Fail(kRejected,
                  "%s--Error ::  capture layer %d is no column of the gamma table of %d.",
                  operation, level, gamma_table.cols);
    }
  }
  return 0;
}

int32_t MultiLayerCoeff::InitLayers(const char* operation, const cv::Mat& gamma_table,
                                    int32_t coef_layers) {
  if (const int32_t status = CheckLayers(operation, gamma_table, coef_layers); status != 0) {
    return status;
  }
  // Only the red row sets positions, for all three colours. Its largest output gives the table's
  // bit depth; a table of fewer bits than the coefficients shifts by a negative count, which is
  // taken modulo 32.
  const auto* red = gamma_table.ptr<int32_t>(0);
  const int32_t depth =
      static_cast<int32_t>(std::floor(std::log2(red[gamma_table.cols - 1]) + 0.5));
  const int32_t shift = (depth - bit_width) & 31;

  cv::Mat positions = cv::Mat::zeros(3, coef_layers, CV_32SC1);
  cv::Mat gaps = cv::Mat::zeros(3, coef_layers, CV_32SC1);
  auto* position = positions.ptr<int32_t>(0);
  auto* gap = gaps.ptr<int32_t>(0);
  position[0] = red[captureLayer[0]] >> shift;
  const auto captured = static_cast<int32_t>(captureLayer.size());
  for (int32_t k = 1; k < captured; ++k) {
    const int32_t gray = red[captureLayer[static_cast<size_t>(k)]] >> shift;
    gap[k] = NearestExponent(WrappingSubtract(gray, position[k - 1]));
    position[k] = WrappingAdd(position[k - 1], uint32_t{1} << gap[k]);
  }
  for (int32_t k = captured; k < coef_layers; ++k) {
    position[k] = WrappingAdd(position[k - 1], 1);
  }
  RepeatFirstRow(positions);
  RepeatFirstRow(gaps);
  pos_hardware = positions;
  gap_hardware = gaps;
  return 0;
}

cv::Mat MultiLayerCoeff::GetPosForHardware() const {
  return SharedOrEmpty(pos_hardware, "MultiLayerCoeff::GetPosForHardware");
}

cv::Mat MultiLayerCoeff::GetGapForHardware() const {
  return SharedOrEmpty(gap_hardware, "MultiLayerCoeff::GetGapForHardware");
}

}  // namespace multilayer
