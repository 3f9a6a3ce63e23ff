// Matrix descriptors in and out.
#include "multilayer/api/mat_conversion.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

namespace multilayer {
namespace {

// Bytes of the elements in wrapping 32-bit arithmetic, the arithmetic of the interface.
uint32_t DescribedSize(const MultiLayerMat& mat) {
  const auto channels = static_cast<uint32_t>(mat.type / 8 + 1);
  const auto value_size = uint32_t{1} << (mat.type % 8 / 2);
  return channels * value_size * static_cast<uint32_t>(mat.rows) * static_cast<uint32_t>(mat.cols);
}

// One of the seven depths, 1 to 512 channels.
bool IsType(int32_t type) { return type >= 0 && type % 8 <= CV_64F && type / 8 + 1 <= CV_CN_MAX; }

// A copy from malloc, row by row; throws when there is none.
void* CopyElements(const cv::Mat& mat, size_t size) {
  auto* copied = static_cast<uint8_t*>(std::malloc(size));
  if (copied == nullptr) {
    throw std::bad_alloc();
  }
  const size_t row_size = size / static_cast<size_t>(mat.rows);
  for (int row = 0; row < mat.rows; ++row) {
    std::memcpy(copied + static_cast<size_t>(row) * row_size, mat.ptr(row), row_size);
  }
  return copied;
}

MultiLayerMat Describe(const cv::Mat& mat, bool copy) {
  if (mat.empty()) {
    return {};
  }
  const size_t size = mat.total() * mat.elemSize();
  if (size > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    throw std::length_error("a matrix of 2 GiB or more does not fit a descriptor");
  }
  return {mat.rows, mat.cols, mat.type(), static_cast<int32_t>(size),
          copy ? CopyElements(mat, size) : mat.data};
}

}  // namespace

int32_t FromDescriptor(const MultiLayerMat* descriptor, cv::Mat& mat) {
  if (descriptor == nullptr) {
    return MULTILAYER_NULL;
  }
  const auto& [rows, cols, type, size, data] = *descriptor;
  if (!IsType(type) || static_cast<uint32_t>(size) != DescribedSize(*descriptor)) {
    return MULTILAYER_BAD_MAT;
  }
  mat.release();
  if (data == nullptr) {
    return rows <= 0 && cols <= 0 && size == 0 ? MULTILAYER_OK : MULTILAYER_BAD_MAT;
  }
  if (rows < 1 || cols < 1 || size < 1) {
    return MULTILAYER_BAD_MAT;
  }
  // The wrapped product may have matched by accident.
  const cv::Mat borrowed(rows, cols, type, data);
  if (borrowed.total() > static_cast<size_t>(size) / borrowed.elemSize()) {
    return MULTILAYER_BAD_MAT;
  }
  mat = borrowed.clone();
  return MULTILAYER_OK;
}

void FillResult(const MultiLayerCoeff& engine, bool copy, MultiLayerResult& out) {
  const PartRecord& part = engine.part_x_y_w_h;
  out.part_x = part.x;
  out.part_y = part.y;
  out.part_w = part.w;
  out.part_h = part.h;
  out.screen_w = part.screen_w;
  out.screen_h = part.screen_h;
  out.capture_layer_num = engine.capture_layer_num;
  out.bit_width = engine.bit_width;
  out.coef_layer_num = engine.coef_layer_num;
  for (size_t i = 0; i < 3; ++i) {
    out.rgb_lum_dec_ratio[i] =
        i < engine.rgb_lum_dec_ratio.size() ? engine.rgb_lum_dec_ratio[i] : 0.0;
  }

  // Every descriptor is emptied first, so that a failure on the way knows what to give back.
  const std::pair<MultiLayerMat*, const std::vector<cv::Mat>*> colours[] = {
      {out.coef_r, &engine.coef_r}, {out.coef_g, &engine.coef_g}, {out.coef_b, &engine.coef_b}};
  const auto for_each = [&](const auto& visit) {
    const cv::Mat missing;
    for (const auto& [target, list] : colours) {
      for (int32_t i = 0; i < engine.coef_layer_num && target != nullptr; ++i) {
        const auto layer = static_cast<size_t>(i);
        visit(target[layer], layer < list->size() ? (*list)[layer] : missing);
      }
    }
  };
  const auto clear = [](MultiLayerMat& target, const cv::Mat&) { target = {}; };
  out.pos_hardware = {};
  for_each(clear);
  try {
    out.pos_hardware = Describe(engine.GetPosForHardware(), copy);
    for_each([copy](MultiLayerMat& target, const cv::Mat& mat) { target = Describe(mat, copy); });
  } catch (...) {
    const auto drop = [copy](MultiLayerMat& target, const cv::Mat&) {
      std::free(copy ? target.data : nullptr);
      target = {};
    };
    drop(out.pos_hardware, {});
    for_each(drop);
    throw;
  }
}

}  // namespace multilayer
