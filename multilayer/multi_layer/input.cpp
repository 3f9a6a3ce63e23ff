// Input assembly: the measurements of all layers must form one consistent set that matches the
// parameters.
#include <opencv2/core.hpp>

#include "multilayer/io/fail.h"
#include "multilayer/multi_layer/multi_layer_coeff.h"
#include "pellix/pellix.h"

namespace multilayer {
namespace {

constexpr uint32_t kInputChecks = CHECK_NOT_NULL | CHECK_CHROMA | CHECK_SAME_CHROMA_SIZE |
                                  CHECK_STATE | CHECK_PART | CHECK_LAYER | CHECK_SAME_LAYER_VALUE |
                                  CHECK_SAME_LAYER_NORMS;
static_assert(kInputChecks == 0xF1007);

int32_t FailOnSize() {
  return Fail(701, "MultiLayerCoeff::SetInput--Error ::  Input data size not same.");
}

// `count` matrices like `model`, each with its own elements.
void FillList(std::vector<cv::Mat>& list, int32_t count, const cv::Mat& model) {
  list.clear();
  for (int32_t i = 0; i < count; ++i) {
    list.push_back(model.clone());
  }
}

}  // namespace

int32_t MultiLayerCoeff::SetInput(const Meters* red, const Meters* green, const Meters* blue) {
  PellixInfo("MultiLayerCoeff::SetInput");
  if (red == nullptr || green == nullptr || blue == nullptr) {
    return Fail(1, "MultiLayerCoeff::SetInput--Error ::  data nullptr.");
  }
  return red->size() == 1 ? TakeSingle(red, green, blue) : Input(red, green, blue);
}

int32_t MultiLayerCoeff::Input(const Meters* red, const Meters* green, const Meters* blue) {
  const int32_t status = TakeLayers(red, green, blue);
  if (status != 0) {
    return status;
  }
  PrepareLists();
  return 0;
}

// Segments of (0, 0) and coefficients of 1.0 in fresh storage.
void MultiLayerCoeff::PrepareLists() {
  const cv::Size size(part_x_y_w_h.w, part_x_y_w_h.h);
  for (std::vector<cv::Mat>& segments : response_segments) {
    FillList(segments, capture_layer_num, cv::Mat(size, CV_32FC2, cv::Scalar::all(0.0)));
  }
  MakeCoefs();
}

// The shortcut for one record a colour: no counts, no layers, nothing prepared.
int32_t MultiLayerCoeff::TakeSingle(const Meters* red, const Meters* green, const Meters* blue) {
  if (green->empty() || blue->empty()) {
    return FailOnSize();
  }
  const LedMeter* r = red->front();
  const LedMeter* g = green->front();
  const LedMeter* b = blue->front();
  if (const int32_t status = LedMeter::Check(kInputChecks, r, g, b); status != 0) {
    return status;
  }
  part_x_y_w_h = *r->part;
  for (const LedMeter* record : {r, g, b}) {
    if (const int32_t status = CheckShape(*record); status != 0) {
      return status;
    }
  }
  KeepInput(red, green, blue);
  return 0;
}

int32_t MultiLayerCoeff::TakeLayers(const Meters* red, const Meters* green, const Meters* blue) {
  PellixInfo("MultiLayerCoeff::Input");
  for (const Meters* meters : {red, green, blue}) {
    if (meters->empty() || meters->size() != static_cast<size_t>(capture_layer_num)) {
      return FailOnSize();
    }
  }
  // Colours whose layer values differ get a status of their own below.
  constexpr uint32_t kLayerChecks = kInputChecks & ~uint32_t{CHECK_SAME_LAYER_VALUE};
  for (size_t i = 0; i < red->size(); ++i) {
    const int32_t status = LedMeter::Check(kLayerChecks, (*red)[i], (*green)[i], (*blue)[i]);
    if (status != 0) {
      return status;
    }
  }
  part_x_y_w_h = *red->front()->part;
  if (const int32_t status = TakeLinearNorms(*red, *green, *blue); status != 0) {
    return status;
  }
  for (const Meters* meters : {red, green, blue}) {
    for (const LedMeter* record : *meters) {
      if (const int32_t status = CheckShape(*record); status != 0) {
        return status;
      }
    }
  }
  KeepInput(red, green, blue);
  return 0;
}

int32_t MultiLayerCoeff::TakeLinearNorms(const Meters& red, const Meters& green,
                                         const Meters& blue) {
  linear_norms_pos = cv::Mat::zeros(3, capture_layer_num, CV_64FC1);
  for (int32_t layer = 0; layer < capture_layer_num; ++layer) {
    const auto i = static_cast<size_t>(layer);
    const LayerRecord& r = *red[i]->layer;
    const LayerRecord& g = *green[i]->layer;
    const LayerRecord& b = *blue[i]->layer;
    if (g.value != r.value || b.value != r.value) {
      return Fail(702, "MultiLayerCoeff::SetInput--Error ::  Capture layer must be equal!");
    }
    // A loaded engine knows its number of layers, but not their levels.
    if (i >= captureLayer.size() || captureLayer[i] != r.value) {
      return Fail(9,
                  "MultiLayerCoeff::Input--Error ::  Input data captureLayer is inconsistent with "
                  "Param.");
    }
    linear_norms_pos.at<double>(0, layer) = static_cast<double>(r.linear_norms);
    linear_norms_pos.at<double>(1, layer) = static_cast<double>(g.linear_norms);
    linear_norms_pos.at<double>(2, layer) = static_cast<double>(b.linear_norms);
  }
  return 0;
}

// The computations index every matrix with the rows and columns of the partition.
int32_t MultiLayerCoeff::CheckShape(const LedMeter& record) const {
  const int32_t w = part_x_y_w_h.w;
  const int32_t h = part_x_y_w_h.h;
  const auto fits = [&](const cv::Mat& matrix, int type) {
    return matrix.dims == 2 && matrix.rows == h && matrix.cols == w && matrix.type() == type;
  };
  if (w < 1 || h < 1 || int64_t{w} * h > kMaxLeds) {
    return Fail(9, "MultiLayerCoeff::Input--Error ::  partition of %d x %d LEDs.", w, h);
  }
  if (!fits(record.chroma, CV_32FC1)) {
    return Fail(9, "MultiLayerCoeff::Input--Error ::  chroma is not %d x %d 32-bit floats.", h, w);
  }
  if (!fits(record.state, CV_8UC1)) {
    return Fail(9, "MultiLayerCoeff::Input--Error ::  state is not %d x %d bytes.", h, w);
  }
  return 0;
}

void MultiLayerCoeff::KeepInput(const Meters* red, const Meters* green, const Meters* blue) {
  input_r = red;
  input_g = green;
  input_b = blue;
}

}  // namespace multilayer
