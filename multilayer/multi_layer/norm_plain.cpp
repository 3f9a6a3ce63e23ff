// Response segments, then coefficients, as they are defined.
#include "multilayer/multi_layer/norm_plain.h"

#include <opencv2/core.hpp>

#include "multilayer/multi_layer/norm_solver.h"

namespace multilayer {
namespace {

using Meters = std::vector<LedMeter*>;
using Mats = std::vector<cv::Mat>;

void BuildSegments(const Meters& meters, const std::vector<double>& x, Mats& segments, int row,
                   int col) {
  for (size_t l = 0; l < meters.size(); ++l) {
    const float m = meters[l]->chroma.at<float>(row, col);
    auto& segment = segments[l].at<cv::Vec2f>(row, col);
    if (l == 0) {
      segment = {static_cast<float>(static_cast<double>(m) / x[0]), 0.0F};
      continue;
    }
    const float d = m - meters[l - 1]->chroma.at<float>(row, col);
    const double slope = static_cast<double>(d) / (x[l] - x[l - 1]);
    segment = {static_cast<float>(slope),
               static_cast<float>(static_cast<double>(m) - slope * x[l])};
  }
}

bool IsBad(const Meters& meters, const Mats& segments, int row, int col) {
  for (size_t l = 0; l < meters.size(); ++l) {
    if (segments[l].at<cv::Vec2f>(row, col)[0] <= 0.0F ||
        (meters[l]->state.at<uint8_t>(row, col) & LED_DEAD) != 0) {
      return true;
    }
  }
  return false;
}

// The segment on which the response reaches the target; as many as there are when none does.
size_t FindSegment(const Meters& meters, double target, int row, int col) {
  const size_t count = meters.size();
  const auto measured = [&](size_t l) {
    return static_cast<double>(meters[l]->chroma.at<float>(row, col));
  };
  if (target > measured(count - 1)) {
    return count - 1;
  }
  size_t l = 0;
  while (l < count && !(measured(l) >= target)) {
    ++l;
  }
  return l;
}

float Coefficient(const Meters& meters, const Mats& segments, const NormColour& colour, size_t k,
                  int row, int col) {
  if (IsBad(meters, segments, row, col)) {
    return 1.0F;
  }
  const double target = colour.target[k];
  const size_t j = FindSegment(meters, target, row, col);
  if (j == meters.size()) {
    return 1.0F;
  }
  const auto& segment = segments[j].at<cv::Vec2f>(row, col);
  const double drive = (target - static_cast<double>(segment[1])) / static_cast<double>(segment[0]);
  return static_cast<float>(drive * colour.gray_max / colour.position[k]);
}

}  // namespace

void NormPlain(MultiLayerCoeff& engine) {
  const Meters* const meters[] = {engine.input_r, engine.input_g, engine.input_b};
  Mats* const coefs[] = {&engine.coef_r, &engine.coef_g, &engine.coef_b};
  const NormColour colours[] = {NormColourOf(engine, 0), NormColourOf(engine, 1),
                                NormColourOf(engine, 2)};
  const int rows = engine.part_x_y_w_h.h;
  const int cols = engine.part_x_y_w_h.w;
  for (int row = 0; row < rows; ++row) {
    for (int col = 0; col < cols; ++col) {
      for (size_t c = 0; c < 3; ++c) {
        BuildSegments(*meters[c], colours[c].drive, engine.response_segments[c], row, col);
      }
    }
  }
  for (size_t k = 0; k < static_cast<size_t>(engine.coef_layer_num); ++k) {
    for (int row = 0; row < rows; ++row) {
      for (int col = 0; col < cols; ++col) {
        for (size_t c = 0; c < 3; ++c) {
          (*coefs[c])[k].at<float>(row, col) =
              Coefficient(*meters[c], engine.response_segments[c], colours[c], k, row, col);
        }
      }
    }
  }
}

}  // namespace multilayer
