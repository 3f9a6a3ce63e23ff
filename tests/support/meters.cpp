// Builders of measurements.
#include "tests/support/meters.h"

#include <cstring>

namespace multilayer::testing {

LedMeter MakeMeter(cv::Size size, int32_t color, LayerRecord layer, float value) {
  LedMeter meter;
  meter.part = std::make_unique<PartRecord>(
      PartRecord{0, 0, size.width, size.height, size.width, size.height});
  meter.layer = std::make_unique<LayerRecord>(layer);
  meter.color = color;
  meter.type = CIE_Y;
  meter.state = cv::Mat(size, CV_8UC1, cv::Scalar(LED_USABLE));
  meter.chroma = cv::Mat(size, CV_32FC1, cv::Scalar(static_cast<double>(value)));
  return meter;
}

MeterSet MakeIdealSet(cv::Size size, const std::vector<LayerRecord>& layers,
                      const float (&full_scale)[3]) {
  MeterSet set;
  const std::pair<int32_t, std::vector<LedMeter*>*> colours[] = {
      {COLOR_RED, &set.red}, {COLOR_GREEN, &set.green}, {COLOR_BLUE, &set.blue}};
  for (size_t c = 0; c < 3; ++c) {
    for (const LayerRecord& layer : layers) {
      set.owned.push_back(std::make_unique<LedMeter>(
          MakeMeter(size, colours[c].first, layer, full_scale[c] * layer.linear_norms)));
      colours[c].second->push_back(set.owned.back().get());
    }
  }
  return set;
}

bool SameBits(const cv::Mat& a, const cv::Mat& b) {
  if (a.size() != b.size() || a.type() != b.type()) {
    return false;
  }
  for (int row = 0; row < a.rows; ++row) {
    if (std::memcmp(a.ptr(row), b.ptr(row), static_cast<size_t>(a.cols) * a.elemSize()) != 0) {
      return false;
    }
  }
  return true;
}

void MakeDiscontinuous(cv::Mat& matrix) {
  cv::Mat wide(matrix.rows, matrix.cols + 3, matrix.type(), cv::Scalar(77));
  cv::Mat region = wide.colRange(1, matrix.cols + 1);
  matrix.copyTo(region);
  matrix = region;
}

}  // namespace multilayer::testing
